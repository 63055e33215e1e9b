#!/usr/bin/env bats
# SPDX-License-Identifier: Apache-2.0
# Copyright the Xperiment authors
#
# The steps of a run under the Windows Script Host.

load stepWrapper
load wine

setup_file() {
  load wine
  if wine_is_missing; then
    return
  fi
  start_wine
}

teardown_file() {
  load wine
  wine_is_missing || stop_wine
}

setup() {
  if wine_is_missing; then
    skip 'SKIPPED: wine is missing (packages wine, wine64): no script of the Script Host is tested'
  fi
  run_dir="$BATS_TEST_TMPDIR/run"
  bin_dir="$BATS_TEST_TMPDIR/bin"
  use_run_directory "$run_dir"
  wine_environment
  unset XPERIMENT_SKIP_STEPS XPERIMENT_LAUNCH
  wrapper=''
}

use_run_directory() {
  mkdir -p "$1" "$bin_dir"
  cp "$source_dir/data/scripts/ZUMWrap.js" "$1"
  cd "$1" || return 1
}

# A batch file whose lines are standard input.
batch() {
  {
    printf '@echo off\r\n'
    sed 's/$/\r/'
  } >"$bin_dir/$1"
}

# A run script as it is written, with the steps of standard input; then what its
# reader has to do: the three lines about the operating system go. Under Wine the
# line that sets the path has to go too: the environment can't be set there.
run_script() {
  {
    cat <<'HEAD'
//
// tarnel(TM)
// rundef.js: a tarnel-generated Runs Script for WSH 5.1/5.6
// Copyright the Xperiment authors
//

echo "This script was generated under a different operating system."
echo "Please update the PATH variable below, before executing this script"
exit

var WshShell = new ActiveXObject( "WScript.Shell" );
var ProcEnv = WshShell.Environment( "Process" );
var PathVal = ProcEnv("PATH");
if ( PathVal.length == 0 ) {
  PathVal = ";";
} else {
  PathVal = ";" + PathVal;
}

ProcEnv("PATH") = PathVal;

var RDScrFP = WScript.ScriptFullName;
var RDScrN = WScript.ScriptName;
var RDScrDir = RDScrFP.substr( 0, RDScrFP.length - RDScrN.length - 1 );
var ZUMJScriptLib = RDScrDir + "/ZUMWrap.js";
eval( EAInclude(ZUMJScriptLib) );


HEAD
    cat
    cat <<'FOOT'



function EAInclude( EAInclFilename ) {
  var EAFso = new ActiveXObject( "Scripting.FileSystemObject" );
  var EAInclFile = EAFso.OpenTextFile( EAInclFilename );
  var EAIFContents = EAInclFile.ReadAll();
  EAInclFile.Close();
  return EAIFContents;
}
FOOT
  } >generated.js
  sed -e '/^echo "/d' -e '/^exit$/d' -e '/^ProcEnv("PATH") = PathVal;$/d' generated.js >rundef.js
  [ "$(diff generated.js rundef.js | grep -c '^<')" = 4 ]
}

# The hidden files of the run directory, in one line.
left() {
  markers
}

@test "steps that end with 0 leave begin and end markers and run in order" {
  batch one.bat <<<'echo one %*'
  batch two.bat <<<'echo two'
  run_script <<'S'
ZUMStep( "one.bat",
         "-in \"a b\"" );
ZUMStep( "two.bat",
         "" );
S
  run -0 script_host rundef.js
  [ "$(left)" = '.one.bat.begin.rst .one.bat.end.rst .two.bat.begin.rst .two.bat.end.rst ' ]
  [ "$(tr -d '\r' <runme.log | sed 's/ *$//')" = $'one -in "a b"\ntwo' ]
}

@test "a failed step ends the run with its status and an error marker" {
  batch one.bat <<<'exit /b 5'
  batch two.bat <<<'echo two'
  run_script <<'S'
ZUMStep( "one.bat",
         "" );
ZUMStep( "two.bat",
         "" );
S
  run -5 script_host rundef.js
  [ "$(left)" = '.one.bat.begin.rst .one.bat.error.rst ' ]
  [ "$(<.one.bat.error.rst)" = 'ended with status 5' ]
  grep -q "ZUMWrap.js: step 'one.bat' failed: ended with status 5" runme.log
}

@test "a batch file that ends the shell around it is judged all the same" {
  batch good.bat <<<'exit 0'
  batch bad.bat <<<'exit 3'
  run_script <<'S'
ZUMStep( "good.bat",
         "" );
ZUMStep( "bad.bat",
         "" );
S
  run script_host rundef.js
  [ "$status" != 0 ]
  [ "$(left)" = '.bad.bat.begin.rst .bad.bat.error.rst .good.bat.begin.rst .good.bat.end.rst ' ]
}

@test "a command that can't be found fails the step" {
  run_script <<'S'
ZUMStep( "no_such_tool",
         "" );
S
  run script_host rundef.js
  [ "$status" != 0 ]
  [ "$(left)" = '.no_such_tool.begin.rst .no_such_tool.error.rst ' ]
  grep -q 'check PATH' .no_such_tool.error.rst
}

@test "final markers of an earlier try are gone before the command starts" {
  batch one.bat <<<'dir /b /a .one* > seen'
  touch .one.bat.end.rst .one.bat.error.rst .one.bat.end.stp .one.bat.error.stp
  touch .other.end.rst .tarnel.error.rst
  run_script <<'S'
ZUMStep( "one.bat",
         "" );
S
  run -0 script_host rundef.js
  [ "$(tr -d '\r' <seen | sort | tr '\n' ' ')" = '.one.bat.begin.rst .one.bat.final.new ' ]
  [ "$(left)" = '.one.bat.begin.rst .one.bat.end.rst .other.end.rst .tarnel.error.rst ' ]
  run -0 script_host rundef.js
  [ "$(left)" = '.one.bat.begin.rst .one.bat.end.rst .other.end.rst .tarnel.error.rst ' ]
}

@test "the step is named after the base name of its command" {
  mkdir deep
  printf '@exit /b 0\r\n' >deep/one.bat
  run_script <<'S'
ZUMStep( "deep\\one.bat",
         "" );
S
  run -0 script_host rundef.js
  [ "$(left)" = '.one.bat.begin.rst .one.bat.end.rst ' ]
}

@test "the begin marker holds a handle after the schema, without a process" {
  batch one.bat <<<'exit /b 0'
  before=$(date +%s)
  run_script <<'S'
ZUMStep( "one.bat",
         "" );
S
  run -0 script_host rundef.js
  xmllint --noout --schema "$handle_schema" .one.bat.begin.rst
  [ "$(handle one.bat //Command)" = one.bat ]
  [ -z "$(handle one.bat //Process/@Pid)" ]
  [ -n "$(handle one.bat //Process/@Host)" ]
  [ "$(handle one.bat //Process/@Owner)" = "$(id -un)" ]
  [ "$(handle one.bat //Process/@StartTime)" -ge "$before" ]
}

@test "odd characters are kept in the handle" {
  run_script <<'S'
var text = "a<b>&\"c\"\t\n\x07\xfc\u20ac\ud83d\ude00";
var out = RDScrDir + "\\handle.xml";
ZUMWrite( out, ZUMHandle( text ) );
S
  run -0 script_host rundef.js
  xmllint --noout --schema "$handle_schema" handle.xml
  [ "$(xmllint --xpath 'string(//Command)' handle.xml; echo .)" = $'a<b>&"c"\t\n?ü€😀\n.' ]
}

@test "no step starts while a stop is requested" {
  batch one.bat <<<'echo ran > ran'
  touch .stop.rst
  run_script <<'S'
ZUMStep( "one.bat",
         "" );
S
  run -1 script_host rundef.js
  [ ! -e ran ]
  [ "$(left)" = '.stop.rst ' ]
  grep -q "step 'one.bat' isn't started: a stop was requested" runme.log
}

@test "a stop ends the command and what it has started" {
  batch one.bat <<'B'
echo started > started
ping -n 60 127.0.0.1 > nul
echo over > over
B
  run_script <<'S'
ZUMStep( "one.bat",
         "" );
S
  script_host rundef.js >/dev/null &
  # shellcheck disable=SC2034  # finish_wrap waits for it
  wrapper=$!
  until_true file_stands started
  until_true windows_program_runs '-n 60 127.0.0.1'
  start=$(milliseconds)
  touch .stop.rst
  finish_wrap
  [ $(($(milliseconds) - start)) -lt 20000 ]
  [ "$status" != 0 ]
  [ ! -e over ]
  [ "$(left)" = '.one.bat.begin.rst .one.bat.error.rst .stop.rst ' ]
  [ "$(<.one.bat.error.rst)" = 'a stop was requested' ]
  run ! windows_program_runs '-n 60 127.0.0.1'
}

@test "a disabled step is passed over without a marker" {
  batch one.bat <<<'echo ran > ran'
  batch two.bat <<<'exit /b 0'
  run_script <<'S'
var XPERIMENT_SKIP_STEPS = "zero one.bat";
ZUMStep( "one.bat",
         "" );
ZUMStep( "two.bat",
         "" );
S
  run -0 script_host rundef.js
  [ ! -e ran ]
  [ "$(left)" = '.two.bat.begin.rst .two.bat.end.rst ' ]
  rm .two*
  XPERIMENT_SKIP_STEPS='one.bat two.bat' run -0 script_host rundef.js
  [ "$(left)" = '' ]
}

@test "blanks in paths do no harm" {
  use_run_directory "$BATS_TEST_TMPDIR/a run's (folder) & more"
  mkdir 'my tools'
  printf '@echo args %%*\r\n' >'my tools/one tool.bat'
  run_script <<'S'
ZUMStep( "my tools\\one tool.bat",
         "-in \"a b\"" );
S
  run -0 script_host rundef.js
  [ "$(left)" = '.one tool.bat.begin.rst .one tool.bat.end.rst ' ]
  grep -q 'args -in "a b"' runme.log
}

@test "an output file that can't be written fails the step" {
  batch one.bat <<<'exit /b 0'
  mkdir .one.bat.begin.new
  run_script <<'S'
ZUMStep( "one.bat",
         "" );
S
  run -1 script_host rundef.js
  grep -q "step 'one.bat' failed: its wrapper failed" runme.log
  [ -e .one.bat.error.rst ]
}

# --- the launch ----------------------------------------------------------------

# The lease of the run, of the launch $1.
lease() {
  printf '<?xml version="1.0" encoding="UTF-8"?>\n<Launch Version="1" Minor="1" Id="%s" Time="1" Kept="">\n  <Launcher/>\n</Launch>\n' "$1" >.launch.xml
}

@test "the markers of a launched run tell its launch" {
  export XPERIMENT_LAUNCH=11111111-1111
  lease 11111111-1111
  batch one.bat <<<'exit /b 0'
  batch two.bat <<<'exit /b 5'
  run_script <<'S'
ZUMStep( "one.bat",
         "" );
ZUMStep( "two.bat",
         "" );
S
  run -5 script_host rundef.js
  [ "$(handle one.bat /ProcessHandle/@Launch)" = 11111111-1111 ]
  xmllint --noout --schema "$handle_schema" .one.bat.begin.rst
  [ "$(<.one.bat.end.rst)" = 'launch: 11111111-1111' ]
  [ "$(<.two.bat.error.rst)" = $'ended with status 5\nlaunch: 11111111-1111' ]
}

@test "a step of a launch that another has followed isn't started and touches no marker" {
  export XPERIMENT_LAUNCH=11111111-1111
  lease 22222222-2222
  batch one.bat <<<'echo ran > ran'
  echo theirs >.one.bat.end.rst
  run_script <<'S'
ZUMStep( "one.bat",
         "" );
S
  run script_host rundef.js
  [ ! -e ran ]
  [ "$(left)" = '.launch.xml .one.bat.end.rst ' ]
  [ "$(<.one.bat.end.rst)" = theirs ]
  grep -q "step 'one.bat' isn't started: its run was launched anew" runme.log
}

@test "a step during which its run is launched anew leaves the markers alone" {
  export XPERIMENT_LAUNCH=11111111-1111
  lease 22222222-2222
  mv .launch.xml later
  batch one.bat <<<'copy later .launch.xml > nul'
  run_script <<'S'
ZUMStep( "one.bat",
         "" );
S
  run script_host rundef.js
  [ ! -e .one.bat.end.rst ]
  [ ! -e .one.bat.error.rst ]
  grep -q "its markers in .* are left alone" runme.log
}
