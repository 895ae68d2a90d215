#!/usr/bin/env bash
# Installs what is missing, configures, builds and runs every test through CTest.
# Usage: scripts/test.sh [extra ctest arguments, e.g. -L unit]
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/install-deps.sh
build_dir=${SLEEP_BUILD_DIR:-build}
jobs=${SLEEP_JOBS:-$(nproc)}
cmake -S . -B "$build_dir" -DCMAKE_BUILD_TYPE=RelWithDebInfo ${SLEEP_CMAKE_ARGS:-}
cmake --build "$build_dir" -j "$jobs"
ctest --test-dir "$build_dir" --output-on-failure -j "$jobs" "$@"
