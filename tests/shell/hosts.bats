#!/usr/bin/env bats
# SPDX-License-Identifier: Apache-2.0
# Copyright the Xperiment authors
#
# Runs on other hosts. The remote command runs its word here, as a login there would; hosts
# are names to it.

load xp.bash

setup_file() { need_tools; }

teardown() {
  remote_command 2>/dev/null || :
  end_runs
}

# Makes the remote command the script on standard input, or one that runs its word. It finds
# the host in $1 and the word in $2, and is asked for as "${on[@]}".
remote_command() {
  mkdir -p hosts
  {
    printf '#!/bin/bash\necho "$1" >>%q/hosts/calls\n' "$BATS_TEST_TMPDIR"
    if [ "${1-}" = - ]; then cat; else echo 'exec sh -c "$2"'; fi
  } >hosts/remote.new
  chmod +x hosts/remote.new
  mv hosts/remote.new hosts/remote
  on=(--host-command "$BATS_TEST_TMPDIR/hosts/remote")
}

as_root() {
  [ "$(id -u)" = 0 ] && unshare "$@" true 2>/dev/null || skip "SKIPPED: needs root and namespaces"
}

@test "each host has as many runs at once as it takes" {
  new_syntheses 4
  gated_tool
  remote_command
  jobs_in_background --host node7:2 --host node8 "${on[@]}"
  tool_started
  tool_started
  tool_started
  wait_until statuses_are 'running running running queued'
  [ "$(sort hosts/calls | tr '\n' ' ')" = 'node7 node7 node8 ' ]
  touch "$tool_dir/go.2"
  tool_started
  wait_until statuses_are 'running done running running'
  touch "$tool_dir/go.1" "$tool_dir/go.3" "$tool_dir/go.4"
  end_of_xp
  [ "$status" = 0 ]
  statuses_are 'done done done done'
  [ "$(wc -l <"$tool_dir/pids")" = 4 ]
}

@test "a whole design is made on other hosts" {
  new_project_with_runs
  remote_command
  run -0 --separate-stderr "$xp" -C proj launch --host node7 --host node8 "${on[@]}"
  [ -s proj/runs/impl_1/blinky.bin ]
  [[ $output == *'impl_1 '*' done '* ]]
}

@test "a host that can't be reached leaves its runs to the others" {
  new_syntheses 2
  remote_command - <<'REMOTE'
[ "$1" != lost ] || { echo 'ssh: connect to host lost port 22: No route to host' >&2; exit 255; }
exec sh -c "$2"
REMOTE
  run -0 --separate-stderr "$xp" -C proj launch --host lost:4 --host node8 "${on[@]}"
  [[ $stderr == *"xp: warning: Run synth_1 isn't launched on lost: "*'said: ssh: connect to host lost port 22: No route to host. '* ]]
  [ "$(grep -c 'xp: warning' <<<"$stderr")" = 1 ]
  statuses_are 'done done'
  [ "$(grep -c lost hosts/calls)" = 1 ]
}

@test "without a host that can be reached nothing is launched, and the reason told" {
  new_syntheses 1
  remote_command - <<'REMOTE'
echo 'jane@lost: Permission denied (publickey).' >&2
exit 255
REMOTE
  run -6 "$xp" -C proj launch --host jane@lost "${on[@]}"
  assert_one_error "Run synth_1 isn't launched on jane@lost: " 'Permission denied (publickey).'
  run_is synth_1 'not started'
  [ -z "$(find proj/runs/synth_1 -name '*.rst' -o -name .launch.xml)" ]
  run -6 "$xp" -C proj launch --host lost --host-command no-such-command
  assert_one_error 'no-such-command: No such file or directory'
}

@test "a folder that the host doesn't share is told" {
  as_root -m
  new_syntheses 1
  export project
  remote_command - <<'REMOTE'
export word=$2
exec unshare -m sh -c 'mount -t tmpfs none "$project" && exec sh -c "$word"'
REMOTE
  run -6 "$xp" -C proj launch --host node7 "${on[@]}"
  assert_one_error "it has no folder $project/runs/synth_1; a run on another host needs a file system that both share"
  run_is synth_1 'not started'
}

@test "a connection that dies behind the start starts nothing twice" {
  new_syntheses 1
  gated_tool
  remote_command - <<'REMOTE'
if [[ $2 = *began* ]]; then
  sh -c "$2" >/dev/null
  echo 'Connection to node7 closed by remote host.' >&2
  exit 255
fi
exec sh -c "$2"
REMOTE
  jobs_in_background --host node7 "${on[@]}"
  tool_started
  run_is synth_1 running
  touch "$tool_dir/go.1"
  end_of_xp
  [ "$status" = 0 ]
  [ "$(wc -l <"$tool_dir/pids")" = 1 ]
}

@test "a run goes on when xp is killed, and the next xp waits for it" {
  new_syntheses 1
  gated_tool
  remote_command
  jobs_in_background --host node7 "${on[@]}"
  tool_started
  kill -KILL "$xp_pid"
  wait "$xp_pid" || :
  run_is synth_1 running
  run -6 "$xp" -C proj launch synth_1
  assert_one_error "Run synth_1 isn't launched: it is running already"
  "$xp" -C proj wait synth_1 >wait.out 2>wait.err 8>&- &
  local waiting=$!
  touch "$tool_dir/go.1"
  wait "$waiting"
  grep -F 'synth_1: done' wait.err
}

@test "what the hosts don't take at once isn't launched without waiting" {
  new_syntheses 3
  gated_tool
  remote_command
  "$xp" -C proj launch synth_1 --no-wait --host node7:2 "${on[@]}" 8>&-
  run -6 --separate-stderr "$xp" -C proj launch synth_2 synth_3 --no-wait --host node7:2 "${on[@]}" 8>&-
  [[ $stderr == *'synth_2: started'* ]]
  [[ $stderr == *"xp: error: Run synth_3 isn't launched: every host has as many runs as it takes"* ]]
  statuses_are 'running running not started'
  touch "$tool_dir/go.1" "$tool_dir/go.2"
  "$xp" -C proj wait
  statuses_are 'done done not started'
}

@test "a run is stopped on its host, with all that it started" {
  new_syntheses 1
  fake_tool yosys <<'TOOL'
note
( trap '' TERM; note; hang ) &
setsid bash -c "$(declare -f note hang); note; exec 9>&-; hang" &
note; begun; hang
TOOL
  remote_command
  "$xp" -C proj launch synth_1 --no-wait --host node7 "${on[@]}" 8>&-
  tool_started
  read_launch synth_1
  run -0 --separate-stderr "$xp" -C proj kill synth_1
  [[ $stderr == 'synth_1: stopped in synth_design: '*' processes ended in '*' ms'* ]]
  assert_nothing_left synth_1
  run_is synth_1 stopped
  [ "$(sort -u hosts/calls)" = node7 ]
}

@test "a run is taken back on its host" {
  new_syntheses 1
  gated_tool
  remote_command
  "$xp" -C proj launch synth_1 --no-wait --host node7 "${on[@]}" 8>&-
  tool_started
  read_launch synth_1
  run -6 "$xp" -C proj reset synth_1
  assert_one_error "Run synth_1 isn't reset: it is running"
  run -0 --separate-stderr "$xp" -C proj reset synth_1 --kill
  assert_nothing_left synth_1
  run_is synth_1 'not started'
  run -0 find proj/runs/synth_1 -mindepth 1 ! -name .launches.jsonl -printf '%f\n'
  [ "$output" = .run.lock ]
}

@test "a host that is lost leaves a kill undone, and says so" {
  new_syntheses 1
  fake_tool yosys <<'TOOL'
trap '' TERM; note; begun; hang
TOOL
  remote_command
  "$xp" -C proj launch synth_1 --no-wait --host node7 "${on[@]}" 8>&-
  tool_started
  remote_command - <<<'echo "ssh: connect to host node7 port 22: Connection timed out" >&2; exit 255'
  run -6 "$xp" -C proj kill synth_1
  assert_one_error "Run synth_1 isn't stopped: node7 can't be asked" 'Connection timed out'
  # Its wrapper saw the file, and ends the tool for certain.
  wait_until run_is synth_1 stopped
}

@test "a run that died on its host without a word isn't waited for" {
  as_root -u
  new_syntheses 1
  gated_tool
  remote_command - <<'REMOTE'
export host=$1 word=$2
exec unshare -u sh -c 'hostname "$host" && exec sh -c "$word"'
REMOTE
  jobs_in_background --host node7 "${on[@]}"
  tool_started
  kill -KILL "$xp_pid"
  read_launch synth_1
  wait_until no_survivor
  find proj/runs/synth_1 -exec touch -h -d '5 minutes ago' {} +
  run_is synth_1 lost
  run -1 "$xp" -C proj wait synth_1
  assert_one_error 'Run synth_1 was lost in step synth_design' 'no process of it is on node7'
}

# Kills what there is of the launch; fails when there was something.
no_survivor() {
  local found
  found=$(survivors)
  # shellcheck disable=SC2086
  [ -z "$found" ] || { kill -KILL $found 2>/dev/null; return 1; }
}

@test "a host of another name is asked under the name that it was given" {
  as_root -u
  new_syntheses 1
  gated_tool
  remote_command - <<'REMOTE'
export host=$1 word=$2
exec unshare -u sh -c 'hostname "$host.far.away" && exec sh -c "$word"'
REMOTE
  jobs_in_background --host node7 "${on[@]}"
  tool_started
  grep -F 'Host="node7.far.away"' proj/runs/synth_1/.ice40_synth.begin.rst
  grep -F ' node7.far.away ' proj/runs/synth_1/.launch.host
  run_is synth_1 running
  read_launch synth_1
  run -0 "$xp" -C proj kill synth_1
  end_of_xp
  assert_nothing_left synth_1
  run_is synth_1 stopped
}

@test "a project from elsewhere has no host and no command called" {
  new_syntheses 1
  gated_tool
  remote_command
  "$xp" -C proj launch synth_1 --no-wait --host node7 "${on[@]}" 8>&-
  tool_started
  grep -F "node7" "$XDG_CONFIG_HOME/xperiment/launch-ways"
  cp proj/runs/synth_1/.launch.xml kept
  sed -i 's/BootId="[^"]*"/BootId="another"/' proj/runs/synth_1/.launch.xml
  rm "$XDG_CONFIG_HOME/xperiment/launch-ways" hosts/calls
  "$xp" -C proj status
  run -6 "$xp" -C proj kill synth_1
  assert_one_error "Run synth_1 isn't stopped: it was launched" 'you never launched by that'
  [ ! -e hosts/calls ]
  cp kept proj/runs/synth_1/.launch.xml
  run -0 "$xp" -C proj kill synth_1
  run_is synth_1 stopped
}

@test "hosts and their numbers are checked" {
  new_syntheses 1
  run -2 "$xp" -C proj launch --host node7:0
  assert_one_error '"node7:0"'
  run -2 "$xp" -C proj launch --host node7:many
  run -6 "$xp" -C proj launch --host=-oProxyCommand=x
  assert_one_error '"-oProxyCommand=x" can'"'"'t be the name of a host'
  run -2 "$xp" -C proj launch --host node7 -j 2
  run -2 "$xp" -C proj launch --host-command ssh
  run_is synth_1 'not started'
}
