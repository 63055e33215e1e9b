#!/usr/bin/env bats
# SPDX-License-Identifier: Apache-2.0
# Copyright the Xperiment authors

load stepWrapper

# --- markers -----------------------------------------------------------------

@test "the begin marker stands while the command runs, and no final one" {
  program tool <<<'echo .tool.*.rst >seen'
  wrap tool
  [ "$(<seen)" = .tool.begin.rst ]
}

@test "a command that ends with 0 leaves begin and end markers and nothing else" {
  program tool <<<'exit 0'
  wrap tool
  [ "$(markers)" = '.tool.begin.rst .tool.end.rst ' ]
}

@test "a failed command leaves begin and error markers and gives its status" {
  program tool <<<'exit 3'
  run -3 wrap tool
  [ "$(markers)" = '.tool.begin.rst .tool.error.rst ' ]
}

@test "the error marker and the log tell the reason" {
  program tool <<<'exit 3'
  run -3 wrap tool
  [ "$(<.tool.error.rst)" = 'ended with status 3' ]
  diff - runme.log <<<"ZUMWrap.sh: step 'tool' failed: ended with status 3"
}

@test "a command that can't be found fails the step with status 127" {
  run -127 wrap no_such_tool
  [ "$(markers)" = '.no_such_tool.begin.rst .no_such_tool.error.rst ' ]
  grep -q 'no_such_tool.*No such file' runme.log
  grep -q 'check PATH' .no_such_tool.error.rst
}

@test "a file that isn't executable fails the step with status 126" {
  echo text >plain
  run -126 wrap ./plain
  [ "$(markers)" = '.plain.begin.rst .plain.error.rst ' ]
}

@test "a command killed by a signal fails the step with 128 and its number" {
  program tool <<<'kill -9 $$'
  run -137 wrap tool
  [ "$(markers)" = '.tool.begin.rst .tool.error.rst ' ]
  [ "$(<.tool.error.rst)" = 'killed by signal 9' ]
}

@test "final markers of an earlier try are gone before the command starts" {
  program tool <<<'echo .tool.*.rst .tool.*.stp >seen'
  touch .tool.end.rst .tool.error.rst .tool.end.stp .tool.error.stp
  wrap tool
  [ "$(<seen)" = '.tool.begin.rst .tool.*.stp' ]
  [ "$(markers)" = '.tool.begin.rst .tool.end.rst ' ]
}

@test "a failed step that is tried again ends well, and the other way round" {
  program tool <<<'[ -e good ]'
  run -1 wrap tool
  touch good
  wrap tool
  [ "$(markers)" = '.tool.begin.rst .tool.end.rst ' ]
  rm good
  run -1 wrap tool
  [ "$(markers)" = '.tool.begin.rst .tool.error.rst ' ]
}

@test "what a killed wrapper set aside doesn't disturb the next try" {
  program tool <<<'exit 0'
  echo torn >.tool.begin.new
  echo torn >.tool.final.new
  wrap tool
  [ "$(markers)" = '.tool.begin.rst .tool.end.rst ' ]
  xmllint --noout --schema "$handle_schema" .tool.begin.rst
  [ ! -s .tool.end.rst ]
}

@test "markers of another step stay" {
  program tool <<<'exit 0'
  touch .other.end.rst .toolbox.error.rst .tool.queue.rst
  wrap tool
  [ "$(markers)" = '.other.end.rst .tool.begin.rst .tool.end.rst .tool.queue.rst .toolbox.error.rst ' ]
}

@test "the step is named after the base name of its command" {
  program tool <<<'exit 0'
  wrap "$bin_dir/tool"
  [ "$(markers)" = '.tool.begin.rst .tool.end.rst ' ]
}

@test "process-level markers are kept for the command tarnel" {
  program tarnel <<<'exit 4'
  touch .tarnel.end.rst
  run -4 wrap tarnel
  [ "$(markers)" = '.tarnel.begin.rst .tarnel.error.rst ' ]
}

@test "process-level markers are left alone for any other command" {
  program tool <<<'exit 4'
  touch .tarnel.end.rst
  run -4 wrap tool
  [ "$(markers)" = '.tarnel.end.rst .tool.begin.rst .tool.error.rst ' ]
}

@test "the time of the final marker is that of the end" {
  program tool <<<'until [ probe -nt .tool.final.new ]; do : >probe; done'
  wrap tool
  [ ! probe -nt .tool.end.rst ]
}

@test "no marker is written through a link" {
  program tool <<<'exit 0'
  echo precious >"$BATS_TEST_TMPDIR/precious"
  for marker in begin.new begin.rst final.new end.rst error.rst; do
    ln -s "$BATS_TEST_TMPDIR/precious" ".tool.$marker"
  done
  wrap tool
  [ "$(<"$BATS_TEST_TMPDIR/precious")" = precious ]
  [ ! -L .tool.begin.rst ]
  [ ! -L .tool.end.rst ]
  [ "$(markers)" = '.tool.begin.rst .tool.end.rst ' ]
}

@test "a directory in a marker's place is told of, and nothing is run" {
  program tool <<<'touch ran'
  mkdir .tool.end.rst
  run -1 wrap tool
  grep -q "'.tool.end.rst' in .* is a directory" runme.log
  [ ! -e ran ]
}

# --- the process handle --------------------------------------------------------

@test "the begin marker holds a handle after the schema" {
  program tool <<<'exit 0'
  wrap tool
  xmllint --noout --schema "$handle_schema" .tool.begin.rst
}

@test "the handle describes the command's own process" {
  program tool <<<'cat /proc/$$/stat >stat; stat -Lc %i /proc/$$/ns/pid >namespace'
  wrap tool
  read -r pid _ _ _ group _ _ _ _ _ _ _ _ _ _ _ _ _ _ _ _ ticks _ <stat
  [ "$(handle tool //Process/@Pid)" = "$pid" ]
  [ "$(handle tool //Process/@Pgid)" = "$group" ]
  [ "$group" = "$pid" ]
  [ "$(handle tool //Process/@StartTicks)" = "$ticks" ]
  [ "$(handle tool //Process/@BootId)" = "$(</proc/sys/kernel/random/boot_id)" ]
  [ "$(handle tool //Process/@Host)" = "$(uname -n)" ]
  [ "$(handle tool //Process/@Uid)" = "$(id -u)" ]
  [ "$(handle tool //Command)" = tool ]
  if grep -q ^ino: /proc/self/fdinfo/0; then
    [ "$(handle tool //Process/@PidNamespace)" = "$(<namespace)" ]
  fi
}

@test "the handle names the user" {
  program tool <<<'exit 0'
  wrap tool
  [ "$(handle tool //Process/@Owner)" = "$(id -un)" ]
}

@test "without a login name in the environment the user is looked up" {
  program tool <<<'exit 0'
  (
    unset LOGNAME USER
    wrap tool
  )
  [ "$(handle tool //Process/@Owner)" = "$(id -un)" ]
}

@test "a command of odd characters is kept in the handle" {
  name=$'a <b>&"c"\t\'d\'\n\xc3\xbc]]>'
  program "$name" <<<'exit 0'
  wrap "$name"
  xmllint --noout --schema "$handle_schema" ".$name.begin.rst"
  text=$(handle "$name" //Command; echo .)
  [ "$text" = "$name"$'\n.' ]
}

@test "a character that XML can't hold becomes a question mark" {
  name=$'bell\a'
  program "$name" <<<'exit 0'
  wrap "$name"
  [ "$(handle "$name" //Command)" = 'bell?' ]
}

# --- the command ---------------------------------------------------------------

@test "the command runs in a process group of its own" {
  program tool <<<'read -r _ _ _ _ group _ </proc/$$/stat; [ "$group" = $$ ]'
  wrap tool
}

@test "the command reads nothing" {
  program tool <<<'readlink /proc/$$/fd/0 >in'
  echo text | wrap tool
  [ "$(<in)" = /dev/null ]
}

@test "output and errors reach the log in their order" {
  program tool <<<'echo one; echo two >&2; echo three'
  wrap tool
  [ "$(<runme.log)" = $'one\ntwo\nthree' ]
}

@test "with its output closed the command writes to the log" {
  program tool <<<'echo one; echo two >&2'
  ${WRAPPER_SHELL:-sh} ./ZUMWrap.sh runme.log tool 3>&- >&- 2>&-
  [ "$(<runme.log)" = $'one\ntwo' ]
}

@test "arguments arrive as they are" {
  program tool <<<'for word; do printf "[%s]" "$word"; done >words'
  wrap tool 'a b' "it's" '"q"' '' '*' '\n' '$HOME' $'two\nlines' -x -- 'é'
  [ "$(<words)" = $'[a b][it\'s]["q"][][*][\\n][$HOME][two\nlines][-x][--][é]' ]
}

@test "a command that begins with a dash is no option" {
  program -x <<<'exit 5'
  run -5 wrap -x
  [ "$(markers)" = '.-x.begin.rst .-x.error.rst ' ]
}

@test "the environment of the command is that of the run script" {
  program tool <<<'env | grep -v -e ^_= -e ^SHLVL= | sort >with'
  unset -f bats_readlinkf
  export name=n log=l end=e error=r status=s host=h text=t pid=p IFS_KEPT=' x '
  wrap tool
  env | grep -v -e ^_= -e ^SHLVL= | sort >without
  diff without with
}

@test "every open file is inherited" {
  program tool <<<'readlink /proc/$$/fd/3 /proc/$$/fd/7 >open'
  touch three lock
  ${WRAPPER_SHELL:-sh} ./ZUMWrap.sh runme.log tool >>runme.log 2>&1 3<three 7>lock
  [ "$(<open)" = "$run_dir/three"$'\n'"$run_dir/lock" ]
}

@test "a lock held by the run is held while the command lives" {
  program tool <<<'i_am tool; hold'
  exec 8>lock
  flock -n 8
  start_wrap tool
  exec 8>&-
  until_it_is tool
  run -1 flock -n lock true
  kill -TERM "$wrapper"
  finish_wrap
  flock -n lock true
}

@test "the wrapper works in the directory that it lies in" {
  program tool <<<'pwd >where'
  cd /
  ${WRAPPER_SHELL:-sh} "$run_dir/ZUMWrap.sh" runme.log tool >/dev/null 2>&1 3>&-
  [ "$(<"$run_dir/where")" = "$run_dir" ]
  [ -e "$run_dir/.tool.end.rst" ]
}

@test "blanks, quotes and line ends in paths do no harm" {
  odd="$BATS_TEST_TMPDIR/"$'a b\'c"d$e\n*f'
  mkdir "$odd"
  cp ZUMWrap.sh "$odd"
  cd "$odd"
  program $'my tool\n"x"' <<<'pwd >where; exit 6'
  run -6 wrap $'my tool\n"x"'
  [ "$(<where)" = "$odd" ]
  [ "$(markers)" = $'.my tool\n"x".begin.rst .my tool\n"x".error.rst ' ]
  cd /
  run -6 ${WRAPPER_SHELL:-sh} "$odd/ZUMWrap.sh" runme.log $'my tool\n"x"'
}

@test "search paths of the run don't reach the wrapper's own programs" {
  for name in mv sync sleep rm setsid; do
    program "$name" <<<'touch wrong; exit 1'
  done
  mkdir own
  /bin/mv "$bin_dir"/* own
  program tool <<<'exit 0'
  PATH=$run_dir/own:$PATH LD_LIBRARY_PATH=:$run_dir/own wrap tool
  [ ! -e wrong ]
  [ -e .tool.end.rst ]
}

@test "a wrong call says how and ends with 2" {
  run -2 ${WRAPPER_SHELL:-sh} ./ZUMWrap.sh
  [ "$output" = 'ZUMWrap.sh: usage: ZUMWrap.sh <log> <command> [<argument>...]' ]
  run -2 ${WRAPPER_SHELL:-sh} ./ZUMWrap.sh runme.log
  run -2 ${WRAPPER_SHELL:-sh} ./ZUMWrap.sh runme.log ''
  run -2 ${WRAPPER_SHELL:-sh} ./ZUMWrap.sh runme.log dir/
  [ "$(markers)" = '' ]
}

# --- disabled steps --------------------------------------------------------------

@test "a disabled step is passed over without a marker" {
  program tool <<<'touch ran'
  touch .tool.error.rst
  XPERIMENT_SKIP_STEPS='first tool last' wrap tool
  [ ! -e ran ]
  [ "$(markers)" = '.tool.error.rst ' ]
}

@test "a step whose name is part of a disabled one runs" {
  program tool <<<'touch ran'
  XPERIMENT_SKIP_STEPS='tools mytool too' wrap tool
  [ -e ran ]
}

# --- several steps ----------------------------------------------------------------

@test "two steps of a run at the same time keep apart" {
  program good <<<'i_am good; until [ -e "$out/bad.pid" ]; do :; done'
  program bad <<<'i_am bad; until [ -e "$out/good.pid" ]; do :; done; exit 7'
  start_wrap good
  run -7 wrap bad
  finish_wrap
  [ "$status" = 0 ]
  [ "$(markers)" = '.bad.begin.rst .bad.error.rst .good.begin.rst .good.end.rst ' ]
}

@test "steps that follow at once leave nothing running behind" {
  program tool <<<'exit 0'
  program next <<<'exit 0'
  for _ in 1 2 3 4 5 6 7 8 9 10; do
    exec 8>lock
    flock -n 8
    wrap tool
    wrap next
    exec 8>&-
    flock -n lock true
    rm -f .tool.* .next.*
  done
}

@test "a step costs its renames, its sync, a pause and setsid, and no other program" {
  strace -V >/dev/null 2>&1 || skip 'SKIPPED: strace is missing'
  program tool <<<'exit 0'
  shell=${WRAPPER_SHELL:-sh}
  [[ $shell != busybox* ]] || skip 'its programs are part of this shell'
  # shellcheck disable=SC2086
  strace -qq -f -e trace=execve -e signal=none -o trace $shell ./ZUMWrap.sh runme.log tool >>runme.log 2>&1 3>&- ||
    skip 'SKIPPED: no right to trace'
  grep -v 'execve.* = -1' trace | sed -n 's/.*execve("\([^"]*\)".*/\1/p' | sed 's,.*/,,' | sort >programs
  # How often the watcher pauses is a matter of how long the step takes.
  printf '%s\n' mv mv setsid "${shell%% *}" sync tool | sort >expected
  diff expected <(grep -v '^sleep$' programs)
}

@test "what the command wrote is synced before the end marker stands" {
  strace -V >/dev/null 2>&1 || skip 'SKIPPED: strace is missing'
  program tool <<<'echo result >result'
  strace -qq -f -e trace=syncfs,rename,renameat,renameat2 -e signal=none -o trace sh ./ZUMWrap.sh runme.log tool >>runme.log 2>&1 3>&- ||
    skip 'SKIPPED: no right to trace'
  synced=$(grep -n 'syncfs(.*= 0' trace | cut -d: -f1)
  ended=$(grep -n '\.tool\.end\.rst' trace | cut -d: -f1)
  [ "$synced" -lt "$ended" ]
}

@test "what can't be brought to disk fails the step" {
  strace -V >/dev/null 2>&1 || skip 'SKIPPED: strace is missing'
  program tool <<<'exit 0'
  run strace -qq -f -o trace -e trace=syncfs -e inject=syncfs:error=EIO sh ./ZUMWrap.sh runme.log tool
  grep -q INJECTED trace || skip 'SKIPPED: no right to trace'
  [ "$status" = 1 ]
  [ "$(markers)" = '.tool.begin.rst .tool.error.rst ' ]
  [ "$(<.tool.error.rst)" = 'what it wrote could not be brought to disk' ]
}

# --- form -------------------------------------------------------------------------

@test "shellcheck has nothing to say" {
  shellcheck --version >/dev/null 2>&1 || skip 'SKIPPED: shellcheck is missing'
  shellcheck -s sh "$wrapper_source"
}
