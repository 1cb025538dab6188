# Sourced by the scripts that compare results over builds.
#
#   for_each_build   calls digest <launcher> <level> <instruction sets> <compiler...>, a function of the script, for every
#                    compiler, optimisation level and architecture at hand. AArch64 takes part when its cross compiler
#                    and the emulator are installed.

have() { command -v "$1" > /dev/null 2>&1; }

for_each_build() {
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
}

# same <what> <text>: prints the one line that all lines of the text are, or fails.
same() {
  what=$1 lines=$(echo "$2" | sort -u)
  if [ "$(echo "$lines" | wc -l)" -ne 1 ]; then
    echo "digests of $what differ" >&2
    exit 1
  fi
  echo "$what $lines"
}
