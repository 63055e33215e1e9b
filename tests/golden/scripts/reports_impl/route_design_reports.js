//
// zBuild(TM)
// route_design_reports.js: a zBuild-generated reports generation script for WSH 5.1/5.6
// Copyright the testers
//

echo "This script was generated under a different operating system."
echo "Please update the PATH variable below, before executing this script"
exit

var WshShell = new ActiveXObject( "WScript.Shell" );
var ProcEnv = WshShell.Environment( "Process" );
var PathVal = ProcEnv("PATH");
if ( PathVal.length == 0 ) {
  PathVal = "/opt/first/bin:/opt/second/bin;/opt/first/lib;/opt/tarnel/bin;";
} else {
  PathVal = "/opt/first/bin:/opt/second/bin;/opt/first/lib;/opt/tarnel/bin;" + PathVal;
}

ProcEnv("PATH") = PathVal;

var RDScrFP = WScript.ScriptFullName;
var RDScrN = WScript.ScriptName;
var RDScrDir = RDScrFP.substr( 0, RDScrFP.length - RDScrN.length - 1 );
var ZUMJScriptLib = RDScrDir + "/ZUMWrapReports.js";
eval( EAInclude(ZUMJScriptLib) );


ZUMStep( "tarnel",
         " -first --second=2 -nolog -nojournal -notrace -mode batch -product zBuild -source reports/all.tcl -tclargs route_design" );



function EAInclude( EAInclFilename ) {
  var EAFso = new ActiveXObject( "Scripting.FileSystemObject" );
  var EAInclFile = EAFso.OpenTextFile( EAInclFilename );
  var EAIFContents = EAInclFile.ReadAll();
  EAInclFile.Close();
  return EAIFContents;
}
