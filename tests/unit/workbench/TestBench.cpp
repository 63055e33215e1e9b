// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "tests/unit/workbench/TestBench.h"

#include <cstdlib>
#include <ctime>
#include <stdexcept>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <unistd.h>

#include "environment/containers/HSTFwdIter.h"
#include "environment/files/HUTFile.h"
#include "environment/files/HUTFileUtils.h"
#include "runs/base/xperiment/HAXPExpRunStep.h"
#include "runs/base/xperiment/HAXPFlowStep.h"
#include "runs/base/xperiment/HAXPStrategy.h"
#include "workbench/HAXPExpRun.h"
#include "workbench/OpenRunInfo.h"
#include "workbench/openFlows.h"
#include "workbench/product.h"
#include "workbench/runLock.h"
#include "workbench/strategies.h"

namespace test {

namespace {

/// What holds for the process: the product with its strategies, and a user with a folder
/// of its own.
class Product : public ::testing::Environment {
public:
    void SetUp() override {
        setenv("XPERIMENT_APP_DATA_DIR", m_user.path().c_str(), 1);
        workbench::installProduct(XPERIMENT_BIN_DIR);
        workbench::restoreStrategies();
    }

private:
    RunDir m_user;
};

const ::testing::Environment* const s_product =
    ::testing::AddGlobalTestEnvironment(new Product);  // gtest deletes it

}  // namespace

TestBench::TestBench() {
    m_folder.mark("blinky.v", "module blinky (input clk, output led); endmodule\n");
    m_folder.mark("blinky.pcf", "set_io clk J3\n");
    const long anHourAgo = static_cast<long>(std::time(nullptr)) - 3600;
    m_folder.touch("blinky.v", anHourAgo);
    m_folder.touch("blinky.pcf", anHourAgo);
}

DesignInputs TestBench::inputs() const {
    DesignInputs inputs;
    inputs.sources = {path("blinky.v")};
    inputs.constraints = path("blinky.pcf");
    inputs.top = "blinky";
    return inputs;
}

std::unique_ptr<HAXPExpRun> TestBench::makeRun(const HAXPFlow& flow) const {
    auto run =
        std::make_unique<HAXPExpRun>("run_1", workbench::findStrategy(flow, "Default"), nullptr);
    run->getInfo().setInputs(inputs());
    return run;
}

void TestBench::finish(HAXPExpRun& run, long launchTime) const {
    std::string dir;
    run.getRunDir(dir);
    HUTFile(dir).mkDirRecursive();
    const std::unique_ptr<HSTFwdIter<HAXPExpRunStep*>> steps(run.createRunStepIter());
    while (steps->hasNext()) {
        const std::string program = steps->next()->getFlowStep()->getStatusTrackingStr();
        HUTFileUtils::replaceFile(run.pathOf("." + program + ".begin.rst"), handleText());
        HUTFileUtils::replaceFile(run.pathOf("." + program + ".end.rst"), "");
    }
    auto snapshot = std::make_unique<HAXPStrategy>();
    snapshot->copyStrat(run.getStrategy(), true, boost::logic::indeterminate);
    delete run.getInfo().getRunSnapshotStrategy();
    run.getInfo().setRunSnapshotStrategy(snapshot.release());
    run.getInfo().setLaunch(launchTime, "");
    run.getInfo().recordLaunch();
    run.setRunMode(HAXPExpRun::kLaunched);
    run.updateStatus();
}

const HAXPFlow& TestBench::synthesis() {
    return *OpenFlows::getSynthesis();
}

const HAXPFlow& TestBench::implementation() {
    return *OpenFlows::getImplementation();
}

std::string TestBench::handleText() {
    return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
           "<ProcessHandle Version=\"1\" Minor=\"0\">\n"
           "  <Process Host=\"a.host\" Owner=\"user\" Uid=\"1000\" Pid=\"4711\" Pgid=\"4711\" "
           "StartTicks=\"12345\" BootId=\"b0\"/>\n"
           "  <Command>ice40_synth</Command>\n"
           "</ProcessHandle>\n";
}

HeldRunLock::HeldRunLock(const std::string& runDir)
    : m_fd(open((runDir + "/" + workbench::kRunLockName).c_str(), O_RDWR | O_CREAT | O_CLOEXEC,
                0644)) {
    if (m_fd < 0 || flock(m_fd, LOCK_EX | LOCK_NB) != 0)
        throw std::runtime_error("the lock can't be taken in " + runDir);
}

HeldRunLock::~HeldRunLock() {
    close(m_fd);
}

}  // namespace test
