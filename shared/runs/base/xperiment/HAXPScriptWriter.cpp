// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "runs/base/xperiment/HAXPScriptWriter.h"

#include <utility>

#include "environment/containers/HSTFwdIter.h"
#include "environment/errors/HEXAlgException.h"
#include "environment/files/HUTFile.h"
#include "environment/files/HUTFileUtils.h"
#include "environment/installation/HUTEnv.h"
#include "environment/messages/ComMsgMgr.h"
#include "environment/process/HUTFork.h"
#include "environment/strings/HSTStringUtils.h"
#include "runs/base/xperiment/HAXPDataMgr.h"
#include "runs/base/xperiment/HAXPExpInfoBase.h"
#include "runs/base/xperiment/HAXPExpRunBase.h"
#include "runs/base/xperiment/HAXPExpRunStep.h"
#include "runs/base/xperiment/HAXPFlow.h"
#include "runs/base/xperiment/HAXPFlowStep.h"
#include "runs/base/xperiment/HAXPStrategy.h"
#include "runs/base/xperiment/HAXPTypes.h"
#include "runs/base/xperiment/HAXPUtilsBase.h"
#include "runs/base/xperiment/HDGUIStatus.h"
#include "runs/base/xperiment/scriptText.h"
#include "runs/base/xperiment/scriptTools.h"
#include "runs/base/xperiment/stepCheckpoints.h"
#include "runs/base/xperiment/stepMarkers.h"

using xperiment::environment;
using xperiment::fill;

namespace {

const std::string kStepWrapperSh = "ZUMWrap.sh";
const std::string kStepWrapperJs = "ZUMWrap.js";

constexpr char kBatHead[] = R"(@echo off

rem  @{product} (TM)
rem  runme.bat: a @{product}-generated Script
rem  @{copyright}


set MQ_SDIR=%~dp0
cd /d "%MQ_SDIR%"
)";
constexpr char kBatPath[] = "set PATH=%SYSTEMROOT%\\system32;%PATH%\n";
constexpr char kBatCall[] = "cscript /nologo /E:JScript \"%MQ_SDIR%\\rundef.js\" %*\n";

constexpr char kShHead[] = R"(#!/bin/sh

@{hash}
# @{product}(TM)
# runme.sh: a @{product}-generated Runs Script for UNIX
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

MQ_LOG=runme.log
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
// rundef.js: a @{product}-generated Runs Script for WSH 5.1/5.6
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

constexpr char kHtrHead[] = R"(#
# @{product}(TM)
# htr.txt: a @{product}-generated description of how-to-repeat the
#          the basic steps of a run.  Note that runme.bat/sh needs
#          to be invoked for @{product} to track run status.
# @{copyright}
#

)";

/// The search paths that the head of a script sets.
struct SearchPaths {
    std::string unixPath;
    std::string winPath;
    std::string ldPath;
};

/// The programs of high-level synthesis, for the products that call them; else empty.
std::string hlsBin(const std::string& product) {
    if (!HSTStringUtils::iequals(product, "zbuild") && !HSTStringUtils::iequals(product, "k++"))
        return {};
    std::string root = environment("ORVANE_HLS");
    if (root.empty())
        root = environment("ORVANE_TARNEL_HLS");
    return root.empty() ? root : root + HUTFile::getDirSeparator() + "bin";
}

SearchPaths searchPaths(const std::string& product) {
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
    const std::string hls = hlsBin(product);
    if (!hls.empty()) {
        paths.unixPath = hls + ":" + paths.unixPath;
        paths.winPath = hls + ";" + paths.winPath;
    }
    return paths;
}

using Options = HSTVector<HAXPUtilsBase::OptionInfo>;

bool isFileWithBlank(const HAXPUtilsBase::OptionInfo& option) {
    return option.type == HATAttrTypes::kFile && option.value.find(' ') != std::string::npos;
}

/// The options as they stand in "rundef.js" and "htr.txt": a file name with a blank in
/// double quotes, all else as it is.
std::string plainArgs(const Options& options) {
    std::string args;
    for (const HAXPUtilsBase::OptionInfo& option : options) {
        HAXPUtilsBase::addStr(args, option.name);
        HAXPUtilsBase::addStr(args, isFileWithBlank(option) ? xperiment::quoted(option.value)
                                                            : option.value);
    }
    return args;
}

/// The options as they stand in "runme.sh", where a file name with a blank goes through
/// a shell variable; `assignments` gets the lines that set them.
std::string shellArgs(const Options& options, const std::string& invoke, std::string& assignments) {
    std::string stem = invoke;
    HSTStringUtils::to_upper(stem);
    std::string args;
    int counter = 1;
    for (const HAXPUtilsBase::OptionInfo& option : options) {
        HAXPUtilsBase::addStr(args, option.name);
        if (!isFileWithBlank(option)) {
            HAXPUtilsBase::addStr(args, option.value);
            continue;
        }
        const std::string variable = stem + "_" + std::to_string(counter++);
        assignments += variable + "=" + xperiment::quoted(option.value) + "\n\n";
        HAXPUtilsBase::addStr(args, xperiment::quoted("$" + variable));
    }
    return args;
}

std::string between(const std::string& pre, const std::string& args, const std::string& post) {
    std::string command = pre;
    HAXPUtilsBase::addStr(command, args);
    HAXPUtilsBase::addStr(command, post);
    return command;
}

HAXPDataMgr* dataMgrOf(const HAXPExpRunBase& run) {
    const HAXPStrategy* strategy = run.getStrategy();
    const HAXPFlow* flow = strategy == nullptr ? nullptr : strategy->getFlow();
    return flow == nullptr ? nullptr : flow->getDataMgr();
}

/// What names in the run directory begin with.
std::string dirOf(const HAXPExpRunBase* run) {
    std::string dir;
    if (run != nullptr)
        run->getRunDir(dir);
    if (dir.empty())
        throw HEXAlgException("run scripts need a run with a directory");
    return dir + HUTFile::getDirSeparator();
}

void copyHelper(const std::string& runDir, const std::string& name) {
    const std::string& sep = HUTFile::getDirSeparator();
    const std::string rel = "scripts" + sep + name;
    HUTFile(HUTEnv::getKPXAppRoot(rel) + sep + rel)
        .copyTo(runDir + name, HUTFile::kReplaceExisting);
}

}  // namespace

/// The texts of one generation. They reach the disk when it ends, be it by an
/// exception: what was written until then stands in the files.
struct HAXPScriptWriter::Streams {
    explicit Streams(const std::string& runDir)
        : shPath(runDir + "runme.sh"), jsPath(runDir + "rundef.js"), htrPath(runDir + "htr.txt") {}

    ~Streams() {
        HUTFileUtils::rewriteFile(shPath, sh, true);
        HUTFileUtils::rewriteFile(jsPath, js, false);
        HUTFileUtils::rewriteFile(htrPath, htr, false);
    }

    Streams(const Streams&) = delete;
    Streams& operator=(const Streams&) = delete;

    std::string shPath;
    std::string jsPath;
    std::string htrPath;
    std::string sh;
    std::string js;
    std::string htr;
    xperiment::ToolSearch tools;
};

HAXPScriptWriter::HAXPScriptWriter(HAXPExpRunBase* run) : m_run(run) {}

HAXPScriptWriter::~HAXPScriptWriter() = default;

void HAXPScriptWriter::writeScript() {
    copyHelperScripts();
    openOstrs();
    writeHeader();
    writePreCmds();
    HUTFile(dirOf(m_run) + xperiment::stopMarker).rm();
    writeSteps_();
    writePostCmds();
    writeFooter();
    closeOstrs();
}

void HAXPScriptWriter::copyHelperScripts() {
    const std::string runDir = dirOf(m_run);
    copyHelper(runDir, kStepWrapperJs);
    copyHelper(runDir, kStepWrapperSh);
    HUTFile(runDir + kStepWrapperSh).mkExecutable();
}

void HAXPScriptWriter::openOstrs() {
    const std::string runDir = dirOf(m_run);
    // Files that a failed generation left open are written now, before those of this one.
    m_streams = std::make_unique<Streams>(runDir);
    std::string bat = fill(
        kBatHead, {{"product", HUTEnv::getProductName()}, {"copyright", HUTEnv::getCopyRight()}});
    if (!HUTFork::isInPath("cscript.exe"))
        bat += kBatPath;
    const std::string batPath = runDir + "runme.bat";
    HUTFile(batPath).rm();
    HUTFileUtils::rewriteFile(batPath, bat + kBatCall, false);
}

void HAXPScriptWriter::writeHeader() {
    Streams& out = streams_();
    const std::string product = HUTEnv::getProductName();
    const std::string copyright = HUTEnv::getCopyRight();
    const SearchPaths paths = searchPaths(product);
    std::string runDir;
    m_run->getRunDir(runDir);
    out.sh += fill(kShHead, {{"hash", "# "},
                             {"product", product},
                             {"copyright", copyright},
                             {"path", paths.unixPath},
                             {"ldPath", paths.ldPath},
                             {"runDir", runDir},
                             {"wrapper", kStepWrapperSh}});
    out.js += fill(kJsHead, {{"product", product},
                             {"copyright", copyright},
                             {"path", paths.winPath},
                             {"wrapper", kStepWrapperJs}});
    out.htr += fill(kHtrHead, {{"product", product}, {"copyright", copyright}});
}

void HAXPScriptWriter::writePreCmds() {
    Streams& out = streams_();
    HAXPDataMgr* dataMgr = dataMgrOf(*m_run);
    if (dataMgr == nullptr)
        return;
    std::string jsCmds;
    std::string shCmds;
    std::string htrCmds;
    dataMgr->scriptPreCmds(m_run, jsCmds, shCmds, htrCmds);
    if (!jsCmds.empty())
        out.js += "// pre-commands:\n" + jsCmds + "\n\n\n";
    if (!shCmds.empty())
        out.sh += "# pre-commands:\n" + shCmds + "\n\n\n";
    if (!htrCmds.empty())
        out.htr += htrCmds + "\n";
}

void HAXPScriptWriter::writeStep(const HAXPExpRunStep* step, bool notStarted) {
    Streams& out = streams_();
    const HAXPFlowStep* flowStep = step->getFlowStep();
    const std::string invoke = flowStep->getInvokeStr();
    if (!out.tools.exists(invoke))
        ComMsgMgr::sendMsg::eval(0, __FILE__, __LINE__, "runs", ComMsgMgr::kCriticalWarning,
                                 "@36-16@%s", invoke);

    std::string assignments;
    std::string shArgs;
    std::string jsArgs;
    if (flowStep->getCmdLineOptions()) {
        Options options;
        HAXPUtilsBase::getOptions(m_run, step->getOptions(), options);
        shArgs = shellArgs(options, invoke, assignments);
        jsArgs = plainArgs(options);
    }
    std::string pre;
    std::string post;
    flowStep->writePrePostOptions(pre, post, step->getOptions(), m_run);

    out.sh += assignments;
    out.sh +=
        (notStarted ? "" : "# ") + ("EAStep " + invoke + " ") + between(pre, shArgs, post) + "\n";
    const char* jsMark = notStarted ? "" : "// ";
    out.js += jsMark + ("ZUMStep( \"" + invoke + "\",\n");
    out.js +=
        jsMark + ("         \"" + xperiment::escapeJs(between(pre, jsArgs, post)) + "\" );\n");

    std::string htrArgs;
    if (flowStep->getCmdLineOptions()) {
        // Listed anew: the data manager is asked for each listing.
        Options options;
        HAXPUtilsBase::getOptions(m_run, step->getOptions(), options);
        htrArgs = plainArgs(options);
    }
    out.htr += (notStarted ? "" : "# ") + (invoke + " ") + between(pre, htrArgs, post) + "\n";
}

void HAXPScriptWriter::writePostCmds() {
    Streams& out = streams_();
    HAXPDataMgr* dataMgr = dataMgrOf(*m_run);
    if (dataMgr == nullptr)
        return;
    std::string jsCmds;
    std::string shCmds;
    dataMgr->scriptPostCmds(m_run, jsCmds, shCmds);
    if (!jsCmds.empty())
        out.js += "// post-commands:\n" + jsCmds + "\n\n\n";
    if (!shCmds.empty())
        out.sh += "# post-commands:\n" + shCmds + "\n\n\n";
}

void HAXPScriptWriter::writeFooter() {
    streams_().js += kJsFooter;
}

void HAXPScriptWriter::closeOstrs() {
    m_streams.reset();
}

void HAXPScriptWriter::getOutputDcp(const HAXPExpRunStep* step, std::string& dcp) const {
    const HAXPExpInfoBase* info = m_run->getExpInfoBase();
    HAXPTypes::FileType type = HAXPTypes::FILE_UNKNOWN;
    if (info != nullptr &&
        xperiment::findCheckpointType(step->getFlowStep()->getFlowStepId(), type))
        dcp = info->getFile(type);
}

void HAXPScriptWriter::writeSteps_() {
    const HAXPExpRunStep* first = m_run->getFirstIncompleteStep();
    const HAXPExpRunStep* to = m_run->getToStep();
    bool started = false;
    const std::unique_ptr<HSTFwdIter<HAXPExpRunStep*>> steps(m_run->createRunStepIter());
    while (steps->hasNext()) {
        const HAXPExpRunStep* step = steps->next();
        started = started || step == first;
        if (started && step->getFlowStep()->writeToRunScript())
            writeStep(step, step->getStatus()->getCode() == HDGUIStatus::statusNotStarted);
        if (step == to)
            return;
    }
}

HAXPScriptWriter::Streams& HAXPScriptWriter::streams_() {
    if (m_streams == nullptr)
        throw HEXAlgException("the run scripts aren't open");
    return *m_streams;
}
