#!/usr/bin/env bash
# Installs what is missing, builds sleepsim and runs it; arguments go to sleepsim.
# Usage: scripts/run-sim.sh [scenario.json] [--out DIR] ...   (see: scripts/run-sim.sh --help)
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/install-deps.sh
build_dir=${SLEEP_BUILD_DIR:-build}
cmake -S . -B "$build_dir" -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
cmake --build "$build_dir" -j "$(nproc)" --target sleepsim
"$build_dir/tools/sleepsim/sleepsim" "$@"
