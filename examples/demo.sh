#!/bin/sh
# Converts the bundled minuet (three MuseData part files) into one MusicXML
# score, and that score back into MuseData part files, with the musedata tool
# of the build folder BUILD_DIR.
#
#   sh examples/demo.sh BUILD_DIR
set -eu

if [ $# -ne 1 ]; then
  echo "usage: sh examples/demo.sh BUILD_DIR" >&2
  exit 64
fi
build=$1
examples=$(cd "$(dirname "$0")" && pwd)
tool="$build/musedata"
if [ ! -x "$tool" ]; then
  echo "demo: $tool not found; build first (make)" >&2
  exit 1
fi

mkdir -p "$build/demo"
output="$build/demo/minuet.musicxml"
# The folder stands for its part files in name order: violin, viola, basso.
"$tool" import --no-progress -o "$output" "$examples/minuet"
parts=$(grep -c '<part id=' "$output" || true)
echo "MuseData parts: $examples/minuet ($parts parts)"
echo "MusicXML score: $output"
# Every part of the score back to MuseData: 01.md, 02.md, 03.md.
back="$build/demo/minuet-md"
rm -rf "$back"
"$tool" export --no-progress --all -o "$back" "$output"
echo "MuseData again: $back ($(ls "$back" | wc -l) parts)"
