// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
//
// Makes a flow of one step, a run over it, launches its script for real, reads the status back,
// changes the text, and exports the result.

#include <fstream>
#include <iostream>
#include <memory>
#include <string>

#include "LettersDataMgr.h"
#include "LettersRun.h"
#include "LettersRunInfo.h"
#include "LettersStats.h"
#include "LettersStep.h"
#include "LettersStepFilter.h"
#include "LettersStrategies.h"
#include "environment/containers/HSTFwdIter.h"
#include "environment/observers/HUTGuiEvent.h"
#include "environment/options/HATAttrSpec.h"
#include "environment/options/HATOptGroup.h"
#include "environment/process/HUTFork.h"
#include "runs/base/xperiment/HAXPDataMgr.h"
#include "runs/base/xperiment/HAXPExpRunStep.h"
#include "runs/base/xperiment/HAXPFlow.h"
#include "runs/base/xperiment/HAXPMgr.h"
#include "runs/base/xperiment/HAXPScriptWriter.h"
#include "runs/base/xperiment/HAXPStatSpec.h"
#include "runs/base/xperiment/HAXPStrategy.h"
#include "runs/base/xperiment/HDGUIStatus.h"

namespace {

/// Tells what is checked, and whether it holds.
bool check(bool holds, const char* what) {
    std::cout << (holds ? "ok: " : "FAILED: ") << what << "\n";
    return holds;
}

void write(const std::string& path, const std::string& text) {
    std::ofstream(path) << text;
}

std::string firstLineOf(const std::string& path) {
    std::ifstream file(path);
    std::string line;
    std::getline(file, line);
    return line;
}

long linesOf(LettersRun& run) {
    run.updateStats();
    const std::unique_ptr<HSTFwdIter<HAXPStat*>> stats(run.createStatIter());
    while (stats->hasNext()) {
        const HAXPStat* stat = stats->next();
        if (stat->getStatSpec()->getName() == LinesStat::kName && stat->isAvailable())
            return stat->getLongVal();
    }
    return -1;
}

/// Writes the scripts and runs them to their end.
bool launch(LettersRun& run, const std::string& dir) {
    HAXPScriptWriter(&run).writeScript();
    run.getInfo().recordLaunch();
    HUTFork script;
    script.addArg(dir + "/runme.sh");
    script.setWorkingDir(dir);
    return script.launch(true, true, false, true) == 0;
}

bool tryIt(const std::string& folder) {
    HAXPFlow* flow = HAXPMgr::getGlobal()->createFlow("Letters", "1", "sorting");
    // The flow owns both.
    flow->addDefaultFlowStep(new LettersStep);
    flow->setDataMgr(new LettersDataMgr);
    LinesStat::add();

    LettersStrategies owner;
    const HAXPStrategy strategy(flow);
    LettersRun run("run_1", &strategy, &owner);
    const std::string text = folder + "/a text.txt";
    write(text, "b\nc\na\n");
    run.getInfo().setText(text);
    HATOptGroup* options = run.getFirstStep()->getOptions();
    options->setBoolVal(options->getAttrSpecByName("backwards"), true, true);
    bool ok = check(run.isDirty(), "a changed option marks the run");
    run.getStrategy()->setDescription("Backwards");
    ok = check(owner.changes() == 1, "the owner of a strategy hears of its changes") && ok;

    HAXPDataMgr::assignRunDir(&run, folder);
    std::string dir;
    run.getRunDir(dir);
    ok = check(launch(run, dir), "the script ran") && ok;
    run.updateStatus();
    ok = check(run.getStatus()->getCode() == HDGUIStatus::statusDone, "the run is done") && ok;
    ok = check(firstLineOf(dir + "/" + LettersStep::kResult) == "c", "its result is sorted") && ok;
    ok = check(linesOf(run) == 3, "its statistic counts three lines") && ok;

    run.getInfo().updStaleReasons();
    ok = check(!run.getInfo().isStale(), "nothing is stale after a launch") && ok;
    write(text, "b\nc\na\nd\n");
    HUTGuiEvent::fire(HUTGuiEvent::GuiEventBase("text saved"));
    ok = check(run.getInfo().isStale(), "a changed text makes it stale") && ok;

    HDGUIStatus exported;
    flow->getDataMgr()->exportData(&run, nullptr, exported);
    ok = check(firstLineOf(dir + ".txt") == "c", "the result was exported") && ok;
    run.updateStatus();
    return check(run.getStatus()->getText() == "The sorted lines are missing" ||
                     run.getFirstStep()->getStatus()->getText() == "The sorted lines are missing",
                 "a result that is gone is told") &&
           ok;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::cerr << "usage: letters FOLDER\n";
        return 2;
    }
    static LettersStepFilter filter;
    HAXPStrategy::installFilter(&filter);
    return tryIt(argv[1]) ? 0 : 1;
}
