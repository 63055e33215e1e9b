# SPDX-License-Identifier: Apache-2.0
# Copyright the Xperiment authors
#
# What bsub, bjobs and bkill share: the jobs of one name in the grid engine's queue. They
# stand in for LSF's programs in the tests and know only what a launcher of runs needs.

# A name as LSF has them, as one that the grid engine takes: its bytes as digits.
queue_name() { printf 'L%s' "$(printf %s "$1" | od -An -v -tx1 | tr -d ' \n')"; }

# The unfinished jobs of user $2 with name $1, the newest first: "NUMBER STATE HOST TASKS"; an
# array stands there once for each state.
jobs_named() {
  local list
  list=$(qstat -u "$2" -xml 2>&1) || { echo "LSF is down. Please wait ... $list" >&2; exit 255; }
  awk -F '[<>]' -v name="$(queue_name "$1")" '
    /<JB_job_number>/ { id = $3; host = "-"; tasks = "" }
    /<JB_name>/ { found = $3 == name }
    /<state>/ { state = $3 }
    /<queue_name>[^<]/ { host = $3; sub(/.*@/, "", host) }
    /<tasks>/ { tasks = $3 }
    /<\/job_list>/ && found { print id, state, host, tasks }' <<<"$list" | sort -rn
}

# The numbers in a list of tasks such as "1-4:1,6".
tasks_in() {
  local part
  for part in ${1//,/ }; do
    if [[ $part =~ ^([0-9]+)-([0-9]+):([0-9]+)$ ]]; then
      seq "${BASH_REMATCH[1]}" "${BASH_REMATCH[3]}" "${BASH_REMATCH[2]}"
    else
      echo "$part"
    fi
  done
}
