#!/usr/bin/env bats
# SPDX-License-Identifier: Apache-2.0
# Copyright the Xperiment authors
#
# Strategies, shipped and the user's: named, changed, compared and handed on.

load xp.bash

setup_file() {
  [ "$(id -u)" = 0 ] || echo '# not root: unwritable folders by their mode, full disks skipped' >&3
}

# Where a new strategy of the user is saved.
mine() {
  echo "$XDG_CONFIG_HOME/xperiment/2026.1/strategies"
}

# Every file of the user with what it holds.
users_files() {
  (cd "$XDG_CONFIG_HOME" && find . -type f ! -name .strategies.lock -exec md5sum {} + | sort)
}

keep_files() {
  kept=$(users_files)
}

files_are_kept() {
  [ "$(users_files)" = "$kept" ] || { echo "changed: $(users_files)"; return 1; }
}

# The value of option $2 in strategy $1.
value_of() {
  "$xp" strategy show "$1" --json 2>/dev/null |
    json "[o['value'] for o in j['options'] if o['step'] + '.' + o['option'] == '$2'][0]"
}

@test "strategies are listed for people and for scripts" {
  "$xp" strategy copy impl/Performance Mine --description 'My own'
  run -0 --separate-stderr "$xp" strategy list
  [[ $output == *synth*Performance*shipped*abc9=true* ]]
  [[ $output == *impl*Mine*yours*heap_timingweight=30*'My own'* ]]
  run -0 --separate-stderr "$xp" strategy list --flow impl --json
  [ "$(json '{s["flow"] for s in j}' <<<"$output")" = "{'impl'}" ]
  [ "$(json 'j[0]["name"], j[0]["options"], j[0]["shipped"]' <<<"$output")" = "('Default', [], True)" ]
  [ "$(json 'j[-1]["name"], j[-1]["shipped"], j[-1]["description"]' <<<"$output")" = "('Mine', False, 'My own')" ]
  [ "$(json 'j[-1]["file"]' <<<"$output")" = "$(mine)/Mine.ice40_implementation.psg" ]
}

@test "show tells all options and marks those that differ" {
  run -0 --separate-stderr "$xp" strategy show Annealing
  [[ $output == *'impl/Annealing'*'shipped'* ]]
  grep -Eq '^\* +place_design +placer +sa +heap ' <<<"$output"
  grep -Eq '^ +place_design +seed +1 +1 ' <<<"$output"
  run -0 --separate-stderr "$xp" strategy show Annealing --json
  [ "$(json '[o["option"] for o in j["options"] if o["changed"]]' <<<"$output")" = "['placer']" ]
  [ "$(json 'len(j["options"]) > 15' <<<"$output")" = True ]
}

@test "create makes a strategy from the defaults and saves it once, whole" {
  run -0 --separate-stderr "$xp" strategy create Fast --flow impl --set seed=7 \
    --set route_design.router=router2 --description 'For now'
  [ -z "$output" ]
  [[ $stderr == *"Strategy impl/Fast is made: $(mine)/Fast.ice40_implementation.psg"* ]]
  [ "$(value_of Fast place_design.seed)" = 7 ]
  [ "$(value_of Fast route_design.router)" = router2 ]
  [ "$("$xp" strategy show Fast --json 2>/dev/null | json 'j["description"]')" = 'For now' ]
  run -6 "$xp" strategy create Fast --flow impl
  assert_one_error 'There is a strategy impl/Fast already. Choose another name.'
  "$xp" strategy create Fast --flow synth
}

@test "what create refuses isn't made" {
  run -6 "$xp" strategy create Fast --flow impl --set seed=many
  assert_one_error "Option place_design.seed can't be set: 'many' is no whole number"
  run -6 "$xp" strategy create Fast --flow impl --set sede=1
  assert_one_error 'There is no option sede' 'place_design.seed'
  run -2 "$xp" strategy create Fast --flow impl --set seed
  assert_one_error "'seed' sets nothing"
  run -2 "$xp" strategy create Fast --flow sim
  assert_one_error "There is no flow 'sim'"
  run -2 "$xp" strategy create Fast
  assert_one_error '--flow'
  [ -z "$(users_files)" ]
}

@test "a name that can't be a file is refused for every verb that takes a new one" {
  "$xp" strategy create Fast --flow impl
  "$xp" strategy export Fast fast.psg
  keep_files
  local name
  for name in '' a/b '../x' .hidden ' a' 'a ' $'a\nb' $'a\e[2J' $'a\xff' "$(printf 'x%.0s' {1..101})"; do
    run -6 "$xp" strategy create --flow impl -- "$name"
    assert_one_error "can't be the name of a strategy"
    run -6 "$xp" strategy copy Fast -- "$name"
    assert_one_error "can't be the name of a strategy"
    run -6 "$xp" strategy rename Fast -- "$name"
    assert_one_error "can't be the name of a strategy"
    run -6 "$xp" strategy import fast.psg --as "$name"
    assert_one_error "can't be the name of a strategy"
    [[ $output != *$'\e'* ]]
  done
  files_are_kept
}

@test "a name in both flows wants its flow" {
  run -6 "$xp" strategy show Performance
  assert_one_error "There is more than one strategy 'Performance'. Say synth/Performance or impl/Performance."
  run -0 "$xp" strategy show synth/Performance
  run -0 "$xp" strategy show ice40_implementation/Performance
}

@test "a misspelled name is met with the one that was meant" {
  run -6 "$xp" strategy show Anealing
  assert_one_error "There is no strategy 'Anealing'. Did you mean 'Annealing'?"
  run -6 "$xp" strategy show impl/Perfomance
  assert_one_error "Did you mean 'impl/Performance'?"
  run -6 "$xp" strategy show zzzzzzzz
  assert_one_error '"xp strategy list" lists them.'
  run -6 "$xp" strategy show synth/Annealing
  assert_one_error "There is no strategy 'synth/Annealing'."
}

@test "a shipped strategy is neither changed nor deleted" {
  run -6 "$xp" strategy set Annealing seed=7
  assert_one_error 'comes with xp' 'xp strategy copy impl/Annealing NEW'
  run -6 "$xp" strategy rename Annealing Mine
  assert_one_error 'comes with xp'
  run -6 "$xp" strategy delete Annealing
  assert_one_error 'comes with xp'
  [ "$(value_of Annealing place_design.seed)" = 1 ]
}

@test "set changes all or nothing" {
  "$xp" strategy create Fast --flow impl --set seed=3
  "$xp" strategy set Fast place_design.seed=5 router=router2 --description 'Both'
  [ "$(value_of Fast place_design.seed) $(value_of Fast route_design.router)" = '5 router2' ]
  [ "$("$xp" strategy show Fast --json 2>/dev/null | json 'j["description"]')" = Both ]
  keep_files
  run -6 "$xp" strategy set Fast seed=8 router=router9
  assert_one_error "'router9' is none of its values: router1, router2"
  # shellcheck disable=SC2016
  run -6 "$xp" strategy set Fast seed=8 'router=$(reboot)'
  assert_one_error 'a shell would take as its own'
  run -2 "$xp" strategy set Fast
  assert_one_error 'There is nothing to set'
  run -6 "$xp" strategy set Fast --description $'a\eb'
  assert_one_error
  files_are_kept
}

@test "rename leaves one file under the new name" {
  "$xp" strategy create Fast --flow impl --set seed=3
  run -0 "$xp" strategy rename Fast 'Fast enough'
  [[ $output == *"Strategy impl/Fast is impl/Fast enough now"* ]]
  [ "$(ls "$(mine)")" = 'Fast enough.ice40_implementation.psg' ]
  [ "$(value_of 'Fast enough' place_design.seed)" = 3 ]
  run -6 "$xp" strategy rename 'Fast enough' Annealing
  assert_one_error 'There is a strategy impl/Annealing already'
  run -6 "$xp" strategy rename 'Fast enough' 'Fast enough'
  assert_one_error 'already'
}

@test "delete says what it removed, and refuses all when it refuses one" {
  "$xp" strategy create One --flow impl
  "$xp" strategy create Two --flow synth
  keep_files
  run -6 "$xp" strategy delete One Annealing
  assert_one_error 'comes with xp'
  files_are_kept
  run -0 --separate-stderr "$xp" strategy delete One Two One
  [ -z "$output" ]
  [[ $stderr == *"impl/One is deleted, with its file $(mine)/One.ice40_implementation.psg"* ]]
  [[ $stderr == *"synth/Two is deleted, with its file $(mine)/Two.ice40_synthesis.psg"* ]]
  [ -z "$(users_files)" ]
}

@test "compare shows only what differs" {
  "$xp" strategy copy Annealing Mine --set seed=7
  run -0 --separate-stderr "$xp" strategy compare Default Mine
  [ "${#lines[@]}" = 3 ]
  [[ ${lines[0]} == Step*Option*Default*Mine ]]
  [[ ${lines[1]} == place_design*seed*1*7 ]]
  [[ ${lines[2]} == place_design*placer*heap*sa ]]
  run -0 --separate-stderr "$xp" strategy compare Mine impl/Default --json
  [ "$(json '[(d["option"], d["first"], d["second"]) for d in j["differences"]]' <<<"$output")" = \
    "[('seed', '7', '1'), ('placer', 'sa', 'heap')]" ]
  run -0 --separate-stderr "$xp" strategy compare Mine Mine
  [ -z "$output" ]
  [[ $stderr == *"impl/Mine and impl/Mine don't differ"* ]]
  run -6 "$xp" strategy compare Annealing Hierarchy
  assert_one_error 'are of different flows'
}

@test "a strategy goes to another user by a file" {
  "$xp" strategy copy Annealing Mine --set seed=7 --description 'Slow & good <really>'
  "$xp" strategy export Mine out.psg
  run -6 "$xp" strategy export Mine out.psg
  assert_one_error "There is a file $PWD/out.psg already" '--force'
  "$xp" strategy export impl/Default out.psg --force
  "$xp" strategy export Mine out.psg --force
  run -6 "$xp" strategy import out.psg
  assert_one_error 'There is a strategy impl/Mine already' 'xp strategy import out.psg --as NAME'
  "$xp" strategy import out.psg --as Theirs
  run -0 "$xp" strategy compare Mine Theirs
  [[ $output == *"don't differ"* ]]
  export XDG_CONFIG_HOME=$BATS_TEST_TMPDIR/other
  run -0 "$xp" strategy import out.psg
  [[ $output == *"Strategy impl/Mine is made: $(mine)/Mine.ice40_implementation.psg"* ]]
  [ "$("$xp" strategy show Mine --json 2>/dev/null | json 'j["description"]')" = 'Slow & good <really>' ]
}

@test "a file that isn't whole or holds what isn't known is refused with file and line" {
  "$xp" strategy copy Annealing Mine
  "$xp" strategy export Mine good.psg
  "$xp" strategy delete Mine
  local change
  for change in '/placer/s/placer"/placr"/' '/placer/s/Value="sa"/Value="xx"/' 's/Id="init_design"/Id="zap"/' \
    '/StratHandle/s/Flow="[a-z0-9_]*"/Flow="none"/' 's/<Step /<Strep /' '/<\/Step>/d'; do
    sed "$change" good.psg >bad.psg
    ! cmp -s good.psg bad.psg
    run -6 "$xp" strategy import bad.psg
    assert_one_error "bad.psg, line " 'nothing was taken over'
  done
  run -6 "$xp" strategy import none.psg
  assert_one_error none.psg
  printf '<!DOCTYPE x [<!ENTITY a "aaaa">]>\n<Strategy/>' >bomb.psg
  run -6 "$xp" strategy import bomb.psg
  assert_one_error bomb.psg
  [ -z "$(users_files)" ]
}

@test "names and texts of a hostile file reach the terminal escaped" {
  "$xp" strategy copy Annealing Mine
  local file
  file=$(mine)/Mine.ice40_implementation.psg
  sed -i 's/Name="Mine"/Name="A\&#10;xp: error: B‮C"/; s/<Desc>.*</<Desc>D\&#xA0;\&#9;E‮</' "$file"
  run -0 "$xp" strategy list
  [[ $output == *'A\nxp: error: B\u{202e}C'* ]]
  [[ $output == *'\tE\u{202e}'* ]]
  [ "$(grep -c '^xp: error' <<<"$output")" = 0 ]
}

@test "a broken file of the user is told with its line, and the others are there" {
  "$xp" strategy create One --flow impl
  "$xp" strategy create Two --flow impl
  echo '<Strategy Version="1" Minor="2"' >"$(mine)/One.ice40_implementation.psg"
  keep_files
  run -0 --separate-stderr "$xp" strategy show Two
  [ "$(grep -c 'One.ice40_implementation.psg, line ' <<<"$stderr")" = 1 ]
  # Its name is free, its file isn't.
  "$xp" strategy create One --flow impl --set seed=7
  [ "$(value_of One place_design.seed)" = 7 ]
  [ "$(cat "$(mine)/One.ice40_implementation.psg")" = '<Strategy Version="1" Minor="2"' ]
}

@test "two xp at once lose nothing" {
  local i pids=()
  "$xp" strategy create Shared --flow impl
  for i in 1 2 3 4 5 6; do
    "$xp" strategy create "New $i" --flow impl 2>/dev/null &
    pids+=($!)
    "$xp" strategy create Same --flow impl 2>/dev/null &
  done
  for i in seed=7 placer=sa heap_critexp=5 router=router2 tmg_ripup=true opt_timing=true; do
    "$xp" strategy set Shared "$i" 2>/dev/null &
    pids+=($!)
  done
  for i in "${pids[@]}"; do
    wait "$i"
  done
  wait
  for i in 1 2 3 4 5 6; do
    [ -s "$(mine)/New $i.ice40_implementation.psg" ]
  done
  [ "$(find "$(mine)" -name 'Same*' | wc -l)" = 1 ]
  run -0 --separate-stderr "$xp" strategy show Shared --json
  [ "$(json '[o["value"] for o in j["options"] if o["changed"]]' <<<"$output")" = \
    "['7', 'sa', '5', 'true', 'router2', 'true']" ]
}

@test "a folder that can't be written is told in the words of the system" {
  "$xp" strategy create Fast --flow impl
  "$xp" strategy export Fast fast.psg
  keep_files
  local dir verb
  dir=$(mine)
  if [ "$(id -u)" = 0 ]; then
    chattr +i "$dir" "$dir"/* 2>/dev/null || skip 'root, and no immutable files here'
  else
    chmod a-w "$dir"
  fi
  for verb in 'create New --flow impl' 'copy Annealing New' 'set Fast seed=7' 'rename Fast New' \
    'delete Fast' 'import fast.psg --as New'; do
    # shellcheck disable=SC2086
    run "$xp" strategy $verb
    echo "$status: $output" >>told
  done
  run "$xp" strategy show Fast
  echo "$status: $output" >>shown
  if [ "$(id -u)" = 0 ]; then
    chattr -i "$dir" "$dir"/*
  else
    chmod u+w "$dir"
  fi
  cat told
  [ "$(grep -c '^6: ' told)" = 6 ]
  [ "$(grep -c '^xp: error: \|^6: xp: error: ' told)" = 6 ]
  [ "$(grep -Ec 'xp: error: .*(Operation not permitted|Permission denied)' told)" = 6 ]
  grep -q '^0: ' shown
  files_are_kept
}

@test "a full disk is told in the words of the system, and what was there stays" {
  [ "$(id -u)" = 0 ] || skip 'not root: no small disk can be mounted'
  mkdir -p "$XDG_CONFIG_HOME"
  mount -t tmpfs -o size=64k xptest "$XDG_CONFIG_HOME" || skip 'no small disk can be mounted here'
  "$xp" strategy create Fast --flow impl
  keep_files
  dd if=/dev/zero of="$XDG_CONFIG_HOME/filler" bs=1k 2>/dev/null || :
  local verb
  for verb in 'create New --flow impl' 'set Fast seed=7' 'rename Fast New'; do
    # shellcheck disable=SC2086
    run "$xp" strategy $verb
    echo "$status: $output" >>told
  done
  rm "$XDG_CONFIG_HOME/filler"
  local after
  after=$(users_files)
  umount "$XDG_CONFIG_HOME"
  cat told
  [ "$(grep -c '^6: ' told)" = 3 ]
  [ "$(grep -c 'xp: error: .*No space left on device' told)" = 3 ]
  [ "$after" = "$kept" ]
}

@test "without a home there are the shipped strategies, and a change says what is missing" {
  unset XDG_CONFIG_HOME
  run -0 env -u HOME "$xp" strategy list
  [[ $output == *Annealing* ]]
  run -6 env -u HOME "$xp" strategy create Fast --flow impl
  assert_one_error 'neither XDG_CONFIG_HOME nor HOME names one'
}

@test "a run tells what differs from its strategy, and takes it over again" {
  new_project
  "$xp" -C proj create synth_1 --flow synth
  "$xp" -C proj create impl_1 --flow impl --strategy impl/Performance
  run -6 "$xp" -C proj create impl_2 --flow impl --strategy synth/Performance
  assert_one_error 'is of another one'
  run -6 "$xp" -C proj set impl_1 --strategy synth/Performance
  assert_one_error 'is of another one'
  run -0 --separate-stderr "$xp" -C proj show impl_1
  [[ $output != *Differs* ]]
  "$xp" -C proj set impl_1 seed=7
  run -0 --separate-stderr "$xp" -C proj show impl_1
  [[ $output == *'Differs       place_design.seed = 7  (strategy 1)'* ]]
  run -0 --separate-stderr "$xp" -C proj show impl_1 --json
  [ "$(json 'j["strategy_exists"], [(d["option"], d["value"], d["strategy_value"]) for d in j["strategy_differences"]]' <<<"$output")" = \
    "(True, [('seed', '7', '1')])" ]
  run -0 --separate-stderr "$xp" -C proj apply impl_1
  [[ $stderr == *'Run impl_1 has the values of Performance now: 1 option changed'* ]]
  run -0 --separate-stderr "$xp" -C proj show impl_1
  [[ $output != *Differs* ]]
  run -0 "$xp" -C proj apply impl_1 impl/Annealing
  [[ $output == *'Annealing now: 3 options changed'* ]]
  run -0 --separate-stderr "$xp" -C proj show impl_1 --json
  [ "$(json 'j["strategy"]' <<<"$output")" = Annealing ]
  run -6 "$xp" -C proj apply impl_1 synth/Area
  assert_one_error 'The run has the flow impl, and synth/Area is of another one' 'xp strategy list --flow impl'
  run -6 "$xp" -C proj apply impl_1 Anealing
  assert_one_error 'There is no strategy Anealing' Annealing
  run -6 "$xp" -C proj apply nosuch Annealing
  assert_one_error 'There is no run nosuch'
}

@test "a run follows a change of its strategy only when it is applied" {
  new_project
  "$xp" strategy create Mine --flow synth
  "$xp" -C proj create synth_1 --flow synth --strategy Mine
  "$xp" strategy set Mine abc9=true
  run -0 --separate-stderr "$xp" -C proj show synth_1
  [[ $output == *'Differs       synth_design.abc9 = false  (strategy true)'* ]]
  "$xp" -C proj apply synth_1
  run -0 --separate-stderr "$xp" -C proj show synth_1
  [[ $output == *'Options       synth_design.abc9 = true'* ]]
  [[ $output != *Differs* ]]
  "$xp" strategy delete Mine
  run -0 --separate-stderr "$xp" -C proj show synth_1
  [[ $output == *'Mine  (gone; the run keeps its values)'* ]]
  [ "$("$xp" -C proj show synth_1 --json 2>/dev/null | json 'j["strategy_exists"]')" = False ]
}

@test "a run starts from a strategy of the user, and keeps its values when that is gone" {
  new_project
  "$xp" strategy create Mine --flow synth --set abc9=true
  "$xp" -C proj create synth_1 --flow synth --strategy Mine
  "$xp" strategy delete Mine
  run -0 "$xp" -C proj show synth_1
  [[ $output == *'Mine'*'synth_design.abc9 = true'* ]]
  run -6 "$xp" -C proj create synth_2 --flow synth --strategy Mine
  assert_one_error 'There is no strategy Mine'
}
