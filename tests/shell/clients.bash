# SPDX-License-Identifier: Apache-2.0
# Copyright the Xperiment authors
#
# Client programs that behave like those of a grid engine and of LSF. A job is a file in
# $grid/jobs that holds its name and, once it runs, its process.

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
    -S | -j | -o | -q | -v) shift 2 ;;
    *) shift ;;
  esac
done
[ ! -e "$grid/refuse" ] || { cat "$grid/refuse"; exit 1; }
id=$(($(cat "$grid/last") + 1))
echo "$id" >"$grid/last"
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
  echo "<job_list><JB_job_number>${job##*/}</JB_job_number><JB_name>$name</JB_name>"
  echo "<state>${state:-qw}</state><queue_name>${pid:+all.q@$(hostname)}</queue_name></job_list>"
done
echo '</job_info>'
END
  client qdel <<'END'
{ read -r name; read -r pid; } <"$grid/jobs/$1"
rm "$grid/jobs/$1"
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
echo "$word" >"$grid/jobs/12"
[ -e "$grid/held" ] || start_job 12 "$word"
echo 'Job <12> is submitted to queue <medium>.'
END
  client bkill <<'END'
{ read -r name; read -r pid; } 2>/dev/null <"$grid/jobs/12"
[ "$1 $name" = "-J $2" ] || { echo "Job <$2> is not found" >&2; exit 255; }
rm "$grid/jobs/12"
[ -z "$pid" ] || kill -9 -- -"$pid"
echo 'Job <12> is being terminated'
END
}

jobs_are() {
  [ "$(cd "$grid/jobs" && echo *)" = "$1" ]
}
