#!/bin/sh
# SPDX-License-Identifier: Apache-2.0
# Copyright the Xperiment authors
#
# Runs the command that makes the reports of a finished step.
#
#   ZUMWrapReports.sh <log> <command> [<argument>...]
#
# Works in the directory that this script lies in, and adds to <log> what the command
# writes. The command reads nothing and runs in a process group of its own, of which
# nothing is left when this ends. TERM, INT, HUP and QUIT are passed on; a command that
# outlives them by five seconds is killed. A killed wrapper takes its command with it.
#
# The step is over: its markers are not touched, and a stop that was asked of the run
# doesn't matter here.
#
# The status is that of the command, 128 and its number for a signal, 2 for a wrong
# call, or 1 if the log can't be written. A command that a signal to this script made
# end with 0 hasn't made its reports: that gives 128 and the number of the signal.
#
# Variables begin with "z_", so that none of the command's environment is changed.

set -fu

say() {
  printf '%s: %s\n' "${0##*/}" "$1" >&2
}

# Goes to the folder of this script. Being there, it leaves PWD as it is.
enter_folder() {
  case $0 in
    */*) z_folder=${0%/*} ;;
    *) z_folder=. ;;
  esac
  [ "$z_folder" = . ] || CDPATH='' cd -- "${z_folder:-/}" || exit 1
}

# --- processes ---------------------------------------------------------------

# Becomes the command, in a group of its own.
launch() {
  if [ -x /usr/bin/setsid ]; then
    exec /usr/bin/setsid -- "$@"
  fi
  exec setsid -- "$@"
}

# Ends the group $2 once the process $1 is gone, or after $3 looks.
# shellcheck disable=SC2016 # the shell that watches expands it
z_watch='left=$3
while kill -0 "$1" && [ "$left" != 0 ]; do
  sleep 0.3 || exit
  left=$((left - 1))
done
kill -TERM -"$2"
kill -CONT -"$2"
sleep 0.3
kill -KILL -"$2"'

# Becomes one that watches over this wrapper, in a group of its own, where what kills
# the wrapper doesn't reach it. The search paths of a run may hold anything, a tool's
# own libraries for one.
watch() {
  PATH=/usr/bin:/bin:${PATH-} LD_LIBRARY_PATH=''
  export PATH LD_LIBRARY_PATH
  launch sh -c "$z_watch" sh $$ "$@"
}

# Has the group $1 ended once this wrapper is gone, or after $2 times 0.3 s.
start_watch() {
  watch "$@" </dev/null >/dev/null 2>&1 &
  z_watchers="$z_watchers $!"
}

end_watches() {
  for z_watcher in $z_watchers; do
    kill -KILL -"$z_watcher" 2>/dev/null || kill -KILL "$z_watcher" 2>/dev/null
    wait "$z_watcher" 2>/dev/null
  done
}

group_lives() {
  kill -0 -"$z_pid" 2>/dev/null
}

# Whether the command's process lives as a child of this wrapper, and so surely is
# the command's.
is_child() {
  read -r z_stat <"/proc/$z_pid/stat" || return
  # The name of the program stands in parentheses and may hold blanks.
  # shellcheck disable=SC2086
  set -- ${z_stat##*) }
  [ "$1" != Z ] && [ "$2" = $$ ]
} 2>/dev/null

# Sends the signal $1 to the command's group; as long as it has none yet, to the
# process that is about to become the command. Who is stopped wakes up to it.
send() {
  if kill -"$1" -"$z_pid" 2>/dev/null; then
    kill -CONT -"$z_pid" 2>/dev/null
  elif is_child; then
    kill -"$1" "$z_pid" 2>/dev/null
  fi
}

# Whether the command ignores the signal $1: a shell starts what runs beside it
# with INT and QUIT ignored.
ignores() {
  while read -r z_key z_value; do
    case $1:$z_key$z_value in
      INT:SigIgn:*[2367abef] | QUIT:SigIgn:*[4567cdef]) return 0 ;;
    esac
  done <"/proc/$z_pid/status"
  return 1
} 2>/dev/null

# --- signals -----------------------------------------------------------------

# Gives the signal $1 to the command, which has five seconds from the first one.
pass_on() {
  if ignores "$1"; then
    send TERM
  else
    send "$1"
  fi
  if [ -z "$z_limited" ]; then
    z_limited=1
    start_watch "$z_pid" 17
  fi
}

# Takes the signal $1, number $2. What comes before the command has started is passed
# on once it has.
# shellcheck disable=SC2317 # called by a trap
on_signal() {
  z_signal=$1
  z_number=$2
  [ -z "$z_pid" ] || pass_on "$1"
}

take_signals() {
  trap 'on_signal HUP 1' HUP
  trap 'on_signal INT 2' INT
  trap 'on_signal QUIT 3' QUIT
  trap 'on_signal TERM 15' TERM
}

# --- the command -------------------------------------------------------------

# Waits for the command and sets `z_status`. A signal to this shell ends a wait too.
# What shells print of a killed child is kept out of the log.
await() {
  while :; do
    wait "$z_pid" 2>/dev/null
    z_status=$?
    is_child || break
  done
  if [ -n "$z_signal" ]; then
    wait "$z_pid" 2>/dev/null
    z_again=$?
    [ "$z_again" = 127 ] || z_status=$z_again
  fi
}

# Ends what the command left behind: TERM, and KILL after 0.3 s.
end_group() {
  group_lives || return 0
  send TERM
  for _ in 1 2 3; do
    group_lives || return 0
    PATH=/usr/bin:/bin:${PATH-} LD_LIBRARY_PATH='' sleep 0.1 || break
  done
  send KILL
}

# Runs the command to its end, and what is left of its group to its own. Signals are
# passed on once `z_pid` is set, and no more when its process id may be another's soon.
run_command() {
  launch "$@" </dev/null &
  z_child=$!
  start_watch "$z_child" -1
  z_pid=$z_child
  [ -z "$z_signal" ] || pass_on "$z_signal"
  await
  trap '' HUP INT QUIT TERM
  end_group
  end_watches
}

# Says in the log why there may be no reports.
report() {
  case $z_status in
    0) return ;;
    127) z_reason='ended with status 127: the program, or one that it needs, was not found; check PATH' ;;
    *) z_reason="ended with status $z_status" ;;
  esac
  [ -z "$z_signal" ] || z_reason="got signal $z_signal and $z_reason"
  say "'$1' $z_reason"
}

main() {
  z_log=$1
  shift
  z_pid='' z_watchers='' z_limited='' z_signal='' z_number=0 z_status=0
  enter_folder
  if ! true >>"$z_log"; then
    say "'$z_log' can't be written in $PWD; check its permissions and the free space"
    exit 1
  fi
  exec >>"$z_log" 2>&1
  take_signals
  [ -n "$z_signal" ] || run_command "$@"
  if [ -n "$z_signal" ] && [ "$z_status" = 0 ]; then
    z_status=$((128 + z_number))
  fi
  report "$1"
  exit "$z_status"
}

if [ $# -lt 2 ] || [ -z "${2##*/}" ]; then
  say 'usage: ZUMWrapReports.sh <log> <command> [<argument>...]'
  exit 2
fi
main "$@"
