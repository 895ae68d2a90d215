#!/usr/bin/env bash
# Starts a one-node Slurm cluster on this machine (munged, slurmctld, slurmd, all in a scratch
# folder with their own key, ports and configuration), runs a small population through
# scripts/slurm-population.sh as 3 shards, and checks that the merged metrics equal those of an
# unsharded run. Skipped (exit 77) when Slurm or munge is not installed or we are not root.
#
#   tests/cluster/slurm_population_test.sh SLEEPSIM
set -euo pipefail

readonly SKIP=77
sleepsim=$(realpath "$1")
root=$(cd "$(dirname "$0")/../.." && pwd)

skip() {
  echo "SKIPPED: $*" >&2
  exit $SKIP
}
for program in munged slurmctld slurmd sbatch sinfo; do
  command -v "$program" >/dev/null || skip "'$program' is not installed (Debian packages slurm-wlm and munge)"
done
[ "$(id -u)" -eq 0 ] || skip "starting slurmd needs root"

scratch=$(mktemp -d /tmp/sleepsim-slurm.XXXXXX)
pids=()
stop() {
  for pid in "${pids[@]}"; do
    kill "$pid" 2>/dev/null || true
  done
  if [ -f "$scratch/munged.pid" ]; then
    kill "$(cat "$scratch/munged.pid")" 2>/dev/null || true
  fi
  wait 2>/dev/null || true
  rm -rf "$scratch"
}
trap stop EXIT
fail() {
  echo "FAILED: $*" >&2
  for log in "$scratch"/*.log "$scratch"/out/*.log; do
    [ -f "$log" ] && { echo "--- $log" >&2; tail -n 20 "$log" >&2; }
  done
  exit 1
}
# Polls a condition for up to 60 s (daemons starting, jobs running).
wait_for() {
  for _ in $(seq 1 120); do
    eval "$1" && return 0
    sleep 0.5
  done
  fail "timed out waiting for: $1"
}

mkdir -p "$scratch/state" "$scratch/spool"
chmod 700 "$scratch"
head -c 1024 /dev/urandom >"$scratch/munge.key"
chmod 400 "$scratch/munge.key"
munged --force --key-file="$scratch/munge.key" --socket="$scratch/munge.socket" \
  --pid-file="$scratch/munged.pid" --log-file="$scratch/munged.log" --seed-file="$scratch/munged.seed" ||
  fail "munged did not start"

node=$(hostname -s)
port=$((20000 + RANDOM % 20000))
cat >"$scratch/slurm.conf" <<CONF
ClusterName=sleepsim-test
SlurmctldHost=$node(127.0.0.1)
SlurmctldPort=$port
SlurmdPort=$((port + 1))
SlurmUser=root
SlurmdUser=root
AuthType=auth/munge
CredType=cred/munge
AuthInfo=socket=$scratch/munge.socket
StateSaveLocation=$scratch/state
SlurmdSpoolDir=$scratch/spool
SlurmctldPidFile=$scratch/slurmctld.pid
SlurmdPidFile=$scratch/slurmd.pid
SlurmctldLogFile=$scratch/slurmctld.log
SlurmdLogFile=$scratch/slurmd.log
ProctrackType=proctrack/pgid
TaskPlugin=task/none
JobAcctGatherType=jobacct_gather/none
AccountingStorageType=accounting_storage/none
JobCompType=jobcomp/none
SelectType=select/cons_tres
SelectTypeParameters=CR_Core
MpiDefault=none
MailProg=/bin/true
ReturnToService=2
NodeName=$node NodeAddr=127.0.0.1 CPUs=$(nproc) State=UNKNOWN
PartitionName=local Nodes=ALL Default=YES MaxTime=INFINITE State=UP
CONF
export SLURM_CONF="$scratch/slurm.conf"
slurmctld -D -c -f "$SLURM_CONF" >"$scratch/slurmctld.out.log" 2>&1 &
pids+=($!)
slurmd -D -f "$SLURM_CONF" >"$scratch/slurmd.out.log" 2>&1 &
pids+=($!)
wait_for 'sinfo -h -o %T 2>/dev/null | grep -q idle'
echo "one-node Slurm up on $node (port $port)"

population=(--population 3 --days 3)
SLEEPSIM="$sleepsim" "$root/scripts/slurm-population.sh" --wait "$scratch/out" 3 "${population[@]}" ||
  fail "the sharded population or its merge failed"
"$sleepsim" "${population[@]}" --quiet --out "$scratch/whole" >/dev/null || fail "the unsharded run failed"

for file in population.json metrics.json summary.txt; do
  [ -s "$scratch/whole/$file" ] || fail "the unsharded run wrote no $file"
  cmp "$scratch/whole/$file" "$scratch/out/$file" || fail "merged $file differs from the unsharded run's"
done
for person in "$scratch"/whole/persons/*; do
  name=$(basename "$person")
  shard=$(ls -d "$scratch"/out/shard-*/persons/"$name")
  for file in trace.jsonl.gz metrics.json summary.txt; do
    cmp "$person/$file" "$shard/$file" || fail "person $name ran differently on Slurm ($file)"
  done
done
echo "PASSED: 3 shards on Slurm merged equal one unsharded run"
