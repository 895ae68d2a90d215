#!/usr/bin/env bash
# Runs the commands of the README as a newcomer would, so the page cannot drift from the tools:
# every fenced block marked "sh readme-test" runs in order, from a scratch folder laid out like the
# repository (build/tools/sleepsim/sleepsim is the built binary). Then every file the page's
# "What a run writes" table names must be in the folder of the first run, and every local link of
# the README and of docs/ must name a file that exists.
# Usage: readme_commands_test.sh SLEEPSIM SOURCE_DIR SCRATCH_DIR
set -euo pipefail

sleepsim=$(realpath "$1")
source_dir=$(realpath "$2")
scratch=$(realpath -m "$3")
readme="$source_dir/README.md"

fail() {
  echo "FAILED: $*" >&2
  exit 1
}

rm -rf "$scratch"
mkdir -p "$scratch/build/tools/sleepsim"
ln -s "$sleepsim" "$scratch/build/tools/sleepsim/sleepsim"

# Writes block-1.sh, block-2.sh, ... into the scratch folder, one per marked block.
awk -v dir="$scratch" '
  /^```sh readme-test[[:space:]]*$/ { inside = 1; count++; next }
  /^```/ && inside { inside = 0; next }
  inside { print > (dir "/block-" count ".sh") }
' "$readme"
blocks=("$scratch"/block-*.sh)
[ -e "${blocks[0]}" ] || fail "no block marked 'sh readme-test' in $readme"

for block in $(ls "$scratch"/block-*.sh | sort -V); do
  if ! (cd "$scratch" && bash -euo pipefail "$block" >"$block.log" 2>&1); then
    echo "--- commands:" >&2
    cat "$block" >&2
    echo "--- output (last lines):" >&2
    tail -n 20 "$block.log" >&2
    fail "a README block stopped with an error"
  fi
done
echo "ran ${#blocks[@]} README blocks"

# The folder of the first run: the first --out of the first block.
first_run=$(grep -o -m1 -- '--out [^ ]*' "$scratch/block-1.sh" | cut -d' ' -f2)
[ -n "$first_run" ] || fail "the first README block names no --out folder"
listed=$(awk '/^## What a run writes/ { inside = 1; next } /^## / { inside = 0 }
  inside && /^\| `[^`]+`/ { split($0, cell, "`"); print cell[2] }' "$readme")
[ -n "$listed" ] || fail "the README lists no outputs under 'What a run writes'"
for name in $listed; do
  [ -e "$scratch/$first_run/$name" ] || fail "the README lists '$name', which a run does not write"
done

# Local links: [text](path) outside http(s) and in-page anchors, relative to the linking page.
for page in "$readme" "$source_dir"/docs/*.md; do
  for target in $(grep -o '\](\([^)#:]*\)[^)]*)' "$page" | sed 's/^](\([^)#]*\).*/\1/' | sort -u); do
    [ -e "$(dirname "$page")/$target" ] || fail "$(basename "$page") links to '$target', which does not exist"
  done
done
echo "outputs and links agree with the README"
