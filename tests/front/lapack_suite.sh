#!/bin/sh
# Debian's LAPACK test programs (package liblapack-test) on our libblas.so.3
# under the reference LAPACK.
#   lapack_suite.sh DROPIN_DIR WORK_DIR lin|all
# lin: the linear-equation programs xlintst? (and the mixed-precision ones)
# each on its input; all: the whole suite through the package's
# lapack_testing.py. Passes when every test passes its threshold.
set -eu
dropin=$(realpath "$1")
work=$2
family=$3
lapack=/usr/lib/x86_64-linux-gnu/lapack
if [ ! -x "$lapack/xlintstd" ]; then
  echo "liblapack-test is not installed"
  exit 1
fi
rm -rf "$work"
mkdir -p "$work"
cd "$work"
for f in "$lapack"/x* "$lapack"/*.in; do ln -s "$f" .; done
export LD_LIBRARY_PATH="$dropin:$lapack"

# The libraries loaded must be ours and the reference LAPACK: the system's
# liblapack.so.3 may carry a BLAS of its own.
LD_DEBUG=libs ./xlintstd < /dev/null > /dev/null 2> loaded.txt || true
if ! grep -q "init: $dropin/libblas.so.3" loaded.txt || ! grep -q "init: $lapack/liblapack.so.3" loaded.txt; then
  echo "wrong libraries loaded:"
  grep 'calling init' loaded.txt
  exit 1
fi

if [ "$family" = all ]; then
  python3 "$lapack/lapack_testing.py" -d . -b . -r > summary.txt 2>&1 || true
  sed -n '/LAPACK TESTING SUMMARY/,$p' summary.txt
  grep -E 'ALL PRECISIONS' summary.txt | awk '{ exit !($5 == 0 && $7 == 0) }'
  exit $?
fi

status=0
for run in "xlintsts stest" "xlintstd dtest" "xlintstc ctest" "xlintstz ztest" "xlintstds dstest" "xlintstzc zctest"; do
  set -- $run
  ./$1 < $2.in > $2.out 2>&1 || { echo "$1 ended abnormally"; status=1; }
  if grep -q -E 'failed|[Ee]rror code|illegal|incorrect' $2.out || ! grep -q 'End of tests' $2.out; then
    echo "$1 < $2.in: failures"
    grep -E 'failed|[Ee]rror code|illegal|incorrect' $2.out | head -20
    status=1
  else
    echo "$1 < $2.in: $(grep -o 'Total time used = *[0-9.]* seconds' $2.out)"
  fi
done
exit $status
