#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# Copyright the Xperiment authors
#
# A grid engine of its own for the tests: two hosts "head" and "node1", each a set of
# namespaces on this machine, with one shared file system. "head" runs the master and an
# execution daemon, "node1" an execution daemon. All state is in one temporary folder.
#
#   cell.sh up LINK               makes the cell; LINK becomes a link to its folder
#   cell.sh on LINK HOST CMD...   runs a command on a host, as a client of the cell
#   cell.sh start NAME            starts a daemon ("qmaster", "execd") on the host where it is called
#   cell.sh end_jobs              kills the processes of jobs on the host where it is called
#   cell.sh down LINK             ends every process of the cell and removes its folder
#
# "up" ends with 77 where a cell can't be had, and says why. A cell that was forgotten ends
# by itself after an hour. Nothing listens outside of the namespaces.
set -euo pipefail

engine=/usr/lib/gridengine
share=/usr/share/gridengine
patience=60

die() { echo "cell.sh: $*" >&2; exit 1; }
skip() { echo "SKIPPED: no grid engine cell: $*"; exit 77; }

# Runs "$@" until it succeeds.
await() {
  local end=$((SECONDS + patience))
  until "$@" >/dev/null 2>&1; do
    [ "$SECONDS" -lt "$end" ] || return 1
    sleep 0.1
  done
}

# The first process of host $1, or nothing.
init_of() { cat "$dir/$1.init" 2>/dev/null; }

# Waits for lines on a pipe: keeps the host, ends orphans, and runs what the other host
# asks for; the answer goes to a second pipe.
serve() {
  local line
  while read -r line <>"$dir/$1.ask"; do
    bash -c "$line" >"$dir/$1.answer" 2>&1 </dev/null || :
  done
}

# What the first process of host $1 does; the folder is $2.
be_host() {
  dir=$2
  echo "$1" >/proc/sys/kernel/hostname
  mount --bind "$dir/hosts" /etc/hosts
  ip link set lo up
  : >"$dir/$1.there"
  # shellcheck source=/dev/null
  . "$dir/env"
  serve "$1"
}

make_host() {
  mkfifo "$dir/$1.ask" "$dir/$1.answer"
  setsid timeout -s KILL 3600 \
    unshare --net --uts --mount --pid --fork --kill-child --mount-proc \
    "$0" be_host "$1" "$dir" </dev/null >"$dir/$1.log" 2>&1 &
  local pid=$!
  await there_or_ended "$1" "$pid"
  [ -e "$dir/$1.there" ] || skip "no namespaces here: $(cat "$dir/$1.log")"
  pid=$(pgrep -P "$pid")
  pgrep -P "$pid" >"$dir/$1.init"
}

there_or_ended() { [ -e "$dir/$1.there" ] || ! kill -0 "$2"; }

link_hosts() {
  local head node1
  head=$(init_of head)
  node1=$(init_of node1)
  nsenter -t "$head" -n ip link add to_node1 type veth peer name to_head netns "$node1" ||
    skip "no network between namespaces"
  nsenter -t "$head" -n ip addr add 10.99.0.1/24 dev to_node1
  nsenter -t "$head" -n ip link set to_node1 up
  nsenter -t "$node1" -n ip addr add 10.99.0.2/24 dev to_head
  nsenter -t "$node1" -n ip link set to_head up
}

# The folders and files that the master reads before it can be asked anything.
make_files() {
  local arch kind
  arch=$("$share/util/arch")
  mkdir -p "$dir"/{default/common,spool/qmaster/job_scripts,spool/execd,bin,utilbin,lib}
  for kind in bin utilbin lib; do
    ln -s "$engine" "$dir/$kind/$arch"
  done
  ln -s "$share/util" "$dir/util"
  printf '%s\n' '127.0.0.1 localhost' '10.99.0.1 head' '10.99.0.2 node1' >"$dir/hosts"
  cat >"$dir/env" <<END
export SGE_ROOT=$dir SGE_CELL=default SGE_ARCH=$arch SGE_CLUSTER_NAME=tests
export SGE_QMASTER_PORT=6444 SGE_EXECD_PORT=6445
END
  echo head >"$dir/default/common/act_qmaster"
  cat >"$dir/default/common/bootstrap" <<END
admin_user        none
default_domain    none
ignore_fqdn       true
spooling_method   classic
spooling_lib      libspoolc
spooling_params   $dir/default/common;$dir/spool/qmaster
binary_path       $engine
qmaster_spool_dir $dir/spool/qmaster
security_mode     none
listener_threads  2
worker_threads    2
scheduler_threads 1
jvm_threads       0
END
}

# The cell's configuration: root may submit, a kill reaches every process of a job, and an
# execution daemon that is away is noticed within seconds.
make_configuration() {
  sed -e "s|^\(execd_spool_dir\) .*|\1 $dir/spool/execd|" \
    -e 's|^\(mailer\) .*|\1 /bin/true|' \
    -e 's|^\(min_[ug]id\) .*|\1 0|' \
    -e 's|^\(shell_start_mode\) .*|\1 unix_behavior|' \
    -e 's|^\(load_report_time\) .*|\1 00:00:01|' \
    -e 's|^\(max_unheard\) .*|\1 00:00:08|' \
    -e 's|^\(administrator_mail\) .*|\1 none|' \
    -e 's|^\(execd_params\) .*|\1 ENABLE_ADDGRP_KILL=true|' \
    -e 's|flush_time=00:00:15|flush_time=00:00:01|' \
    "$share/default-configuration" >"$dir/configuration"
  export LD_LIBRARY_PATH=$engine
  "$engine/spoolinit" classic libspoolc "$dir/default/common;$dir/spool/qmaster" init
  "$engine/spooldefaults" configuration "$dir/configuration"
  "$engine/spooldefaults" complexes "$share/util/resources/centry"
  "$engine/spooldefaults" usersets "$share/util/resources/usersets"
  "$engine/spooldefaults" managers root
}

# One queue with two slots a host; the scheduler looks at once when a job comes or ends.
make_queue() {
  qconf -ah head,node1
  qconf -as head,node1
  export EDITOR="$0"
  CELL_EDIT='s/^schedule_interval .*/schedule_interval 0:0:1/
    s/^\(flush_[a-z]*_sec\) .*/\1 1/
    s/^job_load_adjustments .*/job_load_adjustments NONE/' qconf -msconf
  CELL_EDIT='s/^hostlist .*/hostlist head node1/
    s/^slots .*/slots 2/
    s/^shell .*/shell \/bin\/sh/
    s/^shell_start_mode .*/shell_start_mode unix_behavior/
    s/^pe_list .*/pe_list NONE/
    s/^load_thresholds .*/load_thresholds NONE/' qconf -aq all.q
}

start() {
  # The daemons close all possible descriptors, one by one: a small limit keeps that quick.
  (cd "$SGE_ROOT" && ulimit -n 1024 &&
    LD_LIBRARY_PATH=$engine exec setsid "$engine/sge_$1") </dev/null >"$SGE_ROOT/$1.out" 2>&1 ||
    die "sge_$1 doesn't start: $(cat "$SGE_ROOT/$1.out")"
}

# Kills the processes of jobs on this host: their environment has the job's name.
end_jobs() {
  local pid
  grep -lz '^JOB_SCRIPT=' /proc/[0-9]*/environ 2>/dev/null | cut -d/ -f3 |
    while read -r pid; do
      kill -KILL "$pid" 2>/dev/null || :
    done || :
}

both_ready() { [ "$(qstat -f | grep -c '^all\.q@.* lx-[^ ]* *$')" = 2 ]; }

# What is done on the head to bring the cell up.
begin() {
  dir=$SGE_ROOT
  make_configuration
  start qmaster
  await qconf -sss || die "the master gives no answer"
  make_queue
  start execd
  printf '%q start execd\n' "$0" >"$dir/node1.ask"
  cat "$dir/node1.answer"
  await both_ready || die "the queue isn't ready: $(qstat -f 2>&1)"
}

up() {
  [ "$(id -u)" = 0 ] || skip "it needs root"
  local part
  for part in sge_qmaster sge_execd qsub; do
    [ -x "$engine/$part" ] ||
      skip "the packages gridengine-master, gridengine-exec and gridengine-client are missing"
  done
  command -v ip >/dev/null || skip "the package iproute2 is missing"
  down "$1"
  dir=$(mktemp -d "${TMPDIR:-/tmp}/cell.XXXXXX")
  chmod 755 "$dir"
  ln -sfn "$dir" "$1"
  trap 'down "$link"' EXIT
  make_files
  make_host head
  make_host node1
  link_hosts
  on head "$0" begin >"$dir/begin.log" 2>&1 || { cat "$dir/begin.log" >&2; die "no cell"; }
  trap - EXIT
}

on() {
  local init
  init=$(init_of "$1") || die "no host $1"
  shift
  # shellcheck source=/dev/null
  . "$dir/env"
  nsenter -t "$init" --net --uts --mount --pid --wd="$PWD" -- "$@"
}

down() {
  [ -L "$1" ] || return 0
  dir=$(readlink "$1")
  local host init
  for host in head node1; do
    init=$(init_of "$host") || continue
    # It is this cell's, and no other process that came to bear its number.
    grep -qazxF "$dir" "/proc/$init/cmdline" 2>/dev/null || continue
    # All that runs on the host ends with its first process.
    kill -KILL "$init"
    await test ! -e "/proc/$init"
  done
  rm -rf "$dir" "$1"
}

# The engine calls this as the editor of a configuration.
if [ -n "${CELL_EDIT:-}" ]; then
  sed -i -e "$CELL_EDIT" "$1"
  touch -d '1 minute' "$1"
  exit
fi

case ${1:-} in
  up) link=$2; up "$2" ;;
  on) dir=$(readlink "$2") || skip "none was brought up at $2"; shift 2; on "$@" ;;
  down) down "$2" ;;
  begin | start | end_jobs | be_host) "$@" ;;
  *) sed -n '5,18s/^# \{0,1\}//p' "$0" >&2; exit 2 ;;
esac
