# SPDX-License-Identifier: Apache-2.0
# Copyright the Xperiment authors
#
# Words for tests that run on the head of the cell that cell.sh brings up.

load ../shell/xp.bash

cell_sh=$BATS_TEST_DIRNAME/cell.sh

# Runs the shell command $1, of one line, on node1; prints what it prints.
on_node1() {
  printf '%s\n' "$1" >"$SGE_ROOT/node1.ask"
  timeout 30 cat "$SGE_ROOT/node1.answer"
}

# The network between the hosts is taken away, and brought back.
cut_link() { ip link set to_node1 down; }
heal_link() { ip link set to_node1 up; }

# The process of the daemon $1, such as execd, on this host.
daemon() { pgrep -x "sge_$1"; }

# The states of all.q on host $1, such as "au"; nothing when it is well.
queue_state() { qstat -f | awk -v queue="all.q@$1" '$1 == queue { print $6 }'; }

queue_is_well() {
  local queues
  queues=$(qstat -f) && awk '/^all\.q@/ { ++n; bad += NF == 6 } END { exit n != 2 || bad }' \
    <<<"$queues"
}

# The jobs that the queue knows, one number a line.
jobs_in_queue() { qstat -u '*' | awk '$1 ~ /^[0-9]+$/ { print $1 }'; }

queue_is_empty() {
  local jobs
  jobs=$(qstat -u '*') && [ -z "$jobs" ]
}

# The state of job $1, such as qw or r; nothing when the queue doesn't know it.
job_state() { qstat -u '*' | awk -v id="$1" '$1 == id { print $5 }'; }

job_is() { [ "$(job_state "$1")" = "$2" ]; }

# Takes the master away from the clients of this shell: nothing listens there.
lose_master() { export SGE_QMASTER_PORT=1; }
find_master() { export SGE_QMASTER_PORT=6444; }

# The master is there, but answers nobody.
hang_master() { pkill -STOP -x sge_qmaster; }
wake_master() { pkill -CONT -x sge_qmaster; }

# Ends every job and its processes, and makes the cell what a test may expect: daemons
# there, hosts linked, queue open.
mend_cell() {
  find_master
  wake_master
  heal_link
  qmod -e '*' >/dev/null 2>&1 || :
  daemon execd >/dev/null || "$cell_sh" start execd
  [ "$(on_node1 'pgrep -x sge_execd')" ] || on_node1 "$(printf '%q start execd' "$cell_sh")"
  wait_until queue_is_well
  queue_is_empty || qdel -f -u '*' >/dev/null
  "$cell_sh" end_jobs
  on_node1 "$(printf '%q end_jobs' "$cell_sh")" >/dev/null
  wait_until queue_is_empty
}
