#!/bin/sh
# Builds the digests of kernels and learning in every way at hand, and fails if two builds differ: with both compilers,
# without and with optimisation, for this architecture and for AArch64 where its cross compiler and the emulator are
# installed.
#
#   tests/support/digest_matrix.sh [build folder]
set -eu

root=$(cd "$(dirname "$0")/../.." && pwd)
work=${1:-$(mktemp -d)}
library=$root/system/statsalgo/pdlib/src
flags="-std=c++20 -ffp-contract=off -I$library -I$root/tests -I$root/system/platform
       -I$root/api/generated/g_tessarine -I$root/api/generated/g_parser"

have() { command -v "$1" > /dev/null 2>&1; }

# together <file> <source...>: a source that holds all others, whose own names do not clash.
together() {
  file=$1
  shift
  for source in "$@"; do echo "#include \"$source\""; done > "$file"
}

# digest <launcher> <level> <instruction sets> <compiler...>: what scalar means is kept in files of its own, as in the
# library.
digest() {
  launcher=$1 level=$2 sets=$3
  shift 3
  build=$work/$(echo "$* $level" | tr -c 'a-z0-9+\n' '_')
  mkdir -p "$build"
  for source in "$work/rest.cpp" "$library/kernels/kernels_scalar.cpp" "$library/kernels/kernels_dense.cpp" \
    "$root/tests/kernels/kernel_digest.cpp"; do
    "$@" $flags "$level" -c "$source" -o "$build/$(basename "$source").o"
  done
  for set in $sets; do
    extra=
    if [ "$set" = avx2 ]; then extra="-mavx2 -mfma"; fi
    "$@" $flags "$level" $extra -c "$library/kernels/kernels_$set.cpp" -o "$build/kernels_$set.o"
  done
  "$@" "$build"/*.o -o "$build/digest" ${launcher:+-static}
  $launcher "$build/digest" > "$build/results"
  sed "s/^/$* $level: /" "$build/results" >&2
}

# Every compiler and architecture at hand.
digests_of() {
  level=$1
  for compiler in g++ clang++; do
    if have $compiler; then digest "" "$level" "$native" $compiler; fi
  done
  if [ "$native" != neon ] && have aarch64-linux-gnu-g++ && have qemu-aarch64-static; then
    digest qemu-aarch64-static "$level" neon aarch64-linux-gnu-g++
    if have clang++; then
      digest qemu-aarch64-static "$level" neon clang++ --target=aarch64-linux-gnu
    fi
  fi
}

# same <what> <lines>: prints the one digest that all lines end with, or fails.
same() {
  values=$(echo "$2" | sed 's/.* //' | sort -u)
  if [ -z "$values" ] || [ "$(echo "$values" | wc -l)" -ne 1 ]; then
    echo "digests of $1 differ" >&2
    exit 1
  fi
  echo "$1 $values"
}

case $(uname -m) in
  x86_64) native="sse2 avx2" ;;
  *) native=neon ;;
esac
mkdir -p "$work"
rm -f "$work"/*/results # of an earlier run
together "$work/rest.cpp" "$root/tests/support/digest.cpp" "$root/tests/adaptive/adaptive_digest.cpp" \
  "$library"/adaptive/*.cpp "$library/kernels/kernel_table.cpp" "$library"/kernels/pd_core_*.cpp
digests_of -O0 &
other=$!
digests_of -O3
wait $other
results=$(cat "$work"/*/results)
# One digest for all forms, one for all correlations, one for all that is learnt.
same kernels "$(echo "$results" | grep -vE '^(overall|adaptive_k) ')"
same overall "$(echo "$results" | grep '^overall ')"
same learning "$(echo "$results" | grep '^adaptive_k ')"
