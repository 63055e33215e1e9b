# SPDX-License-Identifier: Apache-2.0
# Copyright the Xperiment authors
#
# Client programs that behave like those of a grid engine and of LSF. A job is a file in
# $grid/jobs that holds its name and, once it runs, its process; a task of an array is one, too,
# "12.3".

# Puts qsub, qstat and qdel in front of the search path. Jobs wait as long as $grid/held is
# there.
make_grid() {
  grid=$BATS_TEST_TMPDIR/grid
  mkdir -p "$grid/jobs" "$grid/bin"
  client qsub <<'END'
while [ $# -gt 1 ]; do
  case $1 in
    -N) name=$2; shift 2 ;;
    -wd) cd "$2"; shift 2 ;;
    -t) tasks=${2#1-}; shift 2 ;;
    -tc) most=$2; shift 2 ;;
    -S | -j | -o | -q | -v) shift 2 ;;
    *) shift ;;
  esac
done
[ ! -e "$grid/refuse" ] || { cat "$grid/refuse"; exit 1; }
id=$(($(cat "$grid/last") + 1))
echo "$id" >"$grid/last"
if [ -n "${tasks:-}" ]; then
  for ((task = 1; task <= tasks; ++task)); do echo "$name" >"$grid/jobs/$id.$task"; done
  [ -e "$grid/held" ] || start_array SGE_TASK_ID "$id" "$tasks" "$most" "$1"
  [ ! -e "$grid/silent" ] || kill -9 $$
  echo "Your job-array $id.1-$tasks:1 (\"$name\") has been submitted"
  exit
fi
echo "$name" >"$grid/jobs/$id"
[ -e "$grid/held" ] || start_job "$id" "$1"
[ ! -e "$grid/silent" ] || kill -9 $$
echo "Your job $id (\"$name\") has been submitted"
END
  client qstat <<'END'
[ ! -e "$grid/away" ] || { echo 'error: unable to contact qmaster'; exit 1; }
echo '<?xml version="1.0"?><job_info>'
for job in "$grid"/jobs/*; do
  [ -e "$job" ] || continue
  { read -r name; read -r pid; } <"$job"
  state=${pid:+r}
  id=${job##*/}
  echo "<job_list><JB_job_number>${id%.*}</JB_job_number><JB_name>$name</JB_name>"
  echo "<state>${state:-qw}</state><queue_name>${pid:+all.q@$(hostname)}</queue_name>"
  [ "$id" = "${id%.*}" ] || echo "<tasks>${id#*.}</tasks>"
  echo '</job_list>'
  pid=
done
echo '</job_info>'
END
  client qdel <<'END'
job=$grid/jobs/$1
[ "${2:-}" != -t ] || job=$job.$3
{ read -r name; read -r pid; } <"$job"
rm "$job"
[ -z "$pid" ] || kill -9 -- -"$pid"
echo "registered the job $1 for deletion"
END
  echo 11 >"$grid/last"
  PATH=$grid/bin:$PATH
}

# A client program $1 with the commands on standard input.
client() {
  {
    printf '#!/bin/bash\ngrid=%q\n' "$grid"
    # Leads its group; the job goes when it ends.
    cat <<'END'
start_job() {
  setsid bash -c 'echo "$BASHPID" >>"$0"; exec 7>&- 8>&- 9>&-; sh "$1"; rm -f "$0"' \
    "$grid/jobs/$1" "$2" </dev/null >/dev/null 2>&1 3>&- &
  while [ "$(wc -l <"$grid/jobs/$1")" = 1 ]; do :; done 2>/dev/null
}
# Starts the tasks of an array, $3 in number, $4 at once: variable, job, tasks, at once, script.
start_array() {
  setsid bash -c 'exec 7>&- 8>&- 9>&-
    export job=$0 variable=$1 script=$4
    seq "$2" | xargs -P "$3" -n 1 setsid -w bash -c "[ -e \"\$job.\$0\" ] || exit 0
      echo \"\$BASHPID\" >>\"\$job.\$0\"; export \"\$variable=\$0\"; sh \"\$script\"; rm -f \"\$job.\$0\""' \
    "$grid/jobs/$2" "$1" "$3" "$4" "$5" </dev/null >/dev/null 2>&1 3>&- &
}
END
    cat
  } >"$grid/bin/$1"
  chmod +x "$grid/bin/$1"
}

# bsub and bkill; a job is called by its command.
make_lsf() {
  make_grid
  client bsub <<'END'
[ ! -e "$grid/refuse" ] || { cat "$grid/refuse" >&2; exit 255; }
for word; do :; done
if [[ " $* " =~ ' -J '(xp_[^ ]*)'[1-'([0-9]+)']%'([0-9]+)' ' ]]; then
  for ((task = 1; task <= BASH_REMATCH[2]; ++task)); do
    echo "${BASH_REMATCH[1]}" >"$grid/jobs/12.$task"
  done
  [ -e "$grid/held" ] ||
    start_array LSB_JOBINDEX 12 "${BASH_REMATCH[2]}" "${BASH_REMATCH[3]}" "$word"
  echo 'Job <12> is submitted to queue <medium>.'
  exit
fi
echo "$word" >"$grid/jobs/12"
[ -e "$grid/held" ] || start_job 12 "$word"
echo 'Job <12> is submitted to queue <medium>.'
END
  client bkill <<'END'
if [[ $# = 1 && $1 =~ ^12'['([0-9]+)']'$ ]]; then
  job=$grid/jobs/12.${BASH_REMATCH[1]}
  { read -r name; read -r pid; } 2>/dev/null <"$job" || [ -e "$job" ] ||
    { echo "Job <$1> is not found" >&2; exit 255; }
  rm "$job"
  [ -z "$pid" ] || kill -9 -- -"$pid"
  echo "Job <$1> is being terminated"
  exit
fi
{ read -r name; read -r pid; } 2>/dev/null <"$grid/jobs/12"
[ "$1 $name" = "-J $2" ] || { echo "Job <$2> is not found" >&2; exit 255; }
rm "$grid/jobs/12"
[ -z "$pid" ] || kill -9 -- -"$pid"
echo 'Job <12> is being terminated'
END
}

# make_lsf with a bjobs, which knows the tasks of arrays.
make_lsf_with_bjobs() {
  make_lsf
  client bjobs <<'END'
for word; do :; done
for job in "$grid"/jobs/12*; do
  [ -e "$job" ] || continue
  { read -r name; read -r pid; } <"$job"
  task=${job##*/12}
  [ -z "$task" ] || name="$name[${task#.}]"
  [ "$name" = "$word" ] || [ "${name%[*}" = "$word" ] || { pid=; continue; }
  state=${pid:+RUN}
  echo "12 $USER ${state:-PEND} medium here there $name Nov 21 17:00"
  found=yes
  pid=
done
[ -n "${found:-}" ] || { echo "Job <$word> is not found" >&2; exit 255; }
END
}

jobs_are() {
  [ "$(cd "$grid/jobs" && echo *)" = "$1" ]
}
