#!/bin/sh
# Times `musedata import --batch` over a generated corpus of movements, with
# one worker and with one per core, on the tool's arena and on malloc with
# small pages (MUSEDATA_SYSTEM_MALLOC, MUSEDATA_SMALL_PAGES), and prints the
# least wall-clock and CPU time of RUNS runs of each.
#
#   bench/batch.sh TOOL CORPUS_FOLDER RUNS
set -eu
tool=$1 corpus=$2 runs=$3
cores=$(nproc)
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
printf '%-22s %5s %9s %9s %8s\n' allocation jobs "wall s" "cpu s" "peak MB"
for allocation in arena malloc; do
  for jobs in 1 "$cores"; do
    best_wall=999999 best_cpu=999999 peak=0
    run=0
    while [ "$run" -lt "$runs" ]; do
      rm -rf "$scratch/out"
      if [ "$allocation" = malloc ]; then
        set -- env MUSEDATA_SYSTEM_MALLOC=1 MUSEDATA_SMALL_PAGES=1
      else
        set -- env
      fi
      "$@" /usr/bin/time -o "$scratch/time" -f '%e %U %S %M' \
        "$tool" import --batch "$corpus" -o "$scratch/out" -j "$jobs" --no-progress 2>"$scratch/err" ||
        { cat "$scratch/err" >&2; exit 1; }
      read -r wall user system kb <"$scratch/time"
      best_wall=$(awk -v a="$wall" -v b="$best_wall" 'BEGIN { print (a < b) ? a : b }')
      best_cpu=$(awk -v a="$user" -v s="$system" -v b="$best_cpu" 'BEGIN { c = a + s; print (c < b) ? c : b }')
      peak=$(awk -v k="$kb" 'BEGIN { printf "%.1f", k / 1024 }')
      run=$((run + 1))
    done
    printf '%-22s %5s %9s %9s %8s\n' "$allocation" "$jobs" "$best_wall" "$best_cpu" "$peak"
  done
done
