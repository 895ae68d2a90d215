#!/usr/bin/env bash
# Runs a sleepsim population on a Slurm cluster: one array task per shard, each writing
# OUT/shard-K/, then a job that waits for all of them and merges the shards into OUT/
# (population.json, metrics.json, summary.txt exactly as one unsharded run writes them).
# With --variants, the array holds a task per variant and shard besides the definition's
# (OUT/variant-NAME-shard-K/, sleepsim --variants-only) and the merge compares every variant with
# the definition over all persons (OUT/variants/NAME/, the comparison at the end of summary.txt).
#
#   scripts/slurm-population.sh [--wait] [--plan] [--variants NAMES] OUT SHARDS SLEEPSIM_ARGS...
#   scripts/slurm-population.sh results 20 --population 200 --days 60
#   scripts/slurm-population.sh --variants all results 20 --population 200 --days 60
#   scripts/slurm-population.sh --variants quick-resume,learned-window results 8 --persons-from nights.csv
#
# OUT must be on a file system every node sees. SLEEPSIM names the sleepsim program (default
# build/tools/sleepsim/sleepsim of this checkout), SBATCH_ARGS adds sbatch options (partition,
# time limit, --cpus-per-task=N to simulate N persons at once per task). --wait returns when the
# merge has finished, with its exit code. --plan only prints the array's tasks, one command a line
# in task order (also kept in OUT/slurm-tasks.txt), and the merge's command; nothing is submitted.
set -euo pipefail

usage() {
  sed -n '2,/^set -euo/p' "$0" | sed '$d; s/^# \{0,1\}//' >&2
  exit 2
}

wait_flag=()
plan=false
variants=""
while [ $# -gt 0 ]; do
  case "$1" in
  --wait) wait_flag=(--wait) ;;
  --plan) plan=true ;;
  --variants)
    [ $# -ge 2 ] || usage
    variants=$2
    shift
    ;;
  *) break ;;
  esac
  shift
done
[ $# -ge 3 ] || usage
out=$1
shards=$2
shift 2
if ! [[ "$shards" =~ ^[1-9][0-9]*$ ]]; then
  echo "slurm-population: the number of shards must be a whole number of at least 1, not '$shards'" >&2
  exit 2
fi

root=$(cd "$(dirname "$0")/.." && pwd)
sleepsim=$(realpath "${SLEEPSIM:-$root/build/tools/sleepsim/sleepsim}")
if [ ! -x "$sleepsim" ]; then
  echo "slurm-population: no sleepsim program at '$sleepsim' (build it or set SLEEPSIM)" >&2
  exit 2
fi
mkdir -p "$out"
out=$(realpath "$out")

# Persons of a population are written without syncing every file to disk, when this sleepsim can.
run_args=("$@")
if "$sleepsim" --help | grep -q -- '--no-sync'; then
  run_args+=(--no-sync)
fi
read -r -a extra_sbatch <<<"${SBATCH_ARGS:-}"

# The variants' names; "all" is every variant sleepsim knows (its --help lists them).
if [ "$variants" = "all" ]; then
  variants=$("$sleepsim" --help | tr '\n' ' ' | sed -n 's/.*Variants: \([a-z, -]*\)\..*/\1/p' | tr -d ' ')
fi
IFS=',' read -r -a variant_names <<<"$variants"

# One command per array task, in task order: every shard of the definition, then every shard of
# each variant. The escaped ${SLURM_CPUS_PER_TASK:-1} is read when the task runs.
tasks="$out/slurm-tasks.txt"
run="$(printf '%q ' "$sleepsim" "${run_args[@]}") --quiet --jobs \${SLURM_CPUS_PER_TASK:-1}"
shard_dirs=()
: >"$tasks"
for name in "" "${variant_names[@]}"; do
  for k in $(seq 1 "$shards"); do
    if [ -z "$name" ]; then
      dir="$out/shard-$k"
      echo "$run --shard $k/$shards --out $(printf '%q' "$dir")" >>"$tasks"
    else
      dir="$out/variant-$name-shard-$k"
      echo "$run --variant $(printf '%q' "$name") --variants-only --shard $k/$shards --out $(printf '%q' "$dir")" >>"$tasks"
    fi
    shard_dirs+=("$dir")
  done
done
task_count=$(wc -l <"$tasks")
merge="$(printf '%q ' "$sleepsim" merge --out "$out" "${shard_dirs[@]}")"
if $plan; then
  cat "$tasks"
  echo "$merge"
  exit 0
fi

array_job=$(sbatch --parsable --job-name=sleepsim-shards --array="0-$((task_count - 1))" \
  --output="$out/slurm-task-%a.log" "${extra_sbatch[@]}" \
  --wrap "eval \"\$(sed -n \"\$((SLURM_ARRAY_TASK_ID + 1))p\" $(printf '%q' "$tasks"))\"")
array_job=${array_job%%;*}
echo "slurm-population: $task_count tasks ($shards shards x $((${#variant_names[@]} + 1)) runs) in job $array_job"

# afterany: a shard with a failed person still merges the others; a missing shard is named.
merge_job=$(sbatch --parsable --job-name=sleepsim-merge --dependency="afterany:$array_job" \
  --output="$out/slurm-merge.log" "${extra_sbatch[@]}" "${wait_flag[@]}" --wrap "$merge")
echo "slurm-population: merge in job ${merge_job%%;*}; metrics in $out/metrics.json, summary in $out/summary.txt"
