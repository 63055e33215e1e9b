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
#include "environment/strings/HSTStringUtils.h"
#include "runs/base/xperiment/HAXPDataMgr.h"
#include "runs/base/xperiment/HAXPExpInfoBase.h"
#include "runs/base/xperiment/HAXPExpRunBase.h"
#include "runs/base/xperiment/HAXPExpRunStep.h"
#include "runs/base/xperiment/HAXPFlowStep.h"
#include "runs/base/xperiment/HAXPTypes.h"
#include "runs/base/xperiment/HAXPUtilsBase.h"
#include "runs/base/xperiment/HDGUIStatus.h"
#include "runs/base/xperiment/scriptFrame.h"
#include "runs/base/xperiment/scriptText.h"
#include "runs/base/xperiment/scriptTools.h"
#include "runs/base/xperiment/stepCheckpoints.h"
#include "runs/base/xperiment/stepMarkers.h"

using xperiment::dataMgrOf;
using xperiment::fill;
using xperiment::SearchPaths;

namespace {

/// The scripts of a run. Beside them stands "htr.txt".
const xperiment::ScriptSet& runScripts() {
    static const xperiment::ScriptSet set = {"Runs Script", "runme.sh",   "rundef.js", "runme.bat",
                                             "runme.log",   "ZUMWrap.sh", "ZUMWrap.js"};
    return set;
}

constexpr char kHtrHead[] = R"(#
# @{product}(TM)
# htr.txt: a @{product}-generated description of how-to-repeat the
#          the basic steps of a run.  Note that runme.bat/sh needs
#          to be invoked for @{product} to track run status.
# @{copyright}
#

)";

/// The programs of high-level synthesis, for the products that call them; else empty.
std::string hlsBin(const std::string& product) {
    if (!HSTStringUtils::iequals(product, "zbuild") && !HSTStringUtils::iequals(product, "k++"))
        return {};
    std::string root = xperiment::environment("ORVANE_HLS");
    if (root.empty())
        root = xperiment::environment("ORVANE_TARNEL_HLS");
    return root.empty() ? root : root + HUTFile::getDirSeparator() + "bin";
}

SearchPaths pathsOfTools(const std::string& product) {
    SearchPaths paths = xperiment::searchPaths();
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

}  // namespace

/// The texts of one generation. They reach the disk when it ends, be it by an
/// exception: what was written until then stands in the files.
struct HAXPScriptWriter::Streams {
    explicit Streams(const std::string& runDir)
        : shPath(runDir + runScripts().sh), jsPath(runDir + runScripts().js),
          htrPath(runDir + "htr.txt") {}

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
    HUTFile(xperiment::scriptDirOf(m_run) + xperiment::stopMarker).rm();
    writeSteps_();
    writePostCmds();
    writeFooter();
    closeOstrs();
}

void HAXPScriptWriter::copyHelperScripts() {
    xperiment::copyWrappers(runScripts(), xperiment::scriptDirOf(m_run));
}

void HAXPScriptWriter::openOstrs() {
    const std::string runDir = xperiment::scriptDirOf(m_run);
    // Files that a failed generation left open are written now, before those of this one.
    m_streams = std::make_unique<Streams>(runDir);
    xperiment::writeBat(runDir + runScripts().bat, xperiment::batScript(runScripts()));
}

void HAXPScriptWriter::writeHeader() {
    Streams& out = streams_();
    const std::string product = HUTEnv::getProductName();
    const SearchPaths paths = pathsOfTools(product);
    std::string runDir;
    m_run->getRunDir(runDir);
    out.sh += xperiment::shHead(runScripts(), paths, runDir);
    out.js += xperiment::jsHead(runScripts(), paths);
    out.htr += fill(kHtrHead, {{"product", product}, {"copyright", HUTEnv::getCopyRight()}});
}

void HAXPScriptWriter::writePreCmds() {
    Streams& out = streams_();
    HAXPDataMgr* dataMgr = dataMgrOf(m_run);
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
    HAXPDataMgr* dataMgr = dataMgrOf(m_run);
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
    streams_().js += xperiment::jsFooter();
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
