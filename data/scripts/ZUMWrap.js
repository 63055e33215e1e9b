// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
//
// The steps of a run under the Windows Script Host: what ZUMWrap.sh is to the shell.
//
// "rundef.js" evaluates this file, having set RDScrDir to its folder, and calls
// ZUMStep for each step. The step is named after the base name NAME of its command:
//
//   .NAME.begin.rst   the step has started; holds the handle of its process as XML
//   .NAME.end.rst     the command ended with 0
//   .NAME.error.rst   anything else; holds the reason
//
// Each appears whole, by a rename. The final one is set aside when the step starts,
// so that a disk that fills up meanwhile can't keep it from appearing. A step that
// fails ends the script with the command's status, or 1. While ".stop.rst" stands no
// step starts, and one that runs is ended with all that it has started.
//
// XPERIMENT_SKIP_STEPS, in the environment or a variable of the script: names of
// steps, with blanks between them, to be passed over.
//
// XPERIMENT_LAUNCH, in the same places: the identity of the launch that the steps belong
// to; letters, digits and dashes. The begin marker holds it, and the final one has a line
// "launch: <identity>" at its end. Once the lease of the run, ".launch.xml", names another
// launch, no step of this one starts, one that runs is ended, and no marker is touched.
//
// The Script Host tells no process id before a program runs, and it can't bring
// files to disk: the handle has no process, and the end marker says nothing of what
// the disk's cache holds.

var ZUMShell = new ActiveXObject( "WScript.Shell" );
var ZUMFso = new ActiveXObject( "Scripting.FileSystemObject" );
var ZUMLog = "runme.log";

ZUMShell.CurrentDirectory = RDScrDir;

// Runs `ZUMCommand` with the command line `ZUMArguments` as the step of its name.
// Comes back only if the step ended well or is disabled.
function ZUMStep( ZUMCommand, ZUMArguments ) {
  var step = ZUMMakeStep( ZUMCommand, ZUMArguments );
  if ( ZUMIsDisabled( step.name ) ) {
    ZUMSay( "step '" + step.name + "' is disabled and passed over" );
    return;
  }
  if ( ZUMIsSuperseded() ) {
    ZUMSay( "step '" + step.name + "' isn't started: its run was launched anew" );
    WScript.Quit( 1 );
  }
  if ( ZUMFso.FileExists( ".stop.rst" ) ) {
    ZUMSay( "step '" + step.name + "' isn't started: a stop was requested; remove '.stop.rst' from " + RDScrDir + " to let it run" );
    WScript.Quit( 1 );
  }
  try {
    ZUMBegin( step );
    ZUMRun( step );
  } catch ( error ) {
    step.status = 1;
    step.reason = "its wrapper failed: " + ZUMWords( error );
  }
  ZUMConclude( step );
}

function ZUMMakeStep( command, commandLine ) {
  var name = command.substr( Math.max( command.lastIndexOf( "/" ), command.lastIndexOf( "\\" ) ) + 1 );
  return {
    name: name, command: command, commandLine: commandLine,
    begin: "." + name + ".begin.rst", end: "." + name + ".end.rst", error: "." + name + ".error.rst",
    beginNew: "." + name + ".begin.new", finalNew: "." + name + ".final.new",
    statusFile: "." + name + ".status.new",
    status: 0, reason: ""
  };
}

function ZUMIsDisabled( name ) {
  var names = ZUMShell.Environment( "Process" )( "XPERIMENT_SKIP_STEPS" );
  if ( typeof XPERIMENT_SKIP_STEPS == "string" ) {
    names += " " + XPERIMENT_SKIP_STEPS;
  }
  return ( " " + names + " " ).indexOf( " " + name + " " ) >= 0;
}

// --- the launch ----------------------------------------------------------------

// The identity of this launch, or nothing.
function ZUMLaunch() {
  var launch = typeof XPERIMENT_LAUNCH == "string" ? XPERIMENT_LAUNCH : ZUMShell.Environment( "Process" )( "XPERIMENT_LAUNCH" );
  return /^[0-9A-Za-z\-]*$/.test( launch ) ? String( launch ) : "";
}

// Whether the run was launched anew since: its lease names another launch.
function ZUMIsSuperseded() {
  if ( ZUMLaunch() == "" || !ZUMFso.FileExists( ".launch.xml" ) ) {
    return false;
  }
  var lease = ZUMTry( function () {
    var stream = ZUMFso.OpenTextFile( ".launch.xml" );
    var text = stream.ReadAll();
    stream.Close();
    return text;
  } );
  var found = /<Launch [^>]*\bId="([^"]+)"/.exec( lease || "" );
  return found != null && found[1] != ZUMLaunch();
}

// --- markers -----------------------------------------------------------------

// Removes what an earlier try left, sets the final marker aside and makes the begin
// marker. On a disk without room that one is empty, and the step fails.
function ZUMBegin( step ) {
  var old = [ step.end, step.error, step.end.replace( /rst$/, "stp" ), step.error.replace( /rst$/, "stp" ), step.statusFile ];
  for ( var i = 0; i < old.length; i++ ) {
    ZUMRemove( old[i] );
  }
  ZUMWrite( step.finalNew, "" );
  try {
    ZUMWrite( step.beginNew, ZUMHandle( step.command ) );
  } catch ( error ) {
    ZUMWrite( step.beginNew, "" );
    ZUMReplace( step.beginNew, step.begin );
    throw error;
  }
  ZUMReplace( step.beginNew, step.begin );
}

// Makes the final marker, whose time is that of the end, and ends the script if the
// step has failed.
function ZUMConclude( step ) {
  if ( ZUMIsSuperseded() ) {
    ZUMSay( "step '" + step.name + "': its markers in " + RDScrDir + " are left alone, since the run was launched anew" );
    WScript.Quit( step.status == 0 ? 1 : step.status );
  }
  var text = ( step.reason == "" ? "" : step.reason + "\n" ) + ( ZUMLaunch() == "" ? "" : "launch: " + ZUMLaunch() + "\n" );
  try {
    ZUMWrite( step.finalNew, "" );
    if ( step.reason != "" ) {
      ZUMSay( "step '" + step.name + "' failed: " + step.reason );
    }
    if ( text != "" ) {
      ZUMTry( function () { ZUMWrite( step.finalNew, text ); } );
    }
    ZUMReplace( step.finalNew, step.reason == "" ? step.end : step.error );
  } catch ( error ) {
    ZUMSay( "step '" + step.name + "': its final marker can't be written in " + RDScrDir + "; its status is unknown: " + ZUMWords( error ) );
    step.status = step.status == 0 ? 1 : step.status;
    step.reason = "no final marker";
  }
  if ( step.reason != "" ) {
    WScript.Quit( step.status );
  }
}

function ZUMWrite( file, text ) {
  var stream = ZUMFso.CreateTextFile( file, true );
  try {
    stream.Write( text );
  } finally {
    stream.Close();
  }
}

function ZUMRemove( file ) {
  if ( ZUMFso.FileExists( file ) ) {
    ZUMFso.DeleteFile( file, true );
  }
}

// A rename doesn't replace here.
function ZUMReplace( file, target ) {
  ZUMRemove( target );
  ZUMFso.MoveFile( file, target );
}

// --- the process handle --------------------------------------------------------

function ZUMHandle( command ) {
  var values = ZUMShell.Environment( "Process" );
  return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n" +
    "<ProcessHandle Version=\"1\" Minor=\"1\"" + ( ZUMLaunch() == "" ? "" : " Launch=\"" + ZUMLaunch() + "\"" ) + ">\n" +
    "  <Process Host=\"" + ZUMEscape( values( "COMPUTERNAME" ) || "unknown" ) +
    "\" Owner=\"" + ZUMEscape( values( "USERNAME" ) || "unknown" ) +
    "\" StartTime=\"" + Math.floor( new Date().getTime() / 1000 ) + "\"/>\n" +
    "  <Command>" + ZUMEscape( command ) + "</Command>\n" +
    "</ProcessHandle>\n";
}

// The text as XML in plain ASCII: files are written in whatever code page there is.
function ZUMEscape( text ) {
  var result = "";
  for ( var i = 0; i < text.length; i++ ) {
    var code = text.charCodeAt( i );
    if ( code >= 0xd800 && code < 0xdc00 && i + 1 < text.length ) {
      code = 0x10000 + ( ( code - 0xd800 ) << 10 ) + ( text.charCodeAt( ++i ) - 0xdc00 );
      result += "&#" + code + ";";
    } else if ( code == 9 || code == 10 || code > 126 ) {
      result += "&#" + code + ";";
    } else if ( code < 32 ) {
      result += "?";
    } else {
      result += { "&": "&amp;", "<": "&lt;", ">": "&gt;", "\"": "&quot;" }[text.charAt( i )] || text.charAt( i );
    }
  }
  return result;
}

// --- the command -----------------------------------------------------------------

// Runs the command to its end, or to that of the run, and judges it. The status goes
// through a file: not every Script Host hands it out.
function ZUMRun( step ) {
  var command = step.command.indexOf( " " ) < 0 ? step.command : "\"" + step.command + "\"";
  var process = ZUMShell.Exec( "cmd /s /c \"" + command + " " + step.commandLine +
    " >> \"" + ZUMLog + "\" 2>&1 < nul & call echo %^errorlevel%> \"" + step.statusFile + "\"\"" );
  var stopped = false;
  while ( process.Status == 0 ) {
    if ( !stopped && ( ZUMFso.FileExists( ".stop.rst" ) || ZUMIsSuperseded() ) ) {
      stopped = true;
      ZUMEnd( process.ProcessID );
    }
    ZUMPause();
  }
  step.status = ZUMStatus( step, process );
  if ( stopped ) {
    step.reason = "a stop was requested";
    step.status = step.status == 0 ? 1 : step.status;
  } else if ( step.status == 9009 ) {
    step.reason = "ended with status 9009: the program was not found; check PATH";
  } else if ( step.status != 0 ) {
    step.reason = "ended with status " + step.status;
  }
}

// A command that ended the shell around it has left no file.
function ZUMStatus( step, process ) {
  var status = parseInt( ZUMTry( function () {
    var stream = ZUMFso.OpenTextFile( step.statusFile );
    var text = stream.ReadAll();
    stream.Close();
    return text;
  } ), 10 );
  ZUMTry( function () { ZUMRemove( step.statusFile ); } );
  if ( isNaN( status ) ) {
    status = ZUMTry( function () { return process.ExitCode; } );
  }
  if ( typeof status != "number" ) {
    status = process.Status == 1 ? 0 : 1;
  }
  return status;
}

// 0.2 s, or about as long as a program takes where the Script Host can't sleep.
function ZUMPause() {
  try {
    WScript.Sleep( 200 );
  } catch ( error ) {
    ZUMShell.Run( "ping -n 1 127.0.0.1", 0, true );
  }
}

// Ends the process `root` and all that it has started, one by one where taskkill
// knows no trees.
function ZUMEnd( root ) {
  if ( ZUMShell.Run( "taskkill /T /F /PID " + root, 0, true ) == 0 ) {
    return;
  }
  var tree = ZUMTree( root );
  for ( var i = 0; i < tree.length; i++ ) {
    ZUMShell.Run( "taskkill /F /PID " + tree[i], 0, true );
  }
}

// The process ids of `root` and of all below it.
function ZUMTree( root ) {
  var list = ".ZUMWrap.processes.new";
  ZUMShell.Run( "cmd /c wmic process get ParentProcessId,ProcessId > \"" + list + "\"", 0, true );
  var text = ZUMTry( function () {
    var stream = ZUMFso.OpenTextFile( list, 1, false, -1 );
    var all = stream.ReadAll();
    stream.Close();
    return all;
  } ) || "";
  ZUMTry( function () { ZUMRemove( list ); } );
  var pairs = text.match( /\d+\s+\d+/g ) || [];
  var tree = [ root ];
  for ( var i = 0; i < tree.length; i++ ) {
    for ( var j = 0; j < pairs.length; j++ ) {
      var pair = pairs[j].split( /\s+/ );
      if ( pair[0] == tree[i] && pair[1] != root ) {
        tree.push( pair[1] );
      }
    }
  }
  return tree;
}

// --- words -------------------------------------------------------------------------

// To whoever looks on, and to the log.
function ZUMSay( text ) {
  var line = "ZUMWrap.js: " + text;
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
