#!/usr/bin/env bash
# Runs a sleepsim population on a Slurm cluster: one array task per shard, each writing
# OUT/shard-K/, then a job that waits for all of them and merges the shards into OUT/
# (population.json, metrics.json, summary.txt exactly as one unsharded run writes them).
#
#   scripts/slurm-population.sh [--wait] OUT SHARDS SLEEPSIM_ARGS...
#   scripts/slurm-population.sh results 20 --population 200 --days 60
#   scripts/slurm-population.sh results 8 --persons-from data/globem-nights.csv
#
# OUT must be on a file system every node sees. SLEEPSIM names the sleepsim program (default
# build/tools/sleepsim/sleepsim of this checkout), SBATCH_ARGS adds sbatch options (partition,
# time limit, --cpus-per-task=N to simulate N persons at once per task). --wait returns when the
# merge has finished, with its exit code.
set -euo pipefail

usage() {
  sed -n '2,/^set -euo/p' "$0" | sed '$d; s/^# \{0,1\}//' >&2
  exit 2
}

wait_flag=()
if [ "${1:-}" = "--wait" ]; then
  wait_flag=(--wait)
  shift
fi
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

# The array task's shard is only known when it runs, hence the escaped $SLURM_ARRAY_TASK_ID.
task="$(printf '%q ' "$sleepsim" "${run_args[@]}") --quiet --jobs \${SLURM_CPUS_PER_TASK:-1}"
task+=" --shard \$((SLURM_ARRAY_TASK_ID + 1))/$shards --out $(printf '%q' "$out")/shard-\$((SLURM_ARRAY_TASK_ID + 1))"
array_job=$(sbatch --parsable --job-name=sleepsim-shards --array="0-$((shards - 1))" \
  --output="$out/slurm-shard-%a.log" "${extra_sbatch[@]}" --wrap "$task")
array_job=${array_job%%;*}
echo "slurm-population: $shards shard tasks in job $array_job"

shard_dirs=()
for k in $(seq 1 "$shards"); do
  shard_dirs+=("$out/shard-$k")
done
# afterany: a shard with a failed person still merges the others; a missing shard is named.
merge="$(printf '%q ' "$sleepsim" merge --out "$out" "${shard_dirs[@]}")"
merge_job=$(sbatch --parsable --job-name=sleepsim-merge --dependency="afterany:$array_job" \
  --output="$out/slurm-merge.log" "${extra_sbatch[@]}" "${wait_flag[@]}" --wrap "$merge")
echo "slurm-population: merge in job ${merge_job%%;*}; metrics in $out/metrics.json, summary in $out/summary.txt"
