#!/bin/sh
# Builds kernel_digest with every compiler, optimisation level and architecture at hand, and fails if
# two digests differ. AArch64 takes part when its cross compiler and the emulator are installed.
#
#   tests/kernels/digest_matrix.sh [build folder]
set -eu

root=$(cd "$(dirname "$0")/../.." && pwd)
work=${1:-$(mktemp -d)}
kernels=$root/system/statsalgo/pdlib/src/kernels
results=$work/digests
mkdir -p "$work"
: > "$results"

flags="-std=c++20 -ffp-contract=off -I$root/system/statsalgo/pdlib/src -I$root/system/platform"
common="$kernels/kernel_table.cpp $kernels/kernels_scalar.cpp $kernels/kernels_dense.cpp $kernels/pd_core_correlation.cpp
        $kernels/pd_core_filters.cpp $root/tests/kernels/kernel_digest.cpp"

# digest <launcher> <level> <instruction sets> <compiler...>
digest() {
  launcher=$1 level=$2 sets=$3
  shift 3
  build=$work/$(echo "$* $level" | tr -c 'a-z0-9+\n' '_')
  mkdir -p "$build"
  for source in $common; do
    "$@" $flags "$level" -c "$source" -o "$build/$(basename "$source").o"
  done
  for set in $sets; do
    extra=
    if [ "$set" = avx2 ]; then extra="-mavx2 -mfma"; fi
    "$@" $flags "$level" $extra -c "$kernels/kernels_$set.cpp" -o "$build/kernels_$set.o"
  done
  "$@" "$build"/*.o -o "$build/kernel_digest" ${launcher:+-static}
  echo "== $* $level" >&2
  $launcher "$build/kernel_digest" | tee -a "$results" >&2
}

have() { command -v "$1" > /dev/null 2>&1; }

case $(uname -m) in
  x86_64) native="sse2 avx2" ;;
  *) native=neon ;;
esac

for level in -O0 -O3; do
  for compiler in g++ clang++; do
    if have $compiler; then digest "" $level "$native" $compiler; fi
  done
  if [ "$native" != neon ] && have aarch64-linux-gnu-g++ && have qemu-aarch64-static; then
    digest qemu-aarch64-static $level neon aarch64-linux-gnu-g++
    if have clang++; then
      digest qemu-aarch64-static $level neon clang++ --target=aarch64-linux-gnu
    fi
  fi
done

# One digest for all forms, one for all correlations.
forms=$(grep -v '^overall ' "$results" | cut -d ' ' -f 2 | sort -u)
overall=$(grep '^overall ' "$results" | cut -d ' ' -f 2 | sort -u)
if [ "$(echo "$forms" | wc -l)" -ne 1 ] || [ "$(echo "$overall" | wc -l)" -ne 1 ]; then
  echo "digests differ" >&2
  exit 1
fi
echo "kernels $forms"
echo "overall $overall"
