#!/usr/bin/env bash
# Checks that no file includes a folder above its own, by the table "layers" of HACKING.md: a line
# of the table may include the lines before it, never those behind it nor its neighbours.
#
#   tests/lint/include_direction.sh [root of the project]
#
# Prints a line for each include that points up, and for each source that no line of the table
# holds, and exits 1 if there is one; 2 without a table.
set -euo pipefail
cd "${1:-$(dirname "${BASH_SOURCE[0]}")/../..}"

layers=$(sed -n '/^```layers$/,/^```$/{/^```/!p}' HACKING.md)
[ -n "$layers" ] || { echo "include_direction: HACKING.md has no table of layers" >&2; exit 2; }

find system api tools tests bench fuzz -name '*.h' -o -name '*.cpp' | sort |
  awk -v layers="$layers" '
    # The longest entry of the table that the path lies in; "" for none.
    function entry_of(path,   best, e) {
      best = ""
      for (e in rank)
        if ((path == e || index(path, e "/") == 1) && length(e) > length(best)) best = e
      return best
    }
    function resolve(from, name,   i, path) {
      path = from
      sub(/[^\/]*$/, "", path)
      path = path name
      while (sub(/[^\/]+\/\.\.\//, "", path)) {}
      if (path in is_file) return path
      for (i = 1; i <= root_count; ++i)
        if ((roots[i] "/" name) in is_file) return roots[i] "/" name
      return ""
    }
    BEGIN {
      lines = split(layers, line, "\n")
      for (i = 1; i <= lines; ++i) {
        words = split(line[i], word, " ")
        for (k = 1; k <= words; ++k) rank[word[k]] = i
      }
      root_count = split("system/statsalgo/pdlib/src system/statsalgo/pdlib system/platform " \
                         "api/generated/g_parser api/generated/g_tessarine api/generated/g_sensor " \
                         "api/generated/g_facedetection tests tools/common tools/simcam tools/tessarine fuzz", roots, " ")
    }
    { is_file[$0] = 1; files[++file_count] = $0 }
    END {
      for (i = 1; i <= file_count; ++i) {
        file = files[i]
        own = entry_of(file)
        if (own == "") {
          printf "%s: in no layer\n", file
          bad = 1
          continue
        }
        number = 0
        while ((getline text < file) > 0) {
          ++number
          if (text !~ /^[ \t]*#[ \t]*include[ \t]*"/) continue
          split(text, part, "\"")
          target = resolve(file, part[2])
          if (target == "") continue # of another package, or made by the build
          there = entry_of(target)
          if (there == own || rank[there] < rank[own]) continue
          printf "%s:%d: includes %s: %s stands above %s, or beside it\n", file, number, target, there, own
          bad = 1
        }
        close(file)
      }
      exit bad
    }'
