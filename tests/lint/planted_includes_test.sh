#!/usr/bin/env bash
# Plants includes in a small tree and compares what the check of their direction says of each.
set -euo pipefail
check=$(dirname "${BASH_SOURCE[0]}")/include_direction.sh
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
source=system/statsalgo/pdlib/src
mkdir -p "$work"/{api,tools,tests,bench,fuzz} "$work/$source"/{base,sparse,dense,core}
touch "$work/$source"/{base/ground,sparse/flow,dense/flow,core/top}.h
printf '```layers\n%s/base\n%s/sparse %s/dense\n%s/core\n```\n' "$source" "$source" "$source" "$source" >"$work/HACKING.md"

# expect <status> <file> <include>: what the check answers with this one include in the tree.
expect() {
  local status=0
  printf '#include %s\n' "$3" >"$work/$source/$2"
  "$check" "$work" >"$work/answer" || status=$?
  rm "$work/$source/$2"
  [ "$status" = "$1" ] || { echo "$2 including $3: status $status, expected $1"; cat "$work/answer"; exit 1; }
  [ "$1" = 0 ] || grep -q "^$source/$2:1: includes" "$work/answer"
}
expect 0 core/a.cpp '"sparse/flow.h"'
expect 0 sparse/a.cpp '"base/ground.h"'
expect 0 sparse/a.cpp '"flow.h"' # its own folder
expect 0 base/a.cpp '<vector>'
expect 1 base/a.cpp '"core/top.h"'
expect 1 sparse/a.cpp '"dense/flow.h"' # a neighbour
expect 1 sparse/a.cpp '"../core/top.h"'
expect 1 sparse/a.h '"core/top.h"'
rm "$work/HACKING.md" && touch "$work/HACKING.md"
status=0
"$check" "$work" 2>/dev/null || status=$?
[ $status = 2 ] || { echo "without a table: status $status, expected 2"; exit 1; }
