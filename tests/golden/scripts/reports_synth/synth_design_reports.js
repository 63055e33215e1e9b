//
// tarnel(TM)
// synth_design_reports.js: a tarnel-generated reports generation script for WSH 5.1/5.6
// Copyright the testers
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
var ZUMJScriptLib = RDScrDir + "/ZUMWrapReports.js";
eval( EAInclude(ZUMJScriptLib) );


ZUMStep( "tarnel",
         " -nolog -nojournal -notrace -mode batch -product tarnel -source r_reports.tcl -tclargs synth_design" );



function EAInclude( EAInclFilename ) {
  var EAFso = new ActiveXObject( "Scripting.FileSystemObject" );
  var EAInclFile = EAFso.OpenTextFile( EAInclFilename );
  var EAIFContents = EAInclFile.ReadAll();
  EAInclFile.Close();
  return EAIFContents;
}
