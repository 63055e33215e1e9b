#!/usr/bin/env bats
# SPDX-License-Identifier: Apache-2.0
# Copyright the Xperiment authors
# What a shell offers behind "xp", in the real shells where they are.

load xp.bash

# The names that xp offers for the last of "$@".
offered() {
  "$xp" __complete "$@" | tail -n +2 | cut -f1
}

# Both runs, and a family.
new_project_with_family() {
  new_project_with_runs
  "$xp" -C proj sweep night --seeds 1-2 -q >/dev/null
}

# What bash puts into COMPREPLY for the words "$@".
in_bash() {
  PATH=$(dirname "$xp"):$PATH bash --norc -c '
    source <("$1" completion bash)
    shift
    COMP_WORDS=("$@") COMP_CWORD=$(($# - 1))
    compopt() { :; }
    _xp
    printf "%s\n" "${COMPREPLY[@]}"' - "$xp" "$@"
}

# What zsh, with a real prompt on a terminal, makes of the line $1 and a tab.
in_zsh() {
  "$python" - "$xp" "$1" <<'PY'
import os, pty, re, select, sys, time
xp, line = sys.argv[1:]
pid, fd = pty.fork()
if pid == 0:
    os.environ.update(PS1='READY> ', TERM='xterm', PATH=os.path.dirname(xp) + ':' + os.environ['PATH'])
    os.execvp('zsh', ['zsh', '-f', '-i'])
def until(mark, limit=60):
    seen = ''
    end = time.monotonic() + limit
    while mark not in seen and time.monotonic() < end:
        if select.select([fd], [], [], 0.2)[0]:
            try:
                seen += os.read(fd, 65536).decode(errors='replace')
            except OSError:
                break
    return seen
until('READY> ')
os.write(fd, b"autoload -Uz compinit; compinit -u -D; source <(xp completion zsh); setopt no_beep\n")
os.write(fd, b"PS1='GO''> '; LISTMAX=10000\n")
until('GO> ')
# The line that results is shown by a widget, not guessed from the screen.
os.write(fd, b"show() { BUFFER=\"print -r -- 'LINE''=[${BUFFER}]'\"; zle accept-line }; zle -N show; bindkey '^G' show\n")
until('GO> ')
os.write(fd, line.encode() + b'\t\x07')
seen = until(']\r\n')
match = re.findall(r'\nLINE=\[(.*?)\]\r\n', seen, re.S)
print(match[-1] if match else 'nothing: ' + repr(seen))
os.write(fd, b'\x04')
os.close(fd)
PY
}

in_fish() {
  PATH=$(dirname "$xp"):$PATH fish --no-config -c 'xp completion fish | source
    complete -C $argv[1]' "$1" | cut -f1
}

@test "verbs are completed, with what they do" {
  run -0 "$xp" __complete stat
  [ "$output" = $'names\nstatus\tshow every run: how far it is, and its results' ]
  run -0 offered ''
  [[ $output == *launch* && $output == *strategy* && $output == *help* ]]
  [[ $output != *__complete* && $output != *man-pages* ]]
}

@test "verbs behind another are completed, and behind help" {
  run -0 offered strategy co
  [ "$output" = $'copy\ncompare' ]
  run -0 offered help lau
  [ "$output" = launch ]
  run -0 offered help strategy ren
  [ "$output" = rename ]
}

@test "options are those that the verb declares" {
  run -0 offered launch --no
  [ "$output" = --no-wait ]
  run -0 offered status -
  [[ $output == *--json* && $output == *--plain* && $output == *--quiet* ]]
  run -0 offered --pl
  [ "$output" = --plain ]
}

@test "runs, families and sweeps of the project are completed, wherever it is" {
  new_project_with_family
  run -0 offered -C proj launch ''
  [ "$output" = $'synth_1\nimpl_1\nnight_Default_s1\nnight_Default_s2\nnight_Default\nnight' ]
  cd proj
  run -0 offered log imp
  [ "$output" = impl_1 ]
  run -0 offered create impl_2 --flow impl --synth ''
  [ "$output" = synth_1 ]
}

@test "flows, steps, strategies, options, devices and reports are completed" {
  new_project_with_runs
  cd proj
  run -0 offered create r --flow ''
  [ "$output" = $'synth\nimpl' ]
  run -0 offered reset impl_1 --from pl
  [ "$output" = place ]
  run -0 offered create r --strategy Perf
  [ "$output" = Performance ]
  run -0 offered create r --strategy=Perf
  [ "$output" = --strategy=Performance ]
  run -0 offered strategy show impl/Perf
  [ "$output" = impl/Performance ]
  run -0 offered sweep night --strategies Default,Perf
  [ "$output" = Default,Performance ]
  run -0 offered set impl_1 place_design.se
  [ "$output" = place_design.seed= ]
  run -0 offered new x --device up
  [[ $output == *up5k* ]]
  run -0 offered report open impl_1 report_rou
  [ "$output" = report_route_status ]
  run -0 offered best --by fm
  [ "$output" = fmax ]
}

@test "files are left to the shell" {
  run -0 "$xp" __complete new x --source ''
  [ "$output" = files ]
  run -0 "$xp" __complete -C ''
  [ "$output" = folders ]
}

@test "without a project there are no names and no message" {
  run -0 --separate-stderr "$xp" __complete launch ''
  [ "$output" = names ]
  [ -z "$stderr" ]
}

@test "a damaged project file gives no names and no message" {
  new_project
  echo '<Project' >proj/project.xml
  run -0 --separate-stderr "$xp" __complete -C proj launch ''
  [ "$output" = names ]
  [ -z "$stderr" ]
}

@test "an unknown shell is met with the known ones" {
  run -2 "$xp" completion bsah
  assert_one_error "There is no completion for the shell 'bsah'. Did you mean 'bash'?"
}

@test "bash completes verbs, runs, options and values" {
  new_project_with_family
  cd proj
  run -0 in_bash xp laun
  [ "$output" = launch ]
  run -0 in_bash xp launch night_Default_
  [ "$output" = $'night_Default_s1\nnight_Default_s2' ]
  run -0 in_bash xp create r --strategy = Perf
  [ "$output" = Performance ]
  run -0 in_bash xp report apply impl_1 Tarn
  [[ $output == *'Tarnel\ Implementation\ Default\ Reports'* ]]
  cd ..
  run -0 in_bash xp add blinky.v
  [ "$output" = blinky.v ]
}

@test "a path of xp that was typed is the one that bash asks" {
  run -0 in_bash "$xp" stat
  [ "$output" = status ]
}

@test "zsh completes verbs and runs" {
  command -v zsh >/dev/null || skip 'zsh is missing'
  new_project_with_family
  cd proj
  run -0 in_zsh 'xp laun'
  [ "$output" = 'xp launch ' ]
  run -0 in_zsh 'xp log night_Default_s2'
  [ "$output" = 'xp log night_Default_s2 ' ]
  run -0 in_zsh 'xp set impl_1 place_design.see'
  [ "$output" = 'xp set impl_1 place_design.seed=' ]
}

@test "fish completes verbs, runs and options" {
  command -v fish >/dev/null || skip 'fish is missing'
  new_project_with_family
  cd proj
  run -0 in_fish 'xp laun'
  [ "$output" = launch ]
  run -0 in_fish 'xp launch night_Default_'
  [ "$output" = $'night_Default_s1\nnight_Default_s2' ]
  run -0 in_fish 'xp status --js'
  [ "$output" = --json ]
}
