#!/usr/bin/env bash
# Installs what is missing, builds sleepsim and runs it; arguments go to sleepsim.
# Usage: scripts/run-sim.sh [scenario.json] [--out DIR] ...   (see: scripts/run-sim.sh --help)
# Environment:
#   SLEEP_BUILD_DIR    build folder (default build)
#   SLEEP_CMAKE_ARGS   extra CMake arguments, split at spaces (e.g. -DCMAKE_BUILD_TYPE=Release)
#   SLEEP_JOBS         parallel build jobs (default: the number of cores)
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/install-deps.sh
build_dir=${SLEEP_BUILD_DIR:-build}
launcher=()
command -v ccache >/dev/null && launcher=(-DCMAKE_CXX_COMPILER_LAUNCHER=ccache -DCMAKE_C_COMPILER_LAUNCHER=ccache)
# shellcheck disable=SC2086 # SLEEP_CMAKE_ARGS is a list of arguments
cmake -S . -B "$build_dir" -DCMAKE_BUILD_TYPE=RelWithDebInfo "${launcher[@]}" ${SLEEP_CMAKE_ARGS:-} >/dev/null
cmake --build "$build_dir" -j "${SLEEP_JOBS:-$(nproc)}" --target sleepsim
"$build_dir/tools/sleepsim/sleepsim" "$@"
