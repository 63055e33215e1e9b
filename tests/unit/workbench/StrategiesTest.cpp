// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "workbench/strategies.h"

#include <filesystem>
#include <fstream>
#include <memory>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "environment/containers/HSTFwdIter.h"
#include "environment/containers/HSTSList.h"
#include "environment/errors/HEXUserException.h"
#include "environment/installation/HUTEnv.h"
#include "environment/installation/Installation.h"
#include "environment/options/HATAttrSpec.h"
#include "environment/options/HATOptGroup.h"
#include "runs/base/xperiment/HAXPFlow.h"
#include "runs/base/xperiment/HAXPFlowStepOptions.h"
#include "runs/base/xperiment/HAXPMgr.h"
#include "runs/base/xperiment/HAXPStrategy.h"
#include "runs/base/xpstratxio/HAXSStrategyXMLParser.h"
#include "runs/base/xpstratxio/HAXSStrategyXMLWriter.h"
#include "tests/support/MessageRecorder.h"
#include "tests/support/RunDir.h"
#include "tests/support/thrownText.h"
#include "tests/unit/runs/xpreport/schemaFile.h"
#include "tests/unit/workbench/TestBench.h"
#include "workbench/HAXPExpRun.h"
#include "workbench/Project.h"

namespace fs = std::filesystem;

namespace {

std::string contentOf(const fs::path& path) {
    std::ostringstream content;
    content << std::ifstream(path).rdbuf();
    return content.str();
}

std::vector<fs::path> shippedFiles() {
    std::vector<fs::path> files;
    for (const auto& entry : fs::directory_iterator(XPERIMENT_DATA_DIR "/strategies"))
        files.push_back(entry.path());
    return files;
}

/// The strategy in a file; null unless there is exactly one and the file was read without
/// a message and without passing anything over.
std::unique_ptr<HAXPStrategy> readWhole(const fs::path& path) {
    const test::MessageRecorder messages;
    HAXSStrategyXMLParser parser;
    const bool isRead = parser.parseStrategies(path.string());
    std::unique_ptr<HAXPStrategy> strategy(parser.getOneStrategy());
    const bool isWhole = isRead && messages.ids().empty() && !parser.needsBackup();
    return isWhole ? std::move(strategy) : nullptr;
}

std::vector<std::string> namesOf(const HAXPFlow& flow) {
    std::vector<std::string> names;
    for (const HAXPStrategy* strategy : workbench::strategiesOf(flow))
        names.push_back(strategy->getName());
    return names;
}

class StrategiesTest : public ::testing::Test {
protected:
    std::vector<const HAXPFlow*> flows() const {
        return {&test::TestBench::synthesis(), &test::TestBench::implementation()};
    }

    test::TestBench m_bench;
};

TEST_F(StrategiesTest, ShippedFilesKeepTheSchema) {
    ASSERT_FALSE(shippedFiles().empty());
    for (const fs::path& file : shippedFiles())
        EXPECT_TRUE(test::reports::isValidBySchema("strategy.xsd", contentOf(file))) << file;
}

TEST_F(StrategiesTest, ShippedFilesHoldOnlyWhatTheFlowsKnow) {
    for (const fs::path& file : shippedFiles()) {
        const auto strategy = readWhole(file);
        ASSERT_NE(strategy, nullptr) << file;
        EXPECT_EQ(file.filename(),
                  strategy->getName() + "." + strategy->getFlow()->getFlowId() + ".psg");
        EXPECT_FALSE(strategy->getDescription().empty()) << file;
        EXPECT_NO_THROW(workbench::requireScriptValues(*strategy)) << file;
    }
}

TEST_F(StrategiesTest, ShippedFilesAreAsTheWriterMakesThem) {
    const test::RunDir folder;
    for (const fs::path& file : shippedFiles()) {
        const auto strategy = readWhole(file);
        ASSERT_NE(strategy, nullptr) << file;
        HAXSStrategyXMLWriter(folder.path("again.psg")).writeStrategy(strategy.get());
        EXPECT_EQ(folder.read("again.psg"), contentOf(file)) << file;
    }
}

TEST_F(StrategiesTest, EachFlowHasADefaultInFrontAndOthersByName) {
    EXPECT_EQ(namesOf(test::TestBench::synthesis()),
              (std::vector<std::string>{"Default", "Area", "Hierarchy", "Performance"}));
    EXPECT_EQ(
        namesOf(test::TestBench::implementation()),
        (std::vector<std::string>{"Default", "Annealing", "Explore", "LowGlobals", "Performance"}));
}

TEST_F(StrategiesTest, ShippedOnesApplyToARun) {
    for (const HAXPFlow* flow : flows()) {
        for (HAXPStrategy* strategy : workbench::strategiesOf(*flow)) {
            EXPECT_FALSE(strategy->isUserDefined());
            const HAXPExpRun run("run_1", strategy, nullptr);
            EXPECT_FALSE(run.getStrategy()->differsFrom(strategy)) << strategy->getName();
        }
    }
}

TEST_F(StrategiesTest, ShippedOnesDifferFromTheDefault) {
    for (const HAXPFlow* flow : flows()) {
        HAXPStrategy* plain = workbench::findStrategy(*flow, "Default");
        for (const HAXPStrategy* strategy : workbench::strategiesOf(*flow))
            EXPECT_EQ(strategy->differsFrom(plain), strategy != plain) << strategy->getName();
    }
}

TEST_F(StrategiesTest, AnUnknownNameFindsNone) {
    EXPECT_EQ(workbench::findStrategy(test::TestBench::synthesis(), "default"), nullptr);
    EXPECT_EQ(workbench::findStrategy(test::TestBench::synthesis(), ""), nullptr);
}

TEST_F(StrategiesTest, AUsersStrategyStandsBehindTheShippedOnesAndStartsARun) {
    const HAXPFlow& flow = test::TestBench::synthesis();
    workbench::restoreStrategies();
    HAXPStrategy* mine =
        HAXPMgr::getGlobal()->copyStrategy(workbench::findStrategy(flow, "Area"), "A first name");
    EXPECT_EQ(namesOf(flow).back(), "A first name");
    const auto project = Project::create(m_bench.path("proj"), m_bench.inputs());
    const HAXPExpRun& run = project->createRun("synth_1", flow, "A first name", "");
    EXPECT_EQ(run.getStrategy()->getName(), "A first name");
    EXPECT_FALSE(run.getStrategy()->differsFrom(mine));
    project->save();
    HAXPMgr::getGlobal()->deleteStrategy(mine);
}

TEST_F(StrategiesTest, AProjectWhoseStrategyIsGoneStillOpensWithItsValues) {
    const HAXPFlow& flow = test::TestBench::synthesis();
    workbench::restoreStrategies();
    HAXPStrategy* mine =
        HAXPMgr::getGlobal()->copyStrategy(workbench::findStrategy(flow, "Area"), "Short-lived");
    {
        const auto project = Project::create(m_bench.path("proj"), m_bench.inputs());
        project->createRun("synth_1", flow, "Short-lived", "");
        project->save();
    }
    HAXPMgr::getGlobal()->deleteStrategy(mine);
    const auto project = Project::open(m_bench.path("proj"), Project::kRead);
    const HAXPStrategy& copy = *project->getRun("synth_1").getStrategy();
    EXPECT_EQ(copy.getName(), "Short-lived");
    EXPECT_FALSE(copy.differsFrom(workbench::findStrategy(flow, "Area")));
}

TEST_F(StrategiesTest, AValueThatAShellWouldReadIsRefused) {
    const HAXPStrategy strategy(&test::TestBench::synthesis());
    EXPECT_NO_THROW(workbench::requireScriptValues(strategy));
    HATOptGroup& attrs = *strategy.getRunStepOptions("synth_design")->getAttrs();
    HSTSList<std::string> words;
    words.push_back("$(reboot)");
    attrs.setStrListVal(attrs.getAttrSpecForDbId("REPORTS"), words, true);
    const std::string text =
        test::thrownText<HEXUserException>([&] { workbench::requireScriptValues(strategy); });
    EXPECT_NE(text.find("\"$(reboot)\" of option synth_design."), std::string::npos) << text;
}

/// With a folder of its own for the user.
class StrategyLockTest : public StrategiesTest {
protected:
    ~StrategyLockTest() override { HUTEnv::setInstallation(m_before); }

    void setUserFolder(const std::string& path) {
        Installation installation = m_before;
        installation.appDataDir = path;
        HUTEnv::setInstallation(installation);
    }

    const Installation m_before = HUTEnv::getInstallation();
    test::RunDir m_folder;
};

TEST_F(StrategyLockTest, KeepsASecondOneOutUntilItGoes) {
    setUserFolder(m_folder.path("new/user"));
    {
        const workbench::StrategyLock first;
        EXPECT_EQ(
            test::thrownText<HEXUserException>([] { const workbench::StrategyLock second(0); }),
            "Your strategies in " + m_folder.path("new/user") +
                " are being changed by another process. Wait until it is done, or end it; "
                "nothing was changed.");
    }
    EXPECT_NO_THROW(const workbench::StrategyLock third(0));
}

TEST_F(StrategyLockTest, NeedsAFolderForTheUser) {
    setUserFolder("");
    EXPECT_EQ(test::thrownText<HEXUserException>([] { const workbench::StrategyLock lock; }),
              "There is no folder for your strategies, since neither XDG_CONFIG_HOME nor HOME "
              "names one. Set one of them.");
}

TEST_F(StrategyLockTest, TellsWhyTheFolderCantBeMade) {
    m_folder.mark("file");
    setUserFolder(m_folder.path("file/user"));
    EXPECT_EQ(test::thrownText<HEXUserException>([] { const workbench::StrategyLock lock; }),
              "Your strategies in " + m_folder.path("file/user") +
                  " can't be changed: Not a directory. Make room or get the right to write there, "
                  "then try again; nothing was changed.");
}

}  // namespace
