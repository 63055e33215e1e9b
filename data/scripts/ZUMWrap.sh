#!/bin/sh
# SPDX-License-Identifier: Apache-2.0
# Copyright the Xperiment authors
#
# Runs one step of a run and keeps the markers from which its status is read.
#
#   ZUMWrap.sh <log> <command> [<argument>...]
#
# Works in the directory that this script lies in. The step is named after the
# base name NAME of its command:
#
#   .NAME.begin.rst   the step has started; holds the handle of its process as XML
#   .NAME.end.rst     the command ended with 0 and what it wrote is on disk
#   .NAME.error.rst   anything else; holds the reason
#
# Each appears whole, by a rename. The final one is set aside when the step
# starts, so that a disk that fills up meanwhile can't keep it from appearing.
#
# The command runs in a process group of its own. It reads nothing, writes to
# what this script was given (to <log> if that is closed) and keeps every other
# open file, such as the lock of its run. While ".stop.rst" stands no step starts,
# and one that runs is ended within a second. TERM, INT, HUP and QUIT are passed on
# and make the step fail; a command that outlives them by five seconds is killed.
# USR1 and USR2 are only passed on. A killed wrapper takes its command with it, and
# a failed command whatever is left of its group.
#
# XPERIMENT_SKIP_STEPS: names of steps, with blanks between them, to be passed
# over: nothing is run, no marker is touched and the status is 0.
#
# XPERIMENT_LAUNCH: the identity of the launch that the step belongs to; letters,
# digits and dashes. The begin marker holds it, and the final one has a line
# "launch: <identity>" at its end. Once the lease of the run, ".launch.xml", names
# another launch, no step of this one starts, one that runs is ended within a
# second, and no marker is touched any more. Without it none of that is looked at.
#
# Once the directory isn't there any more, or another one is in its place, the command
# is ended within a second too: nobody could see it, or stop it.
#
# The status is that of the command, 128 and its number for a signal, 2 for a
# wrong call, or 1 if the step can't start, was stopped, or isn't safely on disk.
#
# A step should cost next to nothing: what the shell can do itself it does, and
# no other program is started but the renames, the sync, the pause of the one that
# watches, and setsid, which becomes the command. Variables begin with "z_", so
# that none of the command's environment is changed.

set -fu

z_newline='
'

say() {
  printf '%s: %s\n' "${0##*/}" "$1" >&2
}

# Runs a program of the system. The search paths of a run may hold anything, a
# tool's own libraries for one.
system() {
  PATH=/usr/bin:/bin:${PATH-} LD_LIBRARY_PATH='' "$@"
}

stands() {
  [ -e "$1" ] || [ -L "$1" ]
}

# Whether the directory that this script works in is still the one of its name.
is_in_place() {
  # Beyond the standard, but dash, bash, ksh, zsh and busybox know it.
  # shellcheck disable=SC3013
  [ . -ef "$PWD" ]
}

# --- the launch --------------------------------------------------------------

# Sets `z_launch` to the identity of this launch, empty without one.
find_launch() {
  z_launch=${XPERIMENT_LAUNCH-}
  case $z_launch in
    *[!0-9A-Za-z-]*) z_launch='' ;;
  esac
}

# Sets `z_lease` to the identity of the run's last launch, empty if none is told.
read_lease() {
  z_lease=''
  while [ -z "$z_lease" ] && read -r z_line; do
    case $z_line in
      '<Launch '*' Id="'*'"'*)
        z_lease=${z_line#*' Id="'}
        z_lease=${z_lease%%'"'*}
        ;;
    esac
  done <.launch.xml
} 2>/dev/null

# Whether the run was launched anew since.
is_superseded() {
  [ -n "$z_launch" ] && [ -f .launch.xml ] || return 1
  read_lease
  [ -n "$z_lease" ] && [ "$z_lease" != "$z_launch" ]
}

# --- the process handle ------------------------------------------------------

# Sets `z_text` to $1 as XML.
escape() {
  z_text='' z_rest=$1
  while [ -n "$z_rest" ]; do
    z_plain=${z_rest%%[![:alnum:]_./-]*}
    z_rest=${z_rest#"$z_plain"}
    z_after=${z_rest#?}
    z_char=${z_rest%"$z_after"}
    z_rest=$z_after
    case $z_char in
      '&') z_char='&amp;' ;;
      '<') z_char='&lt;' ;;
      '>') z_char='&gt;' ;;
      '"') z_char='&quot;' ;;
      "$z_newline") z_char='&#10;' ;;
      ' ') ;;
      [[:blank:]]) z_char='&#9;' ;;
      [[:cntrl:]]) z_char='?' ;;
    esac
    z_text=$z_text$z_plain$z_char
  done
}

# Sets `z_owner` and `z_uid` of this process. Who became root by su keeps the old
# LOGNAME.
find_owner() {
  z_uid=''
  while read -r z_key z_value z_rest && [ -z "$z_uid" ]; do
    [ "$z_key" != Uid: ] || z_uid=$z_value
  done </proc/self/status
  z_owner=${LOGNAME:-${USER-}}
  [ "$z_uid" != 0 ] || z_owner=root
  [ -z "$z_owner" ] || return 0
  while IFS=: read -r z_key z_value z_id z_rest && [ -z "$z_owner" ]; do
    [ "$z_id" != "$z_uid" ] || z_owner=$z_key
  done </etc/passwd
  z_owner=${z_owner:-$z_uid}
}

# Sets `z_namespace` to the inode number of the pid namespace, if the kernel tells
# it.
find_namespace() {
  while read -r z_key z_value; do
    [ "$z_key" != ino: ] || z_namespace=$z_value
  done </proc/self/fdinfo/3
} 2>/dev/null 3</proc/self/ns/pid

# Writes the handle of the process that calls this, for the command $1. Who is
# /proc/self here becomes the command: no process must come between.
describe() {
  read -r z_stat </proc/self/stat || return
  read -r z_host </proc/sys/kernel/hostname || return
  read -r z_boot </proc/sys/kernel/random/boot_id || return
  z_namespace=''
  find_namespace
  find_owner
  escape "$1"
  z_command=$z_text
  escape "$z_owner"
  z_owner=$z_text
  escape "$z_host"
  z_host=$z_text
  z_self=${z_stat%% *}
  # The name of the program stands in parentheses and may hold blanks; the start
  # time is the 20th field behind it.
  # shellcheck disable=SC2086
  set -- ${z_stat##*) }
  printf '%s\n' '<?xml version="1.0" encoding="UTF-8"?>' \
    "<ProcessHandle Version=\"1\" Minor=\"1\"${z_launch:+ Launch=\"$z_launch\"}>" \
    "  <Process Host=\"$z_host\" Owner=\"$z_owner\" Uid=\"$z_uid\" Pid=\"$z_self\" Pgid=\"$z_self\" StartTicks=\"${20}\" BootId=\"$z_boot\"${z_namespace:+ PidNamespace=\"$z_namespace\"}/>" \
    "  <Command>$z_command</Command>" \
    '</ProcessHandle>'
}

# --- the markers -------------------------------------------------------------

# Puts a file aside that becomes the final marker. What an earlier try left is
# taken for it, so that no earlier result outlasts this point.
reserve_final() {
  for z_marker in "$z_begin" "$z_end" "$z_error"; do
    if [ -d "$z_marker" ]; then
      say "step '$z_name' can't start: '$z_marker' in $PWD is a directory; remove it"
      return 1
    fi
  done
  for z_marker in "$z_end" "$z_error" "${z_end%rst}stp" "${z_error%rst}stp"; do
    if stands "$z_marker"; then
      system mv -f "$z_marker" "$z_final" || return
    fi
  done
  remove_link "$z_final"
  if ! true >"$z_final"; then
    say "step '$z_name' can't start: no marker can be written in $PWD; check its permissions and the free space"
    return 1
  fi
}

# A link must not lead a marker somewhere else.
remove_link() {
  if [ -L "$1" ]; then
    system rm -f "$1"
  fi
}

# Makes the final marker, $1, with the reason $2 and the identity of the launch. Its
# time is that of the end, which the truncation sets, also on a full disk.
conclude() {
  trap '' HUP INT QUIT TERM
  trap - EXIT
  if is_superseded; then
    say "step '$z_name': its markers in $PWD are left alone, since the run was launched anew"
    return 1
  fi
  remove_link "$z_final"
  true >"$z_final"
  if [ -n "$2$z_launch" ]; then
    printf '%s' "${2:+$2$z_newline}${z_launch:+launch: $z_launch$z_newline}" 2>/dev/null >"$z_final"
  fi
  system mv -f "$z_final" "$1" && return
  say "step '$z_name': '$1' can't be written in $PWD; its status is unknown"
  return 1
}

# --- the command -------------------------------------------------------------

# Becomes the command, once the begin marker stands. On a full disk the marker
# stands empty, so that the step shows as failed.
launch() {
  remove_link "$z_begin_new"
  if ! describe "$1" >"$z_begin_new"; then
    say "step '$z_name' can't start: its process can't be recorded in $PWD; check the free space"
    true >"$z_begin_new"
    system mv -f "$z_begin_new" "$z_begin"
    exit 1
  fi
  system mv -f "$z_begin_new" "$z_begin" && kill -0 $$ || exit 1
  if [ -x /usr/bin/setsid ]; then
    exec /usr/bin/setsid -- "$@"
  fi
  exec setsid -- "$@"
}

group_lives() {
  kill -0 -"$z_pid" 2>/dev/null
}

# Whether the command's process lives as a child of this wrapper, and so surely is
# the command's.
is_child() {
  read -r z_stat <"/proc/$z_pid/stat" || return
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

# TERM, and KILL for what is left after 0.3 s.
end_group() {
  send TERM
  for _ in 1 2 3; do
    group_lives || is_child || return 0
    system sleep 0.1 2>/dev/null || break
  done
  send KILL
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

pass_on() {
  if ignores "$1"; then
    send TERM
  else
    send "$1"
  fi
}

# Takes the signal $1, number $2: the command has to go. What comes before it has
# started is passed on once it has. Another may come in the midst of this one: only
# the first changes who watches.
# shellcheck disable=SC2317 # called by a trap
on_signal() {
  z_signal=$1
  z_number=$2
  z_limit=17
  if [ -n "$z_running" ]; then
    pass_on "$1"
    if [ -z "$z_busy" ]; then
      end_watch
      start_watch
    fi
  fi
}

# shellcheck disable=SC2317 # called by a trap
on_message() {
  [ -z "$z_running" ] || send "$1"
}

# --- the one that watches ----------------------------------------------------

# Sets `z_why` if the command has to go.
look() {
  z_why=''
  # Opening the folder makes a network file system look at it anew.
  { true <"$PWD"; } 2>/dev/null
  if stands .stop.rst; then
    z_why='a stop was requested'
  elif is_superseded; then
    z_why='its run was launched anew'
  elif [ "$z_limit" = 0 ]; then
    z_why='it outlived the signal'
  elif ! is_in_place; then
    z_why='its run directory is gone'
  elif ! kill -0 $$ 2>/dev/null; then
    z_why='its wrapper was killed'
  fi
}

# Leaves no pause behind, which would hold the run's lock and its output open.
pause_over() {
  z_over=1
  if [ -n "$z_pause" ]; then
    kill -KILL "$z_pause" 2>/dev/null
    wait "$z_pause" 2>/dev/null
    exit 0
  fi
}

# Waits for 0.3 s, or for a second where sleep knows no less. No function starts
# the sleep: that would put a shell between, and leave the sleep behind.
pause() {
  z_pause=''
  PATH=/usr/bin:/bin:${PATH-} LD_LIBRARY_PATH='' sleep "$z_seconds" &
  z_pause=$!
  [ -z "$z_over" ] || pause_over
  wait "$z_pause"
  case $? in
    0 | 129 | 1[3-9]?) return 0 ;;
  esac
  if [ "$z_seconds" = 1 ]; then
    say "step '$z_name': a stop can't be watched for without 'sleep'; check PATH"
    exit 4
  fi
  z_seconds=1
}

# Ends the command when it has to go, and itself with status 3. After `z_limit`
# looks it has to in any case.
watch() {
  z_over='' z_pause='' z_seconds=0.3
  trap pause_over ALRM
  trap '' HUP INT QUIT TERM USR1 USR2
  look
  while [ -z "$z_why" ]; do
    pause
    z_limit=$((z_limit - 1))
    look
  done
  trap '' ALRM
  say "step '$z_name' is ended: $z_why"
  end_group
  [ "$z_why" != 'its wrapper was killed' ] || conclude "$z_error" "$z_why"
  exit 3
}

# A signal that came while it started has set a limit that the watching one
# doesn't know.
start_watch() {
  z_busy=1
  z_started=$z_limit
  watch &
  z_watcher=$!
  if [ "$z_started" != "$z_limit" ]; then
    end_watch
    watch &
    z_watcher=$!
  fi
  z_busy=''
}

# Sets `z_stopped` if the watching one has ended the command. It is told to end by
# a signal that this shell doesn't trap: one that it does is lost on a process that
# has only just been forked.
end_watch() {
  z_busy=1
  kill -ALRM "$z_watcher" 2>/dev/null
  await "$z_watcher"
  [ "$z_result" != 3 ] || z_stopped=1
}

# --- the step ----------------------------------------------------------------

# Waits for the child $1 and sets `z_result` to its status. A signal to this shell
# ends a wait too. What shells print of a killed child is kept out of the log.
await() {
  wait "$1" 2>/dev/null
  z_result=$?
  while [ "$z_result" -gt 128 ] && kill -0 "$1" 2>/dev/null; do
    wait "$1" 2>/dev/null
    z_result=$?
  done
  if [ "$z_result" -gt 128 ]; then
    wait "$1" 2>/dev/null
    z_again=$?
    [ "$z_again" = 127 ] || z_result=$z_again
  fi
}

# Brings what the command wrote to disk. A sync that knows no file systems takes
# them all. Asked twice, one that does no longer tells of what was lost.
sync_outputs() {
  system sync -f . && return
  case $(system sync -f . 2>&1) in
    *option* | *[Uu]sage*) system sync ;;
    *) return 1 ;;
  esac
}

# Sets `z_reason` if the step has failed, and then `z_status` to other than 0.
judge() {
  z_reason=''
  if is_superseded; then
    z_reason='its run was launched anew'
    [ "$z_status" != 0 ] || z_status=1
  elif [ -n "$z_signal" ]; then
    z_reason="its wrapper got signal $z_signal"
    z_status=$((128 + z_number))
  elif [ -n "$z_stopped" ]; then
    z_reason='a stop was requested'
    is_in_place || z_reason='its run directory is gone'
    [ "$z_status" != 0 ] || z_status=1
  elif [ "$z_status" -gt 128 ]; then
    z_reason="killed by signal $((z_status - 128))"
  elif [ "$z_status" = 127 ]; then
    z_reason='ended with status 127: the program, or one that it needs, was not found; check PATH'
  elif [ "$z_status" != 0 ]; then
    z_reason="ended with status $z_status"
  fi
}

# Runs the command to its end, and what is left of a failed one to its own.
run_command() {
  launch "$@" </dev/null &
  z_pid=$!
  z_running=1
  [ -z "$z_signal" ] || pass_on "$z_signal"
  start_watch
  await "$z_pid"
  z_running=''
  z_status=$z_result
  end_watch
  judge
  if [ -n "$z_reason" ] && [ -z "$z_stopped" ] && group_lives; then
    end_group
  fi
}

run_step() {
  z_status=0
  [ -n "$z_signal" ] || run_command "$@"
  judge
  if [ -n "$z_reason" ]; then
    return
  fi
  if ! sync_outputs && [ -z "$z_signal" ]; then
    z_reason='what it wrote could not be brought to disk'
    z_status=1
    return
  fi
  judge
}

# Passes over a disabled step and refuses one that must not start.
check_start() {
  case " ${XPERIMENT_SKIP_STEPS-} " in
    *" $z_name "*)
      say "step '$z_name' is disabled and passed over"
      exit 0
      ;;
  esac
  if is_superseded; then
    say "step '$z_name' isn't started: its run was launched anew"
    exit 1
  fi
  if stands .stop.rst; then
    say "step '$z_name' isn't started: a stop was requested; remove '.stop.rst' from $PWD to let it run"
    exit 1
  fi
}

# Goes to the folder of this script. Being there, it leaves PWD as it is.
enter_folder() {
  case $0 in
    */*) z_folder=${0%/*} ;;
    *) z_folder=. ;;
  esac
  [ "$z_folder" = . ] || CDPATH='' cd -- "${z_folder:-/}" || exit 1
}

take_signals() {
  trap 'on_signal HUP 1' HUP
  trap 'on_signal INT 2' INT
  trap 'on_signal QUIT 3' QUIT
  trap 'on_signal TERM 15' TERM
  trap 'on_message USR1' USR1
  trap 'on_message USR2' USR2
  trap : PIPE
}

main() {
  z_log=$1
  shift
  z_name=${1##*/}
  z_begin=.$z_name.begin.rst z_begin_new=.$z_name.begin.new
  z_end=.$z_name.end.rst z_error=.$z_name.error.rst z_final=.$z_name.final.new
  z_running='' z_busy=1 z_stopped='' z_signal='' z_number=0 z_limit=-1

  enter_folder
  [ -e /proc/self/fd/1 ] || exec >>"$z_log"
  [ -e /proc/self/fd/2 ] || exec 2>>"$z_log"
  find_launch
  check_start
  take_signals
  reserve_final || exit 1
  trap 'conclude "$z_error" "its wrapper failed"' EXIT
  run_step "$@"
  if [ -z "$z_reason" ]; then
    conclude "$z_end" '' || exit 1
    exit 0
  fi
  say "step '$z_name' failed: $z_reason"
  conclude "$z_error" "$z_reason"
  exit "$z_status"
}

if [ $# -lt 2 ] || [ -z "${2##*/}" ]; then
  say 'usage: ZUMWrap.sh <log> <command> [<argument>...]'
  exit 2
fi
main "$@"
