#!/usr/bin/env bash
# Disk bytes per person-day and CPU time of a population run, for two sleepsim builds side by side:
# the older one as it runs by default, the newer one by default (lean person folders), with
# --keep all, and with --keep all --compress.
# Usage: scripts/population-disk.sh OLD_SLEEPSIM NEW_SLEEPSIM [SCRATCH_DIR]
# POPULATION (default 20), DAYS (60) and JOBS (2) size the run. Bytes are the files' own sizes
# (du --apparent-size) and the blocks they take on disk (du); CPU is user + system time of sleepsim
# and its person processes, from bash's time: the median of ROUNDS (default 1) rounds, each running
# every variant once in turn, so that a busy machine weighs on all of them alike.
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
rounds=${ROUNDS:-1}
person_days=$((population * days))

mkdir -p "$scratch"
printf '%-28s %12s %10s %12s %10s %9s\n' "run ($population persons x $days days)" "bytes" "B/p-day" "disk bytes" \
  "B/p-day" "CPU s ($rounds)"

variants=(old-default new-default new-keep-all new-keep-all-compress)
declare -A sleepsim_of=([old-default]="$old" [new-default]="$new" [new-keep-all]="$new"
  [new-keep-all-compress]="$new")
declare -A args_of=([old-default]="" [new-default]="" [new-keep-all]="--keep all"
  [new-keep-all-compress]="--keep all --compress")
declare -A cpu_of=()

# run LABEL: one population run of the variant into its own folder; appends its CPU seconds.
run() {
  local label=$1 out="$scratch/$1"
  rm -rf "$out"
  local TIMEFORMAT='%U %S'
  local cpu
  # shellcheck disable=SC2086 # the variant's arguments are words
  cpu=$({ time "${sleepsim_of[$label]}" --population "$population" --days "$days" --jobs "$jobs" -q \
    --out "$out" ${args_of[$label]} >/dev/null; } 2>&1 | tail -n 1 | awk '{ printf "%.2f", $1 + $2 }')
  cpu_of[$label]="${cpu_of[$label]:-} $cpu"
}

median() {
  tr ' ' '\n' | grep . | sort -g | awk '{ v[NR] = $1 } END { printf "%.1f", NR % 2 ? v[(NR + 1) / 2] : (v[NR / 2] + v[NR / 2 + 1]) / 2 }'
}

for ((round = 0; round < rounds; round++)); do
  for label in "${variants[@]}"; do
    run "$label"
  done
done
for label in "${variants[@]}"; do
  out="$scratch/$label"
  bytes=$(du -s --apparent-size --block-size=1 "$out" | cut -f1)
  blocks=$(du -s --block-size=1 "$out" | cut -f1)
  printf '%-28s %12d %10d %12d %10d %9s\n' "$label" "$bytes" $((bytes / person_days)) "$blocks" \
    $((blocks / person_days)) "$(echo "${cpu_of[$label]}" | median)"
done
