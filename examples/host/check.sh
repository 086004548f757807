#!/bin/sh
# Installs musedata from a build folder into a temporary prefix, builds the
# example host against the installed package with find_package(musedata), and
# runs it on the two example parts: a whole load, a cancelled one, a
# cancellation that comes back as an error, a save, a save of a part the
# score does not have, and a missing file.
#
#   examples/host/check.sh [BUILD_FOLDER]     (default: build)
set -eu

here=$(cd "$(dirname "$0")" && pwd)
root=$(cd "$here/../.." && pwd)
build=${1:-$root/build}
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

cmake --install "$build" --prefix "$work/prefix" >"$work/install.log"
cmake -S "$here" -B "$work/host-build" -DCMAKE_PREFIX_PATH="$work/prefix" >"$work/configure.log"
cmake --build "$work/host-build" >"$work/build.log"
library=$(find "$work/prefix" -name libmusedata.so | head -n 1)
host="$work/host-build/host"
[ -n "$library" ] || { echo "check: libmusedata.so was not installed" >&2; exit 1; }

failures=0
# expect STATUS TEXT ARGUMENT...: runs the host, shows its output, and checks
# its exit status and that TEXT is in its output.
expect() {
  status=$1 text=$2
  shift 2
  echo "\$ host $*" | sed "s|$work|\$TMP|g; s|$here/||g"
  set +e
  output=$("$host" "$library" "$@" 2>&1)
  actual=$?
  set -e
  printf '%s\n' "$output" | sed "s|$work|\$TMP|g; s|$here/||g"
  if [ "$actual" -ne "$status" ]; then
    echo "check: FAILED: exit status $actual, expected $status" >&2
    failures=$((failures + 1))
  elif ! printf '%s\n' "$output" | grep -qF -- "$text"; then
    echo "check: FAILED: output lacks: $text" >&2
    failures=$((failures + 1))
  fi
  echo
}

one="$here/violin1.md"
two="$here/violin2.md"
expect 0 "score: score-partwise with 2 parts" "$one" "$two"
expect 1 "the load of $one stopped early" "$one" "$two" --cancel-after 3
expect 2 "error 0x80041777 (Verdantix): Conversion cancelled by the host" \
  "$one" "$two" --cancel-after 30 --cancel-error
expect 0 "saving part 2 to $work/out.md" "$one" "$two" --save "$work/out.md" --part 2
grep -qx "score: part 2 of 2" "$work/out.md" && grep -qx "/END" "$work/out.md" ||
  { echo "check: FAILED: the save did not write part 2 of 2" >&2; failures=$((failures + 1)); }
expect 2 "error 0x800417B2 (Verdantix): No part number 3 found" \
  "$one" "$two" --save "$work/missing-part.md" --part 3
[ ! -e "$work/missing-part.md" ] || { echo "check: FAILED: a failed save left $work/missing-part.md" >&2; failures=$((failures + 1)); }
expect 2 "error 0x800417BE (Verdantix): File $work/missing.md not found" "$one" "$work/missing.md"

if [ "$failures" -ne 0 ]; then
  echo "check: $failures run(s) failed" >&2
  exit 1
fi
echo "check: all runs behaved as expected"
