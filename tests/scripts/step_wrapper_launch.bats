#!/usr/bin/env bats
# SPDX-License-Identifier: Apache-2.0
# Copyright the Xperiment authors
#
# The identity of a launch in the markers of a step, and steps of a launch that another
# one has followed.

load stepWrapper

this=11111111-1111-1111-1111-111111111111
other=22222222-2222-2222-2222-222222222222

# The lease of the run, of the launch $1.
lease() {
  cat >lease.new <<LEASE
<?xml version="1.0" encoding="UTF-8"?>
<Launch Version="1" Minor="1" Id="$1" Time="1790000000" Kept="">
  <Launcher Host="node7" Owner="jane" Pid="4242"/>
</Launch>
LEASE
  mv lease.new .launch.xml
}

launch_in_handle() {
  handle tool /ProcessHandle/@Launch
}

@test "begin and end marker tell the launch" {
  export XPERIMENT_LAUNCH=$this
  lease "$this"
  program tool <<<'exit 0'
  wrap tool
  [ "$(launch_in_handle)" = "$this" ]
  xmllint --noout --schema "$handle_schema" .tool.begin.rst
  [ "$(<.tool.end.rst)" = "launch: $this" ]
}

@test "the error marker tells the reason first and then the launch" {
  export XPERIMENT_LAUNCH=$this
  lease "$this"
  program tool <<<'exit 3'
  run -3 wrap tool
  [ "$(<.tool.error.rst)" = "ended with status 3"$'\n'"launch: $this" ]
}

@test "without an identity the markers tell none, whatever the lease says" {
  lease "$other"
  program tool <<<'exit 0'
  wrap tool
  [ "$(launch_in_handle)" = '' ]
  [ ! -s .tool.end.rst ]
}

@test "what can't be an identity is none" {
  program tool <<<'exit 0'
  lease "$other"
  for odd in 'a"b' $'a\nb' 'a b' '<a>' '*'; do
    XPERIMENT_LAUNCH=$odd wrap tool
    xmllint --noout --schema "$handle_schema" .tool.begin.rst
    [ "$(launch_in_handle)" = '' ]
    [ ! -s .tool.end.rst ]
  done
}

@test "the command has the identity in its environment" {
  export XPERIMENT_LAUNCH=$this
  program tool <<<'echo "$XPERIMENT_LAUNCH" >seen'
  wrap tool
  [ "$(<seen)" = "$this" ]
}

@test "without a lease, or with one that can't be read, a step runs" {
  export XPERIMENT_LAUNCH=$this
  program tool <<<'exit 0'
  wrap tool
  [ "$(markers)" = '.tool.begin.rst .tool.end.rst ' ]
  echo '<Launch Version="1" ' >.launch.xml
  wrap tool
  rm .launch.xml
  mkdir .launch.xml
  wrap tool
  [ "$(<.tool.end.rst)" = "launch: $this" ]
}

@test "a step of a launch that another has followed isn't started and touches no marker" {
  export XPERIMENT_LAUNCH=$this
  lease "$other"
  program tool <<<'touch ran'
  echo theirs >.tool.begin.rst
  echo theirs >.tool.end.rst
  run -1 wrap tool
  [ ! -e ran ]
  [ "$(cat .tool.begin.rst .tool.end.rst)" = $'theirs\ntheirs' ]
  [ "$(<runme.log)" = "ZUMWrap.sh: step 'tool' isn't started: its run was launched anew" ]
}

@test "a step that runs when its run is launched anew ends and leaves the markers alone" {
  export XPERIMENT_LAUNCH=$this
  lease "$this"
  program tool <<<'i_am tool; hold'
  start_wrap tool
  until_it_is tool
  lease "$other"
  echo theirs >.tool.end.rst
  finish_wrap
  [ "$status" != 0 ]
  group_is_gone "$pid"
  [ "$(<.tool.end.rst)" = theirs ]
  [ ! -e .tool.error.rst ]
  grep -q "step 'tool' is ended: its run was launched anew" runme.log
}

@test "a step that ends well just when its run is launched anew leaves the markers alone" {
  export XPERIMENT_LAUNCH=$this
  lease "$this"
  lease_text=$(<.launch.xml)
  program tool <<<"cat >.launch.xml <<'L'
${lease_text/$this/$other}
L
exit 0"
  run -1 wrap tool
  [ ! -e .tool.end.rst ]
  [ ! -e .tool.error.rst ]
}

@test "a killed wrapper of a launch that another has followed leaves the markers alone" {
  export XPERIMENT_LAUNCH=$this
  lease "$this"
  program tool <<<'i_am tool; hold'
  start_wrap tool
  until_it_is tool
  lease "$other"
  kill -KILL "$wrapper"
  finish_wrap
  until_true group_is_gone "$pid" >/dev/null
  [ ! -e .tool.error.rst ]
}

@test "on a full disk a step fails without its identity" {
  if ! unshare -rm true 2>/dev/null; then
    skip 'SKIPPED: no mount namespace here'
  fi
  export XPERIMENT_LAUNCH=$this
  program tool <<<'head -c 1000000 /dev/zero >fill; exit 3'
  mkdir small
  cp ZUMWrap.sh small
  # shellcheck disable=SC2016
  run -0 unshare -rm sh -c '
    mount -t tmpfs -o size=64k none small || exit 77
    cp ZUMWrap.sh small
    cd small || exit 1
    $0 ./ZUMWrap.sh runme.log tool >/dev/null 2>&1
    [ "$?" = 3 ] && [ -e .tool.begin.rst ] && [ -e .tool.error.rst ]' "${WRAPPER_SHELL:-sh}"
}
