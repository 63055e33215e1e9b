// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include <cerrno>

#include <gmock/gmock.h>

#include "environment/errors/HEXAlgException.h"
#include "environment/errors/HEXDataException.h"
#include "environment/errors/HEXFileNotFoundException.h"
#include "environment/errors/HXMLException.h"
#include "runs/base/xperiment/HAXPMgr.h"
#include "runs/base/xpreport/HAXRReportStrategy.h"
#include "tests/support/FaultyDisk.h"
#include "tests/support/thrownText.h"
#include "tests/unit/runs/xperiment/strategyMgrFixture.h"
#include "tests/unit/runs/xpreport/reportFixture.h"

namespace {

using test::thrownText;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::UnorderedElementsAre;

struct DeleteStrategy {
    void operator()(HAXRReportStrategy* strategy) const {
        strategy->nukeSteps();
        delete strategy;
    }
};
using Owned = std::unique_ptr<HAXRReportStrategy, DeleteStrategy>;

std::string reportFileOf(const std::string& name,
                         const std::string& tool = "Major=\"2023\" Minor=\"2\"") {
    return "<ReportStrategies Version=\"1\" Minor=\"0\"><Tool " + tool +
           "/><ReportStrategy><ReportStratHandle Name=\"" + name +
           "\" Flow=\"kept_flow\"><Desc>about</Desc></ReportStratHandle></ReportStrategy>"
           "</ReportStrategies>";
}

/// The manager's report strategies, in the way of its strategies.
class ReportStrategyMgrTest : public test::StrategyMgrTest {
protected:
    ~ReportStrategyMgrTest() override { forgetReports(); }

    void forgetReports() {
        for (HAXRReportStrategy* strategy :
             test::drain(m_manager->createReportStrategyIter(m_flow)))
            DeleteStrategy()(strategy);
    }
    void restartAndRestoreReports() {
        forgetReports();
        restart();
        m_manager->restoreAllReportStrategies("psg");
    }

    std::string reports() const { return m_installation.appDataDir() + "/2023.2/reportstrategies"; }
    HAXRReportStrategy* create(const std::string& name) {
        return m_manager->createReportStrategy(m_flow, name);
    }
    HAXRReportStrategy* find(const std::string& name) const {
        return m_manager->findReportStrategy(m_flow, name);
    }
    HAXRReportStrategy* addEnterprise(const std::string& name) {
        Owned strategy(new HAXRReportStrategy(m_flow));
        strategy->setName(name);
        strategy->setUserDefined(false);
        m_manager->registerReportStrategy(strategy.get());
        return strategy.release();
    }
    std::vector<std::string> reportNames() const {
        std::vector<std::string> names;
        for (const HAXRReportStrategy* strategy :
             test::drain(m_manager->createReportStrategyIter(m_flow)))
            names.push_back(strategy->getName());
        return names;
    }
};

TEST_F(ReportStrategyMgrTest, HasNothingAtFirst) {
    EXPECT_EQ(m_manager->getReportStratVec(m_flow), nullptr);
    EXPECT_EQ(m_manager->reportStrategyCount(m_flow), 0);
    EXPECT_THAT(reportNames(), IsEmpty());
    EXPECT_EQ(find(""), nullptr);
    EXPECT_TRUE(m_manager->isUniqueReportStrategyName(m_flow, ""));
    EXPECT_FALSE(m_manager->hasEquivalentReportStrategy(nullptr));
}

TEST_F(ReportStrategyMgrTest, KnowsItsDirectories) {
    EXPECT_EQ(m_manager->getGlobalReportStratDir(), m_installation.root() + "/reportstrategies");
    EXPECT_EQ(m_manager->getReleaseReportStratDir(), "reportstrategies");
    EXPECT_EQ(m_manager->getPersonalReportStratDir(), reports());
    EXPECT_EQ(m_manager->getUserGlobalReportStratDir(),
              m_installation.appDataDir() + "/reportstrategies");
    EXPECT_TRUE(exists(reports()));
    EXPECT_TRUE(exists(m_installation.appDataDir() + "/reportstrategies"));
    EXPECT_FALSE(exists(m_installation.root() + "/reportstrategies"));
}

TEST_F(ReportStrategyMgrTest, LivesBesideStrategiesOfTheSameName) {
    m_manager->createStrategy(m_flow, "Quick");
    EXPECT_TRUE(m_manager->isUniqueReportStrategyName(m_flow, "Quick"));
    HAXRReportStrategy* const strategy = create("Quick");
    EXPECT_EQ(find("Quick"), strategy);
    EXPECT_EQ(m_manager->reportStrategyCount(m_flow), 1);
}

TEST_F(ReportStrategyMgrTest, CreatesAUserStrategyThatIsModified) {
    const HAXRReportStrategy* const strategy = create("Quick");
    EXPECT_TRUE(strategy->isUserDefined());
    EXPECT_TRUE(strategy->isModified());
    EXPECT_EQ(strategy->getFilename(), reports() + "/Quick.kept_flow.psg");
    EXPECT_TRUE(exists(strategy->getFilename()));
}

TEST_F(ReportStrategyMgrTest, SavesEveryChangeAtOnce) {
    HAXRReportStrategy* const strategy = create("Quick");
    strategy->setDescription("later");
    EXPECT_THAT(contentOfFile(strategy->getFilename()), HasSubstr("later"));
    auto report = test::reports::makeReport("report_io");
    strategy->addSpec("synth", report.get(), true);
    static_cast<void>(report.release());
    EXPECT_THAT(contentOfFile(strategy->getFilename()), HasSubstr("report_io"));
    restartAndRestoreReports();
    EXPECT_EQ(find("Quick")->getDescription(), "later");
    EXPECT_TRUE(find("Quick")->isUserDefined());
    EXPECT_TRUE(find("Quick")->isModified());
}

TEST_F(ReportStrategyMgrTest, RefusesToSaveAChangedEnterpriseStrategy) {
    HAXRReportStrategy* const strategy = addEnterprise("Quick");
    EXPECT_EQ(thrownText<HEXAlgException>([&] { m_manager->saveReportStrat(strategy); }),
              "Can't save changes to an enterprise report strategy");
    EXPECT_EQ(thrownText<HEXAlgException>([&] { strategy->setName("Slow"); }),
              "Can't save changes to an enterprise report strategy");
    EXPECT_EQ(find("Slow"), strategy);
}

TEST_F(ReportStrategyMgrTest, CopiesAnEnterpriseStrategyToAUsers) {
    HAXRReportStrategy* const source = addEnterprise("Quick");
    const HAXRReportStrategy* const copy = m_manager->copyReportStrategy(source, "Mine");
    EXPECT_TRUE(copy->isUserDefined());
    EXPECT_TRUE(copy->isModified());
    EXPECT_THAT(reportNames(), ElementsAre("Quick", "Mine"));
    EXPECT_EQ(thrownText<HEXDataException>([&] { m_manager->copyReportStrategy(source, "Mine"); }),
              "non-unique report strategy name");
    EXPECT_EQ(thrownText<HEXAlgException>([&] { m_manager->copyReportStrategy(nullptr, "a"); }),
              "can't copy null strategy");
    EXPECT_THROW(m_manager->createReportStrategy(nullptr, "a"), HEXAlgException);
}

TEST_F(ReportStrategyMgrTest, KeepsAnInternalCopyOutOfTheRegistry) {
    HAXRReportStrategy* const source = create("Quick");
    const Owned internal(m_manager->createInternalReportStrategy(source));
    EXPECT_TRUE(internal->isInternal());
    EXPECT_EQ(internal->getName(), "Quick");
    EXPECT_EQ(find("Quick"), source);
    EXPECT_TRUE(m_manager->hasEquivalentReportStrategy(internal.get()));
    internal->setDescription("later");
    EXPECT_EQ(internal->getFilename(), reports() + "/Quick_2.kept_flow.psg");
}

TEST_F(ReportStrategyMgrTest, RenamesAStrategyWithItsFile) {
    HAXRReportStrategy* const strategy = create("Quick");
    create("Slow");
    const auto refusal = [&](HAXRReportStrategy* which, const std::string& name) {
        return thrownText<HEXDataException>([&] { m_manager->renameReportStrategy(which, name); });
    };
    EXPECT_EQ(refusal(strategy, "Slow"), "non-unique report strategy name");
    const Owned stranger(new HAXRReportStrategy(m_flow));
    EXPECT_EQ(refusal(stranger.get(), "New"), "can't rename unregistered report strategy");
    m_manager->renameReportStrategy(strategy, "New");
    EXPECT_EQ(find("New"), strategy);
    EXPECT_THAT(namesIn(reports()), ElementsAre("New.kept_flow.psg", "Slow.kept_flow.psg"));
}

TEST_F(ReportStrategyMgrTest, DeletesAStrategyWithItsReportsAndItsFile) {
    const auto refusal = [&](HAXRReportStrategy* strategy) {
        return thrownText<HEXAlgException>([&] { m_manager->deleteReportStrategy(strategy); });
    };
    const Owned stranger(new HAXRReportStrategy(m_flow));
    EXPECT_EQ(refusal(nullptr), "can't delete null report strategy");
    EXPECT_EQ(refusal(stranger.get()), "no report strategies registered for this flow");
    HAXRReportStrategy* const strategy = create("Quick");
    auto report = test::reports::makeReport("report_io");
    strategy->addSpec("synth", report.get(), true);
    static_cast<void>(report.release());
    EXPECT_EQ(refusal(stranger.get()), "can't delete unregistered report strategy");
    EXPECT_EQ(refusal(addEnterprise("Fixed")), "can't delete an enterprise report strategy!");
    m_manager->deleteReportStrategy(strategy);
    EXPECT_THAT(reportNames(), ElementsAre("Fixed"));
    EXPECT_THAT(namesIn(reports()), IsEmpty());
}

TEST_F(ReportStrategyMgrTest, MakesNothingThatCanNotBeSaved) {
    static_cast<void>(m_manager->getPersonalReportStratDir());
    test::FaultyDisk disk;
    disk.failAll("write", ENOSPC);
    EXPECT_THROW(create("Mine"), HXMLException);
    EXPECT_THAT(reportNames(), IsEmpty());
    EXPECT_THAT(namesIn(reports()), IsEmpty());
}

TEST_F(ReportStrategyMgrTest, RestoresTheDirectoriesInTheirOrder) {
    const std::string global = m_installation.addRoot("more") + "/reportstrategies";
    const std::string previous = m_installation.appDataDir() + "/2022.1/reportstrategies";
    const std::string users = m_installation.appDataDir() + "/reportstrategies";
    addFile(global + "/a.psg", reportFileOf("a"));
    for (const std::string& dir : {reports(), previous, users}) {
        addFile(dir + "/a.psg", reportFileOf("a"));
        addFile(dir + "/b.psg", reportFileOf("b"));
    }
    addFile(users + "/c.psg", reportFileOf("c"));
    m_manager->restoreAllStrategies("psg", false);
    EXPECT_THAT(reportNames(), UnorderedElementsAre("a", "b", "c"));
    EXPECT_EQ(find("a")->getFilename(), global + "/a.psg");
    EXPECT_FALSE(find("a")->isUserDefined());
    EXPECT_FALSE(find("a")->isModified());
    EXPECT_EQ(find("b")->getFilename(), reports() + "/b.psg");
    EXPECT_EQ(find("c")->getFilename(), users + "/c.psg");
    EXPECT_EQ(m_messages.messages().size(), 5U);
    EXPECT_THAT(m_messages.summaries().at(0),
                "runs WARNING 36-546(User, a, " + reports() + "/a.psg, " + global + "/a.psg)");
    EXPECT_EQ(m_messages.messages().at(0).ordinal, 4);
}

TEST_F(ReportStrategyMgrTest, KeepsTheRestWhenFilesCanNotBeRead) {
    addFile(reports() + "/a.psg", "<ReportStrategies");
    addFile(reports() + "/b.psg", reportFileOf("b"));
    ::testing::internal::CaptureStdout();
    m_manager->restoreAllReportStrategies("psg");
    static_cast<void>(::testing::internal::GetCapturedStdout());
    EXPECT_THAT(reportNames(), ElementsAre("b"));
    ASSERT_THAT(m_messages.ids(), ElementsAre("1-126"));
    EXPECT_THAT(m_messages.texts().at(0), HasSubstr(reports() + "/a.psg"));
}

TEST_F(ReportStrategyMgrTest, KeepsAFileThatSavingWouldRob) {
    const std::string second = reportFileOf("b").substr(reportFileOf("b").find("<ReportStrategy>"));
    const std::string several = reportFileOf("a").substr(0, reportFileOf("a").rfind("</")) + second;
    const std::string later = reportFileOf("c", "Major=\"2022\" Minor=\"1\"");
    const std::string dropped = "<Step Id=\"synth\"><Spec Name=\"report_nowhere\"/></Step>";
    std::string robbed = reportFileOf("d");
    robbed.insert(robbed.find("</ReportStrategy>"), dropped);
    addFile(reports() + "/several.psg", several);
    addFile(reports() + "/later.psg", later);
    addFile(reports() + "/robbed.psg", robbed);
    addFile(reports() + "/ours.psg", reportFileOf("e"));
    m_manager->restoreAllReportStrategies("psg");
    ASSERT_THAT(reportNames(), UnorderedElementsAre("a", "b", "c", "d", "e"));
    for (const char* name : {"a", "c", "d", "e"})
        find(name)->setDescription("mine");
    EXPECT_EQ(contentOfFile(reports() + "/several.psg.bak-2023.2"), several);
    EXPECT_EQ(contentOfFile(reports() + "/later.psg.bak-2022.1"), later);
    EXPECT_EQ(contentOfFile(reports() + "/robbed.psg.bak-2023.2"), robbed);
    EXPECT_EQ(find("b")->getFilename(), reports() + "/b.kept_flow.psg");
    EXPECT_EQ(namesIn(reports()).size(), 8U);
}

TEST_F(ReportStrategyMgrTest, ReadsNoReportStrategiesWithoutTheReportCatalogue) {
    addFile(personal() + "/a.psg", fileOf("a"));
    addFile(reports() + "/b.psg", reportFileOf("b"));
    EXPECT_THROW(m_manager->restoreAllStrategies("psg", true), HEXFileNotFoundException);
    EXPECT_THAT(names(), ElementsAre("a"));
    EXPECT_THAT(reportNames(), IsEmpty());
}

TEST_F(ReportStrategyMgrTest, GivesAnotherProductTheTwoThatRunsExpect) {
    HAXPMgr& catalogue = *HAXPMgr::getGlobal();
    if (catalogue.getDefaultFlow(HAXPTypes::FLOW_SYNTH) == nullptr)
        catalogue.setDefaultFlow(HAXPTypes::FLOW_SYNTH, test::catalogueFlow());
    if (catalogue.getDefaultFlow(HAXPTypes::FLOW_ENTIRE_DESIGN) == nullptr)
        catalogue.setDefaultFlow(HAXPTypes::FLOW_ENTIRE_DESIGN, test::catalogueFlow());
    m_installation.setProductName("other");
    addFile(reports() + "/b.psg", reportFileOf("b"));
    m_manager->restoreAllStrategies("psg", true);
    m_manager->restoreAllStrategies("psg", true);
    EXPECT_THAT(reportNames(), ElementsAre("Tarnel Synthesis Default Reports",
                                           "Tarnel Implementation Default Reports"));
    EXPECT_FALSE(find("Tarnel Synthesis Default Reports")->isUserDefined());
    EXPECT_THAT(m_messages.ids(), IsEmpty());
}

TEST_F(ReportStrategyMgrTest, IsReachedThroughTheCatalogue) {
    HAXPMgr& catalogue = *HAXPMgr::getGlobal();
    EXPECT_EQ(catalogue.reportStrategyCount(nullptr), -1);
    EXPECT_EQ(catalogue.createReportStrategyIter(nullptr), nullptr);
    EXPECT_EQ(catalogue.getDefaultReportStrategy(nullptr), nullptr);
    EXPECT_EQ(catalogue.reportStrategyCount(m_flow), 0);
    HAXRReportStrategy* const mine = catalogue.createReportStrategy(m_flow, "a");
    EXPECT_EQ(catalogue.getDefaultReportStrategy(m_flow), nullptr);
    HAXRReportStrategy* const other = catalogue.copyReportStrategy(mine, "b");
    catalogue.renameReportStrategy(other, "c");
    EXPECT_TRUE(catalogue.isUniqueReportStrategyName(m_flow, "b"));
    other->setUserDefined(false);
    EXPECT_EQ(catalogue.getDefaultReportStrategy(m_flow), other);
    other->setUserDefined(true);
    const Owned internal(catalogue.createInternalReportStrategy(mine));
    EXPECT_TRUE(catalogue.hasEquivalentReportStrategy(internal.get()));
    EXPECT_THAT(test::drain(catalogue.createReportStrategyIter(m_flow)), ElementsAre(mine, other));
    catalogue.deleteReportStrategy(mine);
    catalogue.deleteReportStrategy(other);
    EXPECT_EQ(catalogue.reportStrategyCount(m_flow), 0);
}

}  // namespace
