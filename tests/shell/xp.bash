# SPDX-License-Identifier: Apache-2.0
# Copyright the Xperiment authors
#
# A folder with a small design for each test, and words for what tests do with xp.

bats_require_minimum_version 1.5.0

source_dir=$(cd "$BATS_TEST_DIRNAME/../.." && pwd)
build_dir=${XPERIMENT_BUILD_DIR:-$source_dir/build/dev}
xp=$build_dir/bin/xp

# The interpreter that the build has found.
python=${XPERIMENT_PYTHON:-python3}

setup() {
  unset XPERIMENT_ROOT XPERIMENT_APP_DATA_DIR KPX_PREPEND_PATH KPX_BINROOT \
    KPX_PREPEND_LD_LIBRARY_PATH COLUMNS
  # Nothing of the real user is read or changed.
  export XDG_CONFIG_HOME=$BATS_TEST_TMPDIR/config
  export TERM=xterm LC_ALL=C
  cd "$BATS_TEST_TMPDIR" || return
  cp "$source_dir/examples/blinky/blinky.v" "$source_dir/examples/blinky/blinky.pcf" .
  # Older than any launch: what a test changes is newer.
  touch -d '1 hour ago' blinky.v blinky.pcf
  tool_dir=$BATS_TEST_TMPDIR/tools
  project=$BATS_TEST_TMPDIR/proj
}

teardown() {
  release_tool fail
}

# For a file of tests over the real tools: skips it, and says so, where one is missing.
need_tools() {
  local tool
  for tool in yosys nextpnr-ice40 icepack icetime; do
    command -v $tool >/dev/null || skip "$tool is missing"
  done
}

# For a teardown: nothing of the project goes on.
end_runs() {
  release_tool fail
  "$xp" -C "$project" kill --all 2>/dev/null || :
}

# A project "proj" over blinky.
new_project() {
  "$xp" new proj --top blinky --source blinky.v --constraints blinky.pcf "$@" 2>/dev/null
}

# The project with a synthesis and an implementation.
new_project_with_runs() {
  new_project
  "$xp" -C proj create synth_1 --flow synth 2>/dev/null
  "$xp" -C proj create impl_1 --flow impl 2>/dev/null
}

# What `xp status --json` says of run $1 at key $2, such as status.
status_of() {
  "$xp" -C "$project" status "$1" --json |
    "$python" -c 'import json, sys; print(json.load(sys.stdin)["runs"][0][sys.argv[1]])' "$2"
}

# The value of the Python expression $1 over the JSON `j` on standard input.
json() {
  "$python" -c 'import json, sys; j = json.load(sys.stdin); print(eval(sys.argv[1]))' "$1"
}

# Puts a program $1 in front of the tools that says so when it is called and waits for
# release_tool; then it becomes the real one.
hold_tool() {
  local real
  real=$(command -v "$1")
  mkdir -p "$tool_dir"
  mkfifo "$tool_dir/started" "$tool_dir/gate"
  # Open for both: neither end waits for the other.
  exec 7<>"$tool_dir/gate" 8<>"$tool_dir/started"
  cat >"$tool_dir/$1" <<TOOL
#!/bin/bash
# Who only asks for the version isn't held.
[ "\$1" != --version ] || exec '$real' --version
echo "\$\$" >'$tool_dir/started'
read -r word <'$tool_dir/gate'
[ "\$word" = go ] || exit 1
exec '$real' "\$@"
TOOL
  chmod +x "$tool_dir/$1"
  PATH=$tool_dir:$PATH
}

# Waits until the held tool was called; sets tool_pid.
tool_started() {
  read -r -t 60 tool_pid <&8
}

# Lets the held tool go on, or with "fail" end badly. Without a held tool nothing.
release_tool() {
  [ ! -p "$tool_dir/gate" ] || echo "${1:-go}" >&7
}

# Waits until "$@" succeeds; a test fails when that takes a minute.
wait_until() {
  local tries
  for ((tries = 0; tries < 600; ++tries)); do
    if "$@"; then
      return 0
    fi
    sleep 0.1
  done
  echo "never came true: $*" >&2
  return 1
}

# Runs "$@" with a search path that holds nothing.
without_tools() {
  mkdir -p "$BATS_TEST_TMPDIR/empty"
  PATH=$BATS_TEST_TMPDIR/empty /usr/bin/env "$@"
}

# The test fails unless $output, of `run`, has exactly one message of xp, and it holds
# each of "$@".
assert_one_error() {
  local text
  [ "$(grep -c '^xp: error: ' <<<"$output")" = 1 ] || { echo "no single error: $output"; return 1; }
  for text in "$@"; do
    [[ $output == *"$text"* ]] || { echo "lacks '$text': $output"; return 1; }
  done
}

# Whether run $1 has the status $2.
run_is() {
  [ "$(status_of "$1" status)" = "$2" ]
}

# Puts a script, read from standard input, in the place of the tool $1. It finds
# $tool_dir/pids, where it notes its processes, and says when it has begun by `begun`.
fake_tool() {
  mkdir -p "$tool_dir"
  mkfifo "$tool_dir/started"
  exec 8<>"$tool_dir/started"
  {
    printf '#!/bin/bash\nnote() { echo "$BASHPID" >>%q/pids; }\n' "$tool_dir"
    printf 'begun() { echo "$$" >%q/started; }\n' "$tool_dir"
    printf 'hang() { while :; do read -r -t 1000 <>%q/never; done; }\n' "$tool_dir"
    cat
  } >"$tool_dir/$1"
  mkfifo "$tool_dir/never"
  chmod +x "$tool_dir/$1"
  PATH=$tool_dir:$PATH
}

# Launches run $1, whose tool is a fake one, and waits until that has begun.
launch_fake() {
  "$xp" -C proj launch "$1" --no-wait 8>&-
  tool_started
  read_launch "$1"
}

# Sets launch_id, the identity of the launch of run $1.
read_launch() {
  launch_id=$(sed -n 's/.* Id="\([^"]*\)".*/\1/p' "$project/runs/$1/.launch.xml")
  [ -n "$launch_id" ]
}

# The processes that carry the launch's identity, or whose ids the fake tool noted.
survivors() {
  local pid
  grep -alzx "XPERIMENT_LAUNCH=$launch_id" /proc/[0-9]*/environ 2>/dev/null | cut -d/ -f3
  if [ -f "$tool_dir/pids" ]; then
    while read -r pid; do
      [ ! -e "/proc/$pid" ] || [[ $(</proc/$pid/stat) == *') Z '* ]] || echo "$pid"
    done <"$tool_dir/pids"
  fi
}

assert_nothing_left() {
  run survivors
  [ -z "$output" ] || { echo "left: $output"; return 1; }
  flock -n "$project/runs/$1/.run.lock" true
}

# A project with $1 syntheses, synth_1 to synth_$1.
new_syntheses() {
  local n
  new_project
  for ((n = 1; n <= $1; ++n)); do
    "$xp" -C proj create "synth_$n" --flow synth 2>/dev/null
  done
}

# A synthesis tool that hangs until the file $tool_dir/go.NUMBER of its run is there, and
# ends badly when that isn't empty.
gated_tool() {
  fake_tool yosys <<'TOOL'
[[ $PWD =~ synth_([0-9]+) ]]
note
gate=${0%/*}/go.${BASH_REMATCH[1]}
begun
until [ -e "$gate" ]; do read -r -t 0.05 <>"${0%/*}/never"; done
[ ! -s "$gate" ] || exit 1
PATH=${PATH#*"${0%/*}":}
exec yosys "$@"
TOOL
}

jobs_in_background() {
  "$xp" -C proj launch "$@" >xp.out 2>xp.err 8>&- &
  xp_pid=$!
}

statuses() {
  "$xp" -C proj status --json | json "' '.join(r['status'] for r in j['runs'])"
}

statuses_are() {
  [ "$(statuses)" = "$1" ]
}

end_of_xp() {
  status=0
  wait "$xp_pid" || status=$?
}

# The test fails unless $output, of `run`, keeps the schema of verb $1, such as "ls"; with
# "lines" as $2 each of its lines.
assert_schema() {
  [ -x "$build_dir/bin/schema_check" ] || skip 'valijson is missing: no schema is checked'
  "$build_dir/bin/schema_check" - "$source_dir/data/schemas/json/$1.schema.json" ${2:+"$2"} \
    <<<"$output"
}
