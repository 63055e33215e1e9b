#!/usr/bin/env bats
# SPDX-License-Identifier: Apache-2.0
# Copyright the Xperiment authors
#
# The wrapper of the command that makes a step's reports, and a report script, as its
# golden has it, around it.

load stepWrapper
wrapper_name=ZUMWrapReports.sh
wrapper_log=place_design_reports.log

# --- status, words and log -----------------------------------------------------

@test "the status is that of the command" {
  program tool <<<'exit "$1"'
  for code in 0 1 3 126 255; do
    run -"$code" wrap tool "$code"
  done
}

@test "words arrive as they are" {
  program tool <<<'printf "[%s]" "$@"'
  wrap tool 'a  b' '' '*' "it's" '$HOME' '\' -n --
  [ "$(<"$wrapper_log")" = "[a  b][][*][it's][\$HOME][\\][-n][--]" ]
}

@test "what the command writes is added to the log, in its order" {
  program tool <<<'echo out; echo error >&2; echo out'
  echo earlier >"$wrapper_log"
  wrap tool
  diff - "$wrapper_log" <<<$'earlier\nout\nerror\nout'
}

@test "the log is written whatever the wrapper's own output is" {
  program tool <<<'echo out; echo error >&2'
  run -0 ${WRAPPER_SHELL:-sh} "./$wrapper_name" "$wrapper_log" tool
  [ "$output" = '' ]
  ${WRAPPER_SHELL:-sh} "./$wrapper_name" "$wrapper_log" tool >&- 2>&- 3>&-
  diff - "$wrapper_log" <<<$'out\nerror\nout\nerror'
}

@test "an old log is whole while the command runs" {
  program tool <<<'cat "$1" >seen'
  seq 5000 >"$wrapper_log"
  wrap tool "$wrapper_log"
  diff seen <(seq 5000)
}

@test "a log that can't be written is told, and nothing is run" {
  program tool <<<'touch ran'
  mkdir "$wrapper_log"
  run -1 ${WRAPPER_SHELL:-sh} "./$wrapper_name" "$wrapper_log" tool
  [[ "$output" == *"ZUMWrapReports.sh: '$wrapper_log' can't be written in $PWD; check its permissions and the free space"* ]]
  [ ! -e ran ]
}

@test "a command that can't be found gives 127 and says so" {
  run -127 wrap no_such_tool
  grep -q 'no_such_tool.*No such file' "$wrapper_log"
  grep -q "ZUMWrapReports.sh: 'no_such_tool' ended with status 127: the program, or one that it needs, was not found; check PATH" "$wrapper_log"
}

@test "a file that isn't executable gives 126" {
  echo text >plain
  run -126 wrap ./plain
}

@test "a command killed by a signal gives 128 and its number" {
  program tool <<<'kill -9 $$'
  run -137 wrap tool
  [ "$(tail -n 1 "$wrapper_log")" = "ZUMWrapReports.sh: 'tool' ended with status 137" ]
}

@test "a wrong call is refused" {
  run -2 ${WRAPPER_SHELL:-sh} "./$wrapper_name"
  [ "$output" = 'ZUMWrapReports.sh: usage: ZUMWrapReports.sh <log> <command> [<argument>...]' ]
  run -2 ${WRAPPER_SHELL:-sh} "./$wrapper_name" log
  run -2 ${WRAPPER_SHELL:-sh} "./$wrapper_name" log ''
  [ ! -e log ]
}

@test "the command works in the wrapper's folder and reads nothing" {
  program tool <<<'pwd -P; cat'
  cd / || return
  echo text | ${WRAPPER_SHELL:-sh} "$run_dir/$wrapper_name" "$wrapper_log" tool 3>&-
  cd "$run_dir" || return
  diff - "$wrapper_log" <<<"$(pwd -P)"
}

@test "the folder may have any name" {
  mkdir -- "$BATS_TEST_TMPDIR/-a run & \$more"
  cp "$wrapper_name" "$BATS_TEST_TMPDIR/-a run & \$more"
  cd -- "$BATS_TEST_TMPDIR/-a run & \$more" || return
  program tool <<<'pwd -P'
  wrap tool
  diff - "$wrapper_log" <<<"$(pwd -P)"
}

@test "the command's environment is the wrapper's" {
  program tool <<<'env | grep -v "^_=" | sort >"$out/inside"'
  # The test's own shell counts its depth.
  (export PATH="$PATH:/a b" LD_LIBRARY_PATH=/odd z_odd=kept && env | grep -v '^_=' | sort >"$BATS_TEST_TMPDIR/outside" && wrap tool)
  diff <(grep -E '^(PATH|LD_LIBRARY_PATH|z_odd|HOME|LANG)=' "$BATS_TEST_TMPDIR/outside") \
    <(grep -E '^(PATH|LD_LIBRARY_PATH|z_odd|HOME|LANG)=' "$BATS_TEST_TMPDIR/inside")
}

# --- markers -------------------------------------------------------------------

@test "no marker is made, changed or removed, and nothing but the log is left" {
  program tool <<<'exit "$1"'
  program tarnel <<<'exit "$1"'
  for marker in .tool.begin.rst .tool.end.rst .tarnel.end.rst .tarnel.error.stp; do
    echo "kept $marker" >"$marker"
    touch -d @1000000 "$marker"
  done
  for code in 0 5; do
    run -"$code" wrap tool "$code"
    run -"$code" wrap tarnel "$code"
  done
  [ "$(markers)" = '.tarnel.end.rst .tarnel.error.stp .tool.begin.rst .tool.end.rst ' ]
  for marker in .tool.begin.rst .tool.end.rst .tarnel.end.rst .tarnel.error.stp; do
    [ "$(<"$marker")" = "kept $marker" ]
    [ "$(stat -c %Y "$marker")" = 1000000 ]
  done
  [ "$(ls)" = $'ZUMWrapReports.sh\nplace_design_reports.log' ]
}

@test "a stop that was asked of the run, and a skipped step, don't matter" {
  program tarnel <<<'touch ran'
  touch .stop.rst
  XPERIMENT_SKIP_STEPS=tarnel wrap tarnel
  [ -e ran ]
  [ -e .stop.rst ]
}

# --- signals -------------------------------------------------------------------

# A program "tool" that notes each signal it gets and ends with the status $1.
noting_tool() {
  program tool <<P
for name in HUP INT TERM; do trap "echo \$name >>signals; exit $1" \$name; done
i_am tool
hold
P
}

# The wrapper around "tool" gets the signal $1; sets `status`.
signal_wrapper() {
  rm -f signals "$BATS_TEST_TMPDIR/tool.pid"
  start_wrap tool
  until_it_is tool
  kill -"$1" "$wrapper"
  finish_wrap
  group_is_gone "$pid"
}

@test "TERM and HUP are passed on, and the status is the command's" {
  noting_tool 7
  for name in TERM HUP; do
    signal_wrapper "$name"
    [ "$status" = 7 ]
    [ "$(<signals)" = "$name" ]
    [ "$(tail -n 1 "$wrapper_log")" = "ZUMWrapReports.sh: 'tool' got signal $name and ended with status 7" ]
  done
}

@test "a command that a signal ends with 0 hasn't made its reports" {
  noting_tool 0
  for case in TERM:143 HUP:129; do
    signal_wrapper "${case%:*}"
    [ "$status" = "${case#*:}" ]
  done
}

@test "INT reaches a command that takes it" {
  program tool <<'P'
i_am tool.sh
exec python3 -c '
import os, signal, sys
def on_int(*_):
    open("signals", "w").write("INT\n")
    sys.exit(9)
signal.signal(signal.SIGINT, on_int)
os.rename(sys.argv[1] + ".sh.pid", sys.argv[1] + ".pid")
while True:
    signal.pause()
' "$out/tool"
P
  signal_wrapper INT
  [ "$status" = 9 ]
  [ "$(<signals)" = INT ]
}

@test "a command that was started with INT ignored gets TERM for it" {
  noting_tool 7
  signal_wrapper INT
  [ "$status" = 7 ]
  # Bash lets what it starts have INT, since the wrapper takes it itself.
  case ${WRAPPER_SHELL:-sh} in
    bash) [ "$(<signals)" = INT ] ;;
    *) [ "$(<signals)" = TERM ] ;;
  esac
}

@test "a command without a trap is ended by the signal" {
  program tool <<<'i_am tool; exec sleep 1000'
  for case in TERM:143 HUP:129; do
    signal_wrapper "${case%:*}"
    [ "$status" = "${case#*:}" ]
  done
}

@test "a signal reaches what the command has started" {
  program tool <<<'( i_am unused; trap "echo TERM >child; exit" TERM; : >ready; hold ) & i_am tool; wait'
  start_wrap tool
  until_it_is tool
  until_true file_stands ready
  kill -TERM "$wrapper"
  finish_wrap
  [ "$(<child)" = TERM ]
  group_is_gone "$pid"
}

@test "a second signal is passed on too" {
  program tool <<'P'
trap 'echo TERM >>signals' TERM
trap 'echo HUP >>signals; exit 7' HUP
i_am tool
hold
P
  start_wrap tool
  until_it_is tool
  kill -TERM "$wrapper"
  until_true file_stands signals
  kill -HUP "$wrapper"
  finish_wrap
  [ "$status" = 7 ]
  [ "$(<signals)" = $'TERM\nHUP' ]
}

@test "a command that outlives a signal by five seconds is killed" {
  program tool <<<'trap "" TERM INT HUP; hold & i_am tool; hold'
  start=$(milliseconds)
  signal_wrapper TERM
  [ "$status" = 137 ]
  [ $(($(milliseconds) - start)) -ge 4500 ]
}

@test "a suspended command is ended by a signal all the same" {
  noting_tool 7
  start_wrap tool
  until_it_is tool
  kill -STOP -- "-$pid"
  until_true group_is_stopped "$pid"
  kill -TERM "$wrapper"
  finish_wrap
  [ "$status" = 7 ]
  [ "$(<signals)" = TERM ]
}

# --- nothing is left -------------------------------------------------------------

# No process has the run directory as its folder, but for this test's own.
nobody_is_here() {
  local process
  for process in /proc/[0-9]*; do
    if [ "$process/cwd" -ef . ] && [ "${process##*/}" != "$$" ] && [ "${process##*/}" != "$BASHPID" ]; then
      [[ "$(cat "$process/stat" 2>/dev/null)" == *') Z '* ]] || return 1
    fi
  done
}

@test "what the command left behind is ended, well or not" {
  program tool <<<'hold & trap "" TERM; hold & i_am tool; exit "$1"'
  for code in 0 4; do
    run -"$code" wrap tool "$code"
    group_is_gone "$(<"$BATS_TEST_TMPDIR/tool.pid")"
  done
}

@test "a killed command takes what it started with it" {
  program tool <<<'trap "" TERM; hold & i_am tool; hold'
  start_wrap tool
  until_it_is tool
  kill -KILL "$pid"
  finish_wrap
  [ "$status" = 137 ]
  group_is_gone "$pid"
}

@test "a killed wrapper takes its command with it" {
  program tool <<<'trap "" TERM; hold & i_am tool; hold'
  start_wrap tool
  until_it_is tool
  kill -KILL "$wrapper"
  finish_wrap
  [ "$status" = 137 ]
  until_true group_is_gone "$pid"
  until_true nobody_is_here
}

@test "nothing that watched is left" {
  program tool <<<'i_am tool; hold'
  signal_wrapper TERM
  nobody_is_here
  program tool <<<'exit 0'
  wrap tool
  nobody_is_here
}

# --- in a report script ------------------------------------------------------------

# The script of the golden $1 for the step $2, in this folder.
report_script() {
  sed "s|@RUNDIR@|$PWD|" "$source_dir/tests/golden/scripts/$1/$2_reports.sh" >"$2_reports.sh"
}

@test "a signal to the whole script ends the command and all of the script" {
  program tarnel <<<'trap "echo TERM >signals; exit 7" TERM; i_am tool; hold'
  report_script reports_synth synth_design
  setsid ${WRAPPER_SHELL:-sh} ./synth_design_reports.sh >/dev/null 2>&1 3>&- &
  wrapper=$!
  until_it_is tool
  kill -TERM -- "-$wrapper"
  finish_wrap
  until_true nobody_is_here
  [ "$(<signals)" = TERM ]
  grep -q "'tarnel' got signal TERM and ended with status 7" synth_design_reports.log
}

@test "a killed script takes the command with it" {
  program tarnel <<<'i_am tool; hold'
  report_script reports_synth synth_design
  setsid ${WRAPPER_SHELL:-sh} ./synth_design_reports.sh >/dev/null 2>&1 3>&- &
  wrapper=$!
  until_it_is tool
  kill -KILL -- "-$wrapper"
  finish_wrap
  until_true group_is_gone "$pid"
  until_true nobody_is_here
}

@test "two steps' reports can be made at a time" {
  program tarnel <<'P'
for step; do :; done
i_am "$step"
until [ -e go ]; do sleep 0.1; done
echo "made $step"
P
  for step in opt_design route_design; do
    report_script reports_impl "$step"
    ${WRAPPER_SHELL:-sh} "./${step}_reports.sh" 3>&- &
  done
  until_it_is opt_design
  until_it_is route_design
  touch go
  wait
  [ "$(<opt_design_reports.log)" = 'made opt_design' ]
  [ "$(<route_design_reports.log)" = 'made route_design' ]
}
