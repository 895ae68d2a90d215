#!/usr/bin/env bash
# A simulated year of the default person: measures sleepsim's memory as the days pass and the size
# of what the plug-in keeps on disk after 60 and after 366 days.
# Usage: scripts/soak-year.sh [output folder, default soak-year]
# Prints one line per progress report ("day N  rss KB  peak KB") and a closing table (sleepsim's
# own summaries go to OUT/days-N.summary); the peak
# resident size at day 366 should stay within 10% of the one at day 60, and the database and
# preferences sizes bounded by the plug-in's pruning (90 days of history, table row limits).
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

# run_days <days>: runs sleepsim for that many days into $out/days-<days>, sampling its memory
# against the day its progress line shows; the samples go to $out/days-<days>.memory.
run_days() {
  local days=$1 run=$out/days-$1
  printf '{"days": %d}\n' "$days" >"$out/scenario-$days.json"
  "$sleepsim" "$out/scenario-$days.json" --out "$run" >"$run.summary" 2>"$run.progress" &
  local pid=$!
  : >"$run.memory"
  while kill -0 "$pid" 2>/dev/null; do
    local day rss peak
    day=$(tr '\r' '\n' <"$run.progress" | sed -n 's/^sleepsim: day \([0-9]*\) of.*/\1/p' | tail -n 1)
    rss=$(status_kb "$pid" VmRSS)
    peak=$(status_kb "$pid" VmHWM)
    [ -n "$day" ] && [ -n "$peak" ] && echo "day $day  rss $rss KB  peak $peak KB" | tee -a "$run.memory"
    sleep 1
  done
  wait "$pid"
}

# peak_at <memory samples> <day>: the peak resident size at the first sample on or after that day.
peak_at() {
  awk -v day="$2" '$2 >= day { print $7; exit }' "$1"
}

run_days 60
run_days 366

peak60=$(peak_at "$out/days-366.memory" 60)
peak366=$(tail -n 1 "$out/days-366.memory" | awk '{ print $7 }')
echo
echo "                            day 60        day 366"
printf 'peak memory, year run (KB)  %-13s %s\n' "$peak60" "$peak366"
printf 'peak memory, whole run (KB) %-13s %s\n' "$(tail -n 1 "$out/days-60.memory" | awk '{ print $7 }')" "$peak366"
printf 'sleep.db (bytes)            %-13s %s\n' "$(file_size "$out/days-60" sleep.db)" "$(file_size "$out/days-366" sleep.db)"
printf 'preferences (bytes)         %-13s %s\n' "$(file_size "$out/days-60" sleep_shared_pref.xml)" \
  "$(file_size "$out/days-366" sleep_shared_pref.xml)"
awk -v a="$peak60" -v b="$peak366" 'BEGIN {
  growth = (b - a) * 100 / a
  printf "peak growth day 60 -> 366: %.1f%% (%s)\n", growth, growth <= 10 ? "within 10%" : "MORE than 10%"
}'
