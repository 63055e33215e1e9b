# SPDX-License-Identifier: Apache-2.0
# Copyright the Xperiment authors
#
# The Windows Script Host under Wine. One prefix serves a file of tests.
#
# Wine's Script Host can't sleep, hands out no exit status of a started program and
# can't set the environment; a script that fails ends with 0. Unix programs aren't
# waited for: what is run has to be a batch file or a Windows program.

wine_is_missing() {
  ! command -v wine >/dev/null || ! command -v wineboot >/dev/null
}

wine_environment() {
  export WINEPREFIX="$BATS_FILE_TMPDIR/prefix" WINEARCH=win64 WINEDEBUG=-all
  export WINEDLLOVERRIDES='mscoree=;mshtml=;winemenubuilder.exe='
  unset DISPLAY
}

start_wine() {
  wine_environment
  mkdir -p "$WINEPREFIX"
  # The server stays until it is stopped: one that ends between two scripts may refuse the
  # program that is started at that moment.
  timeout 60 wineserver -p >/dev/null 2>&1 3>&- || :
  timeout -k 5 180 wine wineboot -i >/dev/null 2>&1 3>&-
  timeout 120 wine cmd /c exit >/dev/null 2>&1 3>&- || :
}

stop_wine() {
  wine_environment
  timeout 20 wineserver -k >/dev/null 2>&1 || :
  timeout 20 wineserver -w >/dev/null 2>&1 || :
}

windows_path() {
  printf 'Z:%s' "${1//\//\\}"
}

# Runs the script $1 of the current folder; programs are searched in $bin_dir. A busy Wine
# sometimes can't start any program and says so: then nothing of the script was run yet, and
# the start is repeated.
script_host() {
  local said status attempt
  for attempt in 1 2 3 4 5; do
    status=0
    said=$(WINEPATH=$(windows_path "$bin_dir") timeout -k 5 90 \
      wine cscript.exe /nologo "$@" 2>/dev/null 3>&-) || status=$?
    case $said in
    *'Application could not be started'*) echo "# Wine didn't start the script host ($attempt)" >&3 ;;
    *) break ;;
    esac
  done
  printf '%s' "$said"
  return "$status"
}

# Whether the script host that "run" called had its say: for a test of which nothing is seen
# when the script does what it should.
script_host_ran() {
  [ "$status" != 124 ] && [ "$status" != 137 ] &&
    [[ "$output" != *'Application could not be started'* ]]
}

# Whether a program runs in the current folder whose command line holds $1.
windows_program_runs() {
  local process
  for process in /proc/[0-9]*; do
    if [ "$process/cwd" -ef . ] && [[ "$(tr '\0' ' ' <"$process/cmdline")" == *"$1"* ]]; then
      return 0
    fi
  done
  return 1
}
