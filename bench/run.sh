#!/usr/bin/env bash
# Installs the peers from Debian's packages, builds the benchmark programs and
# runs each one; every program prints its figures beside the peer's, measured
# in the same run, with the ratio. Usage: bench/run.sh [program-name-filter]
set -euo pipefail
cd "$(dirname "$0")/.."
need=()
for p in libopenblas0-serial libopenblas-dev libfftw3-dev libeigen3-dev libgmp-dev; do
  dpkg -s "$p" >/dev/null 2>&1 || need+=("$p")
done
if [ ${#need[@]} -gt 0 ]; then
  apt-get update && DEBIAN_FRONTEND=noninteractive apt-get install -y "${need[@]}"
fi
cmake --preset bench >/dev/null
cmake --build --preset bench
filter="${1:-}"
for prog in $(find build/bench/bench -type f -executable -name 'bench_*' | sort); do
  name=$(basename "$prog")
  [[ -n "$filter" && "$name" != *"$filter"* ]] && continue
  echo "== $name"
  "$prog"
done
