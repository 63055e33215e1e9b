// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
//
// The reports of a finished step under the Windows Script Host: what ZUMWrapReports.sh
// is to the shell.
//
// "STEP_reports.js" evaluates this file, having set RDScrDir to its folder and RDScrN to
// its own name, and calls ZUMStep. What the command writes is added to
// "STEP_reports.log". A command that fails ends the script with its status, or 1.
//
// The step is over: its markers are not touched, and a stop that was asked of the run
// doesn't matter here.

var ZUMShell = new ActiveXObject( "WScript.Shell" );
var ZUMFso = new ActiveXObject( "Scripting.FileSystemObject" );
var ZUMLog = RDScrN.replace( /\.js$/i, "" ) + ".log";

ZUMShell.CurrentDirectory = RDScrDir;

// Runs `ZUMCommand` with the command line `ZUMArguments`. Comes back only if it ended
// well.
function ZUMStep( ZUMCommand, ZUMArguments ) {
  var status = 1;
  var reason;
  try {
    status = ZUMRun( ZUMCommand, ZUMArguments );
    reason = status == 9009 ? "ended with status 9009: the program was not found; check PATH" :
      "ended with status " + status;
  } catch ( error ) {
    reason = "can't be run: " + ZUMWords( error );
  }
  if ( status != 0 ) {
    ZUMSay( "'" + ZUMCommand + "' " + reason );
    WScript.Quit( status );
  }
}

// Runs the command to its end and gives its status. It reads nothing. Without a log, it
// isn't run: the shell's own status wouldn't tell.
function ZUMRun( command, commandLine ) {
  ZUMFso.OpenTextFile( ZUMLog, 8, true ).Close();
  var program = command.indexOf( " " ) < 0 ? command : "\"" + command + "\"";
  return ZUMShell.Run( "cmd /s /c \"" + program + " " + commandLine.replace( /^ +/, "" ) +
    " >> \"" + ZUMLog + "\" 2>&1 < nul\"", 0, true );
}

// To whoever looks on, and to the log.
function ZUMSay( text ) {
  var line = "ZUMWrapReports.js: " + text;
  ZUMTry( function () { WScript.Echo( line ); } );
  ZUMTry( function () {
    var stream = ZUMFso.OpenTextFile( ZUMLog, 8, true );
    stream.Write( line + "\r\n" );
    stream.Close();
  } );
}

function ZUMWords( error ) {
  return ( error.description || error.message || "error" ) + " (" + ( error.number >>> 0 ).toString( 16 ) + ")";
}

// What `action` gives, or nothing if it throws.
function ZUMTry( action ) {
  try {
    return action();
  } catch ( error ) {
    return undefined;
  }
}
