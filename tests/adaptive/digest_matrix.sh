#!/bin/sh
# Builds adaptive_digest with every compiler, optimisation level and architecture at hand, and fails
# if two digests differ. AArch64 takes part when its cross compiler and the emulator are installed.
#
#   tests/adaptive/digest_matrix.sh [build folder]
set -eu

root=$(cd "$(dirname "$0")/../.." && pwd)
work=${1:-$(mktemp -d)}
library=$root/system/statsalgo/pdlib/src
results=$work/digests
mkdir -p "$work"
: > "$results"

flags="-std=c++20 -ffp-contract=off -pthread -I$library -I$root/system/statsalgo/pdlib -I$root/tests
       -I$root/system/platform -I$root/api/generated/g_tessarine -I$root/api/generated/g_parser"
sources="$root/tests/adaptive/adaptive_digest.cpp $library/core/pdlib_log.cpp
         $library/core/pdlib_switches.cpp"

# digest <launcher> <level> <compiler...>
digest() {
  launcher=$1 level=$2
  shift 2
  "$@" $flags "$level" $sources "$library"/adaptive/*.cpp "$root"/system/platform/host/*.cpp \
    -o "$work/adaptive_digest" ${launcher:+-static}
  echo "== $* $level" >&2
  $launcher "$work/adaptive_digest" | tee -a "$results" >&2
}

have() { command -v "$1" > /dev/null 2>&1; }

for level in -O0 -O3; do
  for compiler in g++ clang++; do
    if have $compiler; then digest "" $level $compiler; fi
  done
  if [ "$(uname -m)" != aarch64 ] && have aarch64-linux-gnu-g++ && have qemu-aarch64-static; then
    digest qemu-aarch64-static $level aarch64-linux-gnu-g++
    if have clang++; then digest qemu-aarch64-static $level clang++ --target=aarch64-linux-gnu; fi
  fi
done

if [ "$(sort -u "$results" | wc -l)" -ne 1 ]; then
  echo "digests differ" >&2
  exit 1
fi
sort -u "$results"
