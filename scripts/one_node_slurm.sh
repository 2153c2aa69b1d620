#!/usr/bin/env bash
# A Slurm cluster of one node on the loopback, without systemd, with all its files in one folder.
# Needs root and the packages slurm-wlm and munge.
#
#     scripts/one_node_slurm.sh start DIR      then: export SLURM_CONF=DIR/slurm.conf
#     scripts/one_node_slurm.sh stop DIR
set -euo pipefail
action=$1
dir=$(realpath -m "$2")
host=$(hostname -s)
export SLURM_CONF=$dir/slurm.conf

wait_for() { # wait_for SECONDS COMMAND...: false if the command stays false for so long
    local end=$((SECONDS + $1))
    shift
    until "$@"; do
        [ "$SECONDS" -lt "$end" ] || return 1
        sleep 0.1
    done
}

idle() { [ "$(timeout 2 sinfo -h -o %t 2>/dev/null)" = idle ]; }
no_jobs() { [ -z "$(timeout 2 squeue -h 2>/dev/null)" ]; }
gone() { [ ! -e "$1" ]; }

write_configuration() {
    cat >"$SLURM_CONF" <<CONF
ClusterName=trial
SlurmctldHost=$host(127.0.0.1)
CommunicationParameters=NoCtldInAddrAny,NoInAddrAny
AuthInfo=socket=$dir/munge.socket
SlurmUser=root
SlurmctldPort=16817
SlurmdPort=16818
StateSaveLocation=$dir/state
SlurmdSpoolDir=$dir/spool
SlurmctldPidFile=$dir/slurmctld.pid
SlurmdPidFile=$dir/slurmd.pid
SlurmctldLogFile=$dir/slurmctld.log
SlurmdLogFile=$dir/slurmd.log
ProctrackType=proctrack/linuxproc
TaskPlugin=task/none
MailProg=/bin/true
SelectType=select/cons_tres
SelectTypeParameters=CR_Core
KillWait=2
SchedulerParameters=batch_sched_delay=0,sched_interval=1,sched_min_interval=0
NodeName=$host NodeAddr=127.0.0.1 CPUs=$(nproc) RealMemory=$(awk '/^MemTotal/ {print int($2 / 1100)}' /proc/meminfo)
PartitionName=all Nodes=ALL Default=YES
CONF
}

start() {
    getent hosts "$host" >/dev/null || { echo "add '127.0.0.1 $host' to /etc/hosts" >&2; return 1; }
    rm -rf "$dir"
    mkdir -p "$dir/state" "$dir/spool"
    (umask 077 && head -c 128 /dev/urandom >"$dir/munge.key")
    munged --key-file="$dir/munge.key" --socket="$dir/munge.socket" --pid-file="$dir/munged.pid" \
        --log-file="$dir/munged.log" --seed-file="$dir/munge.seed"
    write_configuration
    slurmctld
    slurmd
    wait_for 20 idle || { tail -n 20 "$dir"/slurmctld.log "$dir"/slurmd.log >&2; return 1; }
}

stop() {
    if [ -e "$dir/slurmctld.pid" ]; then # the node's daemon would leave running tasks alive
        timeout 5 scancel --user=root || true
        wait_for 10 no_jobs || true
        sleep 3 # until what was cancelled has been killed: KillWait and a little
    fi
    local name pid
    for name in slurmd slurmctld munged; do
        pid=$(cat "$dir/$name.pid" 2>/dev/null) || continue
        kill "$pid" 2>/dev/null || continue
        wait_for 15 gone "$dir/$name.pid" || kill -9 "$pid"
    done
}

"$action"
