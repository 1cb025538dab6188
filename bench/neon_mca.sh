#!/bin/sh
# Static analysis of the NEON SAD's inner loop on a Neoverse N1 model: cycles per sample and eight
# shifts, as each AArch64 compiler at hand makes it. Needs llvm-mca (package llvm) and
# aarch64-linux-gnu-g++ (package g++-aarch64-linux-gnu); clang++ takes part when it is there. No
# such machine is needed.
#
#   bench/neon_mca.sh [highest cycles]     fails if a loop needs more (1.1)
set -eu

highest=${1:-1.1}
root=$(cd "$(dirname "$0")/.." && pwd)
kernels=$root/system/statsalgo/pdlib/src/kernels
shifts=$(sed -n 's/^constexpr int kPassShifts = \([0-9]*\);$/\1/p' "$kernels/sad_rows.h")
turns=1000
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

have() { command -v "$1" > /dev/null 2>&1; }

mca=$(command -v llvm-mca || command -v llvm-mca-14 || true)
if [ -z "$mca" ] || ! have aarch64-linux-gnu-g++; then
  echo "neon_mca.sh: needs the packages llvm and g++-aarch64-linux-gnu" >&2
  exit 4
fi

# The loop is the block from a label to a branch back to it with one absolute difference per shift
# of a whole pass: one turn of it does eight samples.
extract_loop() {
  awk -v shifts="$shifts" '
    /^\.[A-Za-z0-9_]+:/ { label = $1; sub(/:.*/, "", label); text = ""; differences = 0; next }
    $1 == "uabd" { ++differences }
    { text = text $0 "\n" }
    $1 ~ /^(b[.a-z]|cbn?z|tbn?z)/ && $NF == label && differences == shifts {
      printf "%s", text
      exit
    }' "$1"
}

# analyse <compiler...>
analyse() {
  "$@" -std=c++20 -O3 -ffp-contract=off -I"$kernels/.." -S "$kernels/kernels_neon.cpp" \
    -o "$work/all.s"
  extract_loop "$work/all.s" > "$work/loop.s"
  if [ "$(grep -c uadalp "$work/loop.s")" -ne "$shifts" ]; then
    echo "neon_mca.sh: $*: no loop over $shifts shifts found" >&2
    return 1
  fi
  "$mca" -mtriple=aarch64-linux-gnu -mcpu=neoverse-n1 -iterations=$turns "$work/loop.s" |
    awk -v turns=$turns -v shifts="$shifts" -v highest="$highest" -v compiler="$1" '
      /^Total Cycles:/ { perSample = $3 / turns / 8 * 8 / shifts }
      END {
        printf "pd_core_sad/neon, Neoverse N1 model, %s: ", compiler
        printf "%.3f cycles per sample and 8 shifts (at most %s)\n", perSample, highest
        exit !(perSample > 0 && perSample <= highest)
      }'
}

analyse aarch64-linux-gnu-g++
if have clang++; then analyse clang++ --target=aarch64-linux-gnu; fi
