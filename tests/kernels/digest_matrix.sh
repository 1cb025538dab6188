#!/bin/sh
# Builds kernel_digest in every way at hand, and fails if two digests differ.
#
#   tests/kernels/digest_matrix.sh [build folder]
set -eu

root=$(cd "$(dirname "$0")/../.." && pwd)
. "$root/tests/support/build_matrix.sh"
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

for_each_build
# One digest for all forms, one for all correlations.
same kernels "$(grep -v '^overall ' "$results" | cut -d ' ' -f 2)"
same overall "$(grep '^overall ' "$results" | cut -d ' ' -f 2)"
