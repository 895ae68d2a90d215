#!/usr/bin/env bash
# Installs what is missing, then runs every test through CTest twice: in an ordinary build, then in
# a clang build with address and undefined-behaviour sanitizers and the libFuzzer targets, whose
# short fuzzing runs are part of that suite (label "fuzz"). This is what CI runs.
# Usage: scripts/test.sh [extra ctest arguments, e.g. -L unit]
# Environment:
#   SLEEP_BUILD_DIR       ordinary build folder (default build)
#   SLEEP_SANITIZE_DIR    sanitizer + fuzz build folder (default build-sanitize)
#   SLEEP_CMAKE_ARGS      extra CMake arguments for the ordinary build
#   SLEEP_JOBS            parallel jobs (default: the number of cores)
#   SLEEP_SKIP_SANITIZE=1 run the ordinary pass only
#   SLEEP_TSAN=1          also run the suite built with the thread sanitizer (folder build-tsan)
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/install-deps.sh
jobs=${SLEEP_JOBS:-$(nproc)}
launcher=()
command -v ccache >/dev/null && launcher=(-DCMAKE_CXX_COMPILER_LAUNCHER=ccache -DCMAKE_C_COMPILER_LAUNCHER=ccache)

# run_suite <build folder> <cmake arguments...> -- <ctest arguments...>
run_suite() {
  local dir=$1
  shift
  local cmake_args=()
  while [ "$1" != "--" ]; do
    cmake_args+=("$1")
    shift
  done
  shift
  echo "== $dir"
  cmake -S . -B "$dir" -DCMAKE_BUILD_TYPE=RelWithDebInfo "${launcher[@]}" "${cmake_args[@]}"
  cmake --build "$dir" -j "$jobs"
  ctest --test-dir "$dir" --output-on-failure -j "$jobs" "$@"
}

# shellcheck disable=SC2086 # SLEEP_CMAKE_ARGS is a list of arguments
run_suite "${SLEEP_BUILD_DIR:-build}" ${SLEEP_CMAKE_ARGS:-} -- "$@"

if [ "${SLEEP_SKIP_SANITIZE:-0}" != 1 ]; then
  run_suite "${SLEEP_SANITIZE_DIR:-build-sanitize}" -DCMAKE_C_COMPILER=clang-14 -DCMAKE_CXX_COMPILER=clang++-14 \
    -DSLEEP_SANITIZE=address,undefined -DSLEEP_FUZZ=ON -DSLEEP_BUILD_BENCH=OFF -- "$@"
fi

if [ "${SLEEP_TSAN:-0}" = 1 ]; then
  run_suite build-tsan -DSLEEP_SANITIZE=thread -DSLEEP_BUILD_BENCH=OFF -- "$@"
fi
