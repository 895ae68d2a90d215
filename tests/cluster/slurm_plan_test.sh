#!/usr/bin/env bash
# The Slurm script's plan, run without Slurm: every array task's command (definition and variants,
# each shard) run here in task order, then the merge, give what one unsharded run with the same
# variants writes.
#
#   tests/cluster/slurm_plan_test.sh SLEEPSIM
set -euo pipefail

sleepsim=$(realpath "$1")
root=$(cd "$(dirname "$0")/../.." && pwd)
scratch=$(mktemp -d /tmp/sleepsim-plan.XXXXXX)
trap 'rm -rf "$scratch"' EXIT
fail() {
  echo "FAILED: $*" >&2
  exit 1
}

population=(--population 3 --days 3)
SLEEPSIM="$sleepsim" "$root/scripts/slurm-population.sh" --plan --variants all "$scratch/out" 2 "${population[@]}" \
  >"$scratch/plan.txt" || fail "no plan"
[ "$(wc -l <"$scratch/plan.txt")" -eq 9 ] || fail "expected 2 shards x 4 runs and the merge: $(cat "$scratch/plan.txt")"
grep -q -- '--variant quick-resume --variants-only --shard 2/2' "$scratch/plan.txt" || fail "no quick-resume task"
while IFS= read -r task; do
  eval "$task" >/dev/null || fail "task failed: $task"
done <"$scratch/plan.txt"

"$sleepsim" "${population[@]}" --variant all --quiet --out "$scratch/whole" >/dev/null || fail "the unsharded run failed"
for file in population.json metrics.json summary.txt variants/not-care-charge/metrics.json \
  variants/quick-resume/metrics.json variants/learned-window/metrics.json variants/learned-window/summary.txt; do
  [ -s "$scratch/whole/$file" ] || fail "the unsharded run wrote no $file"
  cmp "$scratch/whole/$file" "$scratch/out/$file" || fail "merged $file differs from the unsharded run's"
done
echo "PASSED: the plan's 8 tasks and merge equal one unsharded run with every variant"
