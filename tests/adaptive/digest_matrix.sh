#!/bin/sh
# Builds adaptive_digest in every way at hand, and fails if two digests differ.
#
#   tests/adaptive/digest_matrix.sh [build folder]
set -eu

root=$(cd "$(dirname "$0")/../.." && pwd)
. "$root/tests/support/build_matrix.sh"
work=${1:-$(mktemp -d)}
library=$root/system/statsalgo/pdlib/src
results=$work/digests
mkdir -p "$work"
: > "$results"

flags="-std=c++20 -ffp-contract=off -pthread -I$library -I$root/system/statsalgo/pdlib -I$root/tests
       -I$root/system/platform -I$root/api/generated/g_tessarine -I$root/api/generated/g_parser"
sources="$root/tests/adaptive/adaptive_digest.cpp $library/base/pdlib_log.cpp
         $library/base/pdlib_switches.cpp"

# digest <launcher> <level> <instruction sets> <compiler...>
digest() {
  launcher=$1 level=$2
  shift 3
  "$@" $flags "$level" $sources "$library"/adaptive/*.cpp "$root"/system/platform/host/*.cpp \
    -o "$work/adaptive_digest" ${launcher:+-static}
  echo "== $* $level" >&2
  $launcher "$work/adaptive_digest" | tee -a "$results" >&2
}

for_each_build
same learning "$(cat "$results")"
