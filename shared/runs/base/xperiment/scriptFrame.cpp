// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "runs/base/xperiment/scriptFrame.h"

#include "environment/errors/HEXAlgException.h"
#include "environment/files/HUTFile.h"
#include "environment/files/HUTFileUtils.h"
#include "environment/installation/HUTEnv.h"
#include "environment/process/HUTFork.h"
#include "runs/base/xperiment/HAXPExpRunBase.h"
#include "runs/base/xperiment/HAXPFlow.h"
#include "runs/base/xperiment/HAXPStrategy.h"
#include "runs/base/xperiment/scriptText.h"
#include "runs/base/xperiment/scriptTools.h"

namespace xperiment {

namespace {

constexpr char kBatHead[] = R"(@echo off

rem  @{product} (TM)
rem  @{file}: a @{product}-generated Script
rem  @{copyright}


set MQ_SDIR=%~dp0
cd /d "%MQ_SDIR%"
)";
constexpr char kBatPath[] = "set PATH=%SYSTEMROOT%\\system32;%PATH%\n";
constexpr char kBatCall[] = "cscript /nologo /E:JScript \"%MQ_SDIR%\\@{script}\" %*\n";

constexpr char kShHead[] = R"(#!/bin/sh

@{hash}
# @{product}(TM)
# @{file}: a @{product}-generated @{kind} for UNIX
# @{copyright}
@{hash}

if [ -z "$PATH" ]; then
  PATH=@{path}
else
  PATH=@{path}:$PATH
fi
export PATH

if [ -z "$LD_LIBRARY_PATH" ]; then
  LD_LIBRARY_PATH=@{ldPath}
else
  LD_LIBRARY_PATH=@{ldPath}:$LD_LIBRARY_PATH
fi
export LD_LIBRARY_PATH

MQ_PWD='@{runDir}'
cd "$MQ_PWD"

MQ_LOG=@{log}
/bin/touch $MQ_LOG

ZUMStep="./@{wrapper}"
EAStep()
{
     $ZUMStep $MQ_LOG "$@" >> $MQ_LOG 2>&1
     if [ $? -ne 0 ]
     then
         exit
     fi
}

)";

constexpr char kJsHead[] = R"(//
// @{product}(TM)
// @{file}: a @{product}-generated @{kind} for WSH 5.1/5.6
// @{copyright}
//

echo "This script was generated under a different operating system."
echo "Please update the PATH variable below, before executing this script"
exit

var WshShell = new ActiveXObject( "WScript.Shell" );
var ProcEnv = WshShell.Environment( "Process" );
var PathVal = ProcEnv("PATH");
if ( PathVal.length == 0 ) {
  PathVal = "@{path}";
} else {
  PathVal = "@{path}" + PathVal;
}

ProcEnv("PATH") = PathVal;

var RDScrFP = WScript.ScriptFullName;
var RDScrN = WScript.ScriptName;
var RDScrDir = RDScrFP.substr( 0, RDScrFP.length - RDScrN.length - 1 );
var ZUMJScriptLib = RDScrDir + "/@{wrapper}";
eval( EAInclude(ZUMJScriptLib) );


)";

constexpr char kJsFooter[] = R"(


function EAInclude( EAInclFilename ) {
  var EAFso = new ActiveXObject( "Scripting.FileSystemObject" );
  var EAInclFile = EAFso.OpenTextFile( EAInclFilename );
  var EAIFContents = EAInclFile.ReadAll();
  EAInclFile.Close();
  return EAIFContents;
}
)";

void copyWrapper(const std::string& name, const std::string& dir) {
    const std::string& sep = HUTFile::getDirSeparator();
    const std::string rel = "scripts" + sep + name;
    HUTFile(HUTEnv::getKPXAppRoot(rel) + sep + rel).copyTo(dir + name, HUTFile::kReplaceExisting);
}

}  // namespace

SearchPaths searchPaths() {
    SearchPaths paths;
    const std::string prepended = environment("KPX_PREPEND_PATH");
    paths.ldPath = environment("KPX_PREPEND_LD_LIBRARY_PATH");
    const std::string binRoot = environment("KPX_BINROOT");
    if (!prepended.empty())
        paths.winPath = prepended + ";";
    if (!paths.ldPath.empty())
        paths.winPath += paths.ldPath + ";";
    paths.unixPath = prepended + ":" + binRoot;
    paths.winPath += binRoot + ";";
    return paths;
}

std::string shHead(const ScriptSet& set, const SearchPaths& paths, const std::string& runDir) {
    return fill(kShHead, {{"hash", "# "},
                          {"product", HUTEnv::getProductName()},
                          {"file", set.sh},
                          {"kind", set.kind},
                          {"copyright", HUTEnv::getCopyRight()},
                          {"path", paths.unixPath},
                          {"ldPath", paths.ldPath},
                          {"runDir", runDir},
                          {"log", set.log},
                          {"wrapper", set.wrapperSh}});
}

std::string jsHead(const ScriptSet& set, const SearchPaths& paths) {
    return fill(kJsHead, {{"product", HUTEnv::getProductName()},
                          {"file", set.js},
                          {"kind", set.kind},
                          {"copyright", HUTEnv::getCopyRight()},
                          {"path", paths.winPath},
                          {"wrapper", set.wrapperJs}});
}

std::string jsFooter() {
    return kJsFooter;
}

std::string batScript(const ScriptSet& set) {
    std::string text = fill(kBatHead, {{"product", HUTEnv::getProductName()},
                                       {"file", set.bat},
                                       {"copyright", HUTEnv::getCopyRight()}});
    if (!HUTFork::isInPath("cscript.exe"))
        text += kBatPath;
    return text + fill(kBatCall, {{"script", set.js}});
}

std::string scriptDirOf(const HAXPExpRunBase* run) {
    std::string dir;
    if (run != nullptr)
        run->getRunDir(dir);
    if (dir.empty())
        throw HEXAlgException("run scripts need a run with a directory");
    return dir + HUTFile::getDirSeparator();
}

HAXPDataMgr* dataMgrOf(const HAXPExpRunBase* run) {
    const HAXPStrategy* strategy = run == nullptr ? nullptr : run->getStrategy();
    const HAXPFlow* flow = strategy == nullptr ? nullptr : strategy->getFlow();
    return flow == nullptr ? nullptr : flow->getDataMgr();
}

void copyWrappers(const ScriptSet& set, const std::string& dir) {
    copyWrapper(set.wrapperJs, dir);
    copyWrapper(set.wrapperSh, dir);
    HUTFile(dir + set.wrapperSh).mkExecutable();
}

void writeBat(const std::string& path, const std::string& text) {
    HUTFile(path).rm();
    HUTFileUtils::rewriteFile(path, text, false);
}

}  // namespace xperiment
