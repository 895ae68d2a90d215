#!/usr/bin/env bash
# Installs the Debian packages the build needs; skips what is present. Needs root (or sudo) only
# when something is missing.
set -euo pipefail

packages=(cmake g++ make libgtest-dev libgmock-dev libbenchmark-dev libsqlite3-dev libpugixml-dev
  nlohmann-json3-dev libcli11-dev zlib1g-dev tzdata libmimalloc-dev
  clang-14 libfuzzer-14-dev libclang-rt-14-dev chromium)
# The cluster test starts a one-node Slurm cluster (skipped without these).
packages+=(slurm-wlm munge)

missing=()
for package in "${packages[@]}"; do
  if ! dpkg-query -W -f='${Status}' "$package" 2>/dev/null | grep -q "install ok installed"; then
    missing+=("$package")
  fi
done
[ ${#missing[@]} -eq 0 ] && exit 0

echo "installing: ${missing[*]}"
sudo_cmd=()
[ "$(id -u)" -ne 0 ] && sudo_cmd=(sudo)
export DEBIAN_FRONTEND=noninteractive
"${sudo_cmd[@]}" apt-get update -qq
"${sudo_cmd[@]}" apt-get install -y -qq --no-install-recommends "${missing[@]}"
