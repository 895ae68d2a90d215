#!/usr/bin/env bash
# Disk bytes per person-day and CPU time of a population run, for two sleepsim builds side by side:
# the older one as it runs by default, the newer one by default (lean person folders), with
# --keep all, and with --keep all --compress.
# Usage: scripts/population-disk.sh OLD_SLEEPSIM NEW_SLEEPSIM [SCRATCH_DIR]
# POPULATION (default 20), DAYS (60) and JOBS (2) size the run. Bytes are the files' own sizes
# (du --apparent-size) and the blocks they take on disk (du); CPU is user + system time of sleepsim
# and its person processes, from bash's time.
set -euo pipefail

if [ $# -lt 2 ]; then
  echo "usage: $0 OLD_SLEEPSIM NEW_SLEEPSIM [SCRATCH_DIR]" >&2
  exit 2
fi
old=$(realpath "$1")
new=$(realpath "$2")
scratch=$(realpath -m "${3:-population-disk}")
population=${POPULATION:-20}
days=${DAYS:-60}
jobs=${JOBS:-2}
person_days=$((population * days))

mkdir -p "$scratch"
printf '%-28s %12s %10s %12s %10s %9s\n' "run ($population persons x $days days)" "bytes" "B/p-day" "disk bytes" \
  "B/p-day" "CPU s"

# measure LABEL SLEEPSIM [EXTRA ARGS...]: one population run into its own folder, then its line.
measure() {
  local label=$1 sleepsim=$2
  shift 2
  local out="$scratch/$label"
  rm -rf "$out"
  local TIMEFORMAT='%U %S'
  local cpu
  cpu=$({ time "$sleepsim" --population "$population" --days "$days" --jobs "$jobs" -q --out "$out" "$@" \
    >/dev/null; } 2>&1 | tail -n 1 | awk '{ printf "%.1f", $1 + $2 }')
  local bytes blocks
  bytes=$(du -s --apparent-size --block-size=1 "$out" | cut -f1)
  blocks=$(du -s --block-size=1 "$out" | cut -f1)
  printf '%-28s %12d %10d %12d %10d %9s\n' "$label" "$bytes" $((bytes / person_days)) "$blocks" \
    $((blocks / person_days)) "$cpu"
}

measure old-default "$old"
measure new-default "$new"
measure new-keep-all "$new" --keep all
measure new-keep-all-compress "$new" --keep all --compress
