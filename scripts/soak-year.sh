#!/usr/bin/env bash
# A simulated year of the default person: measures sleepsim's memory as the days pass and the size
# of what the plug-in keeps on disk after 60 and after 366 days.
# Usage: scripts/soak-year.sh [output folder, default soak-year]
# Prints a closing table (sleepsim's own summaries go to OUT/days-N.summary, memory samples to
# OUT/days-N.memory): the peak resident size of the 366-day run should stay within 10% of the
# 60-day run's, and the database and preferences sizes bounded by the plug-in's pruning (90 days of
# history, table row limits).
set -euo pipefail
cd "$(dirname "$0")/.."

out=${1:-soak-year}
build_dir=${SLEEP_BUILD_DIR:-build}
scripts/install-deps.sh
cmake -S . -B "$build_dir" -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
cmake --build "$build_dir" -j "$(nproc)" --target sleepsim >/dev/null
sleepsim=$build_dir/tools/sleepsim/sleepsim
mkdir -p "$out"

# status_kb <pid> <field>: a memory figure of a running process, in kB.
status_kb() {
  awk -v field="$2:" '$1 == field { print $2 }' "/proc/$1/status" 2>/dev/null || true
}

# file_size <run folder> <file name>: bytes of the one file of that name under the run's data root.
file_size() {
  local file
  file=$(find "$1/data" -name "$2" -type f | head -n 1)
  [ -n "$file" ] && stat -c %s "$file" || echo 0
}

# run_days <days>: runs sleepsim for that many days into $out/days-<days>, sampling its resident
# memory every second (the samples go to $out/days-<days>.memory); prints its peak in KB.
run_days() {
  local days=$1 run=$out/days-$1 peak=0
  printf '{"days": %d}\n' "$days" >"$out/scenario-$days.json"
  "$sleepsim" "$out/scenario-$days.json" --quiet --out "$run" >"$run.summary" &
  local pid=$!
  : >"$run.memory"
  while kill -0 "$pid" 2>/dev/null; do
    local sample
    sample=$(status_kb "$pid" VmHWM)
    if [ -n "$sample" ]; then
      peak=$sample
      echo "$(date +%s) rss $(status_kb "$pid" VmRSS) KB  peak $peak KB" >>"$run.memory"
    fi
    sleep 1
  done
  wait "$pid"
  echo "$peak"
}

# The same person for 60 and for 366 days: the year's peak must stay within 10% of the 60 days'.
peak60=$(run_days 60)
peak366=$(run_days 366)
echo
echo "                            day 60        day 366"
printf 'peak memory (KB)            %-13s %s\n' "$peak60" "$peak366"
printf 'sleep.db (bytes)            %-13s %s\n' "$(file_size "$out/days-60" sleep.db)" "$(file_size "$out/days-366" sleep.db)"
printf 'preferences (bytes)         %-13s %s\n' "$(file_size "$out/days-60" sleep_shared_pref.xml)" \
  "$(file_size "$out/days-366" sleep_shared_pref.xml)"
awk -v a="$peak60" -v b="$peak366" 'BEGIN {
  growth = (b - a) * 100 / a
  printf "peak growth day 60 -> 366: %.1f%% (%s)\n", growth, growth <= 10 ? "within 10%" : "MORE than 10%"
}'
