# SPDX-License-Identifier: Apache-2.0
# Copyright the Xperiment authors
#
# Faults that are put into a design, its constraints, options or tools, and what xp says of them.
#
# A case is a folder of tests/golden/failures: design.v or design.sv, pins.pcf if it has
# constraints, and expected.txt with the exit status and the message. case.bash, if it is there,
# sets what differs: run_name, new_args (of xp new), set_args (options of the run), launch_in (a
# command around xp), and before_launch().

golden_dir=$source_dir/tests/golden/failures

# Puts a program $1 of the lines behind it in front of the tools.
put_tool() {
  local name=$1
  shift
  mkdir -p "$tool_dir"
  printf '%s\n' "$@" >"$tool_dir/$name"
  chmod +x "$tool_dir/$name"
  PATH=$tool_dir:$PATH
}

# What is on standard input, without what differs from place to place.
normalised() {
  # Which of the cells without a place is named depends on the order in which the tool meets them.
  sed -e "s|$BATS_TEST_TMPDIR|DIR|g" -e "s|$build_dir/bin|BIN|g" \
    -e "s/Unable to place cell '[^']*', no BELs/Unable to place cell 'CELL', no BELs/"
}

# The message of xp among its lines on standard error.
message_of_xp() {
  sed -n '/^xp: error: /,/^  |/{/^  |/!p}; /^  |/p' "$1"
}

# The words of the tool come last, and each is a line of the log.
tool_words_come_last() {
  local log=$project/runs/$run_name/runme.log line
  [[ $(tail -n 1 said.txt) == '  | '* ]] || { echo 'the tool has not the last word'; return 1; }
  while IFS= read -r line; do
    grep -qxF -- "${line#  | }" "$log" || { echo "not in the log: $line"; return 1; }
  done < <(grep '^  | ' said.txt)
}

# Launches the case $1, and compares what xp says with what it said when it was looked at.
fault() {
  local run_name=synth_1 new_args=() set_args=() launch_in=() case_dir=$golden_dir/$1 args=()
  before_launch() { :; }
  after_launch() { tool_words_come_last; }
  rm -f blinky.*
  cp "$case_dir"/* .
  rm -f case.bash expected.txt
  touch -d '1 hour ago' -- *.*
  [ ! -f pins.pcf ] || args=(--constraints pins.pcf)
  # shellcheck disable=SC1091
  [ ! -f "$case_dir/case.bash" ] || . "$case_dir/case.bash"
  "$xp" new proj --top t --source design.* "${args[@]}" "${new_args[@]}" 2>/dev/null
  "$xp" -C proj create synth_1 --flow synth 2>/dev/null
  if [ "$run_name" = impl_1 ]; then
    "$xp" -C proj create impl_1 --flow impl 2>/dev/null
    [ ${#args[@]} != 0 ] || set_args+=(allow_unconstrained=true)
  fi
  [ ${#set_args[@]} = 0 ] || "$xp" -C proj set "$run_name" "${set_args[@]}" 2>/dev/null
  before_launch
  local ended=0
  "${launch_in[@]}" "$xp" -C proj launch "$run_name" >/dev/null 2>err.txt || ended=$?
  { echo "exit status $ended"; message_of_xp err.txt; } | normalised >said.txt
  if [ -n "${UPDATE_GOLDEN:-}" ]; then
    cp said.txt "$case_dir/expected.txt"
  fi
  diff -u "$case_dir/expected.txt" said.txt
  message_of_xp err.txt >said.txt
  after_launch
}
