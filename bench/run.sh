#!/usr/bin/env bash
# Installs the peers from Debian's packages, builds the benchmark programs,
# runs them and writes the report under docs/performance/: a markdown table
# and a figure of plots per family (bench/report.py), from the figures each
# program records (bench/common.hpp, record()), and each program's output.
#
# Usage: bench/run.sh [program-name-filter [arguments for the programs...]]
# A family joins the report by building a bench_* program that records its
# figures; nothing here names a family.
# A run of some programs replaces only their families' sections of the
# report; the others stay as their last run wrote them.
set -euo pipefail
cd "$(dirname "$0")/.."
need=()
for p in libopenblas0-serial libopenblas-dev libfftw3-dev libeigen3-dev libgmp-dev python3-matplotlib; do
  dpkg -s "$p" >/dev/null 2>&1 || need+=("$p")
done
if [ ${#need[@]} -gt 0 ]; then
  apt-get update && DEBIAN_FRONTEND=noninteractive apt-get install -y "${need[@]}"
fi
cmake --preset bench >/dev/null
cmake --build --preset bench
filter="${1:-}"
shift || true
out=docs/performance
mkdir -p "$out"
figures=$(mktemp)
trap 'rm -f "$figures"' EXIT
for prog in $(find build/bench/bench -type f -executable -name 'bench_*' | sort); do
  name=$(basename "$prog")
  [[ -n "$filter" && "$name" != *"$filter"* ]] && continue
  echo "== $name"
  ZOR_BENCH_TSV="$figures" "$prog" "$@" | tee "$out/$name.txt"
done
py=python3
/usr/bin/python3 -c "import matplotlib" 2>/dev/null && py=/usr/bin/python3
"$py" bench/report.py "$figures" "$out"
echo "report: $out/README.md"
