#!/usr/bin/env bash
# Runs a short simulation, opens its report.html in headless Chromium and checks that the page
# loaded without console errors and shows one night picture per night of the run. Leaves the
# screenshot (report.png), the dumped DOM and Chromium's log in WORK_DIR.
# Usage: report_in_chromium.sh SLEEPSIM WORK_DIR    (exit 77: skipped, Chromium is missing)
set -euo pipefail

sleepsim=$1
work=$2
chromium=${CHROMIUM:-/usr/bin/chromium}
days=5

if [ ! -x "$chromium" ]; then
  echo "SKIPPED: no Chromium at $chromium (install Debian's chromium, e.g. scripts/install-deps.sh)"
  exit 77
fi

rm -rf "$work"
mkdir -p "$work"
work=$(cd "$work" && pwd)
"$sleepsim" --days "$days" --quiet --out "$work/run" > "$work/sleepsim.txt"
page="file://$work/run/report.html"
nights=$(grep -c '^{"night":' "$work/run/trace.jsonl")

# A fresh profile per start, nothing fetched from the network.
browse() {
  local profile=$1
  shift
  timeout 120 "$chromium" --headless --no-sandbox --disable-gpu --disable-quic --no-first-run \
    --disable-background-networking --disable-component-update --disable-sync \
    --user-data-dir="$work/$profile" --window-size=1200,1000 "$@" "$page"
}

browse profile-screenshot --screenshot="$work/report.png" 2> "$work/screenshot.log" > /dev/null
browse profile-dom --enable-logging=stderr --v=0 --dump-dom > "$work/dom.html" 2> "$work/chromium.log"

fail() {
  echo "FAILED: $*"
  exit 1
}

if grep -Eq '<script|<link|(src|href)="(https?:)?//' "$work/run/report.html"; then
  fail "the page is not self-contained: it has a script or refers to the network"
fi
[ -s "$work/report.png" ] || fail "no screenshot (see $work/screenshot.log)"
[ "$(head -c 4 "$work/report.png" | tail -c 3)" = "PNG" ] || fail "the screenshot is not a PNG"
if grep -E 'CONSOLE|Uncaught|Failed to load|ERR_FILE_NOT_FOUND' "$work/chromium.log"; then
  fail "the page logged errors (see $work/chromium.log)"
fi
grep -q '<h1>Sleep report' "$work/dom.html" || fail "the page did not load (see $work/dom.html)"
pictures=$(grep -o '<figure class="night"' "$work/dom.html" | wc -l)
drawn=$(grep -o '<figure class="night"[^>]*><figcaption>.*</figcaption><svg ' "$work/dom.html" | wc -l)
[ "$pictures" -eq "$nights" ] || fail "$pictures night pictures in the page, the run has $nights nights"
[ "$drawn" -eq "$nights" ] || fail "$drawn of $nights night figures hold a picture"
echo "OK: $nights nights, $pictures pictures, no console errors; screenshot $work/report.png"
