// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "runs/base/xpreport/HAXRReportStrategy.h"

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "environment/errors/HEXAlgException.h"
#include "environment/errors/HXMLException.h"
#include "runs/base/xperiment/HAXPFlow.h"
#include "runs/base/xpreport/HAXRReportStratDB.h"
#include "tests/support/TestFlow.h"
#include "tests/support/drain.h"
#include "tests/support/thrownText.h"
#include "tests/unit/runs/xpreport/reportFixture.h"

namespace {

namespace reports = test::reports;

using reports::makeReport;
using reports::text;
using test::drain;

/// Writes down each strategy that it is told of, by its name at that time and
/// the number of its reports in the step "place".
class TestDatabase : public HAXRReportStratDB {
public:
    std::vector<std::string> told;
    std::function<void()> onTold;

protected:
    void strategyModifiedCallback_(HAXRReportStrategy* strategy) override {
        const std::uint32_t count = strategy->specCount("place");
        told.push_back(strategy->getName() + ":" +
                       (count == HAXRReportStrategy::noEntry ? "-" : std::to_string(count)));
        if (onTold)
            onTold();
    }
};

/// Two strategies "mine" and "other" of one flow with the steps "place", "route"
/// and "write". Their reports go with the fixture.
class ReportStrategyTest : public ::testing::Test {
public:
    ~ReportStrategyTest() noexcept override {
        m_mine.attach(static_cast<HAXRReportStratDB*>(nullptr));
        m_mine.nukeSteps();
        m_other.nukeSteps();
    }

protected:
    ReportStrategyTest() {
        m_mine.setName("mine");
        m_other.setName("other");
        m_mine.attach(&m_database);
    }

    /// Adds a report of the version 1.0 with one text option "a" and tells nobody.
    static HAXRReportSpec* add(HAXRReportStrategy& strategy, const std::string& stepId,
                               const std::string& name = "report_io", const std::string& a = "",
                               const VersionInfo& version = {1, 0}) {
        std::unique_ptr<HAXRReportSpec> spec = makeReport(name, {text("a")}, version);
        reports::setText(spec->getOptions(), "a", a);
        HAXRReportSpec* const added = strategy.addSpec(stepId, spec.get(), false);
        static_cast<void>(spec.release());
        return added;
    }

    /// What is thrown by adding a report, which stays here.
    static std::string refusalOf(HAXRReportStrategy& strategy, const std::string& stepId) {
        const std::unique_ptr<HAXRReportSpec> spec = makeReport("report_io");
        return test::thrownText<HEXAlgException>(
            [&] { strategy.addSpec(stepId, spec.get(), true); });
    }

    static std::vector<std::string> stepsOf(const HAXRReportStrategy& strategy) {
        return drain(strategy.createFlowStepIter());
    }

    /// The reports of a step, each as its name and the value of its option.
    static std::vector<std::string> reportsOf(const HAXRReportStrategy& strategy,
                                              const std::string& stepId) {
        std::vector<std::string> found;
        for (const HAXRReportSpec* spec : drain(strategy.createReportSpecIter(stepId)))
            found.push_back(spec->getName() + "=" + reports::valueOf(spec->getOptions(), "a"));
        return found;
    }

    using Names = std::vector<std::string>;

    std::unique_ptr<HAXPFlow> m_flow = test::makeFlow({"place", "route", "write"});
    TestDatabase m_database;
    HAXRReportStrategy m_mine{m_flow.get()};
    HAXRReportStrategy m_other{m_flow.get()};
};

TEST_F(ReportStrategyTest, BeginsEmptyAndUserDefined) {
    const HAXRReportStrategy strategy(m_flow.get());
    EXPECT_EQ(strategy.getFlow(), m_flow.get());
    EXPECT_EQ(strategy.getName(), "");
    EXPECT_EQ(strategy.getDescription(), "");
    EXPECT_EQ(strategy.getFilename(), "");
    EXPECT_TRUE(strategy.isUserDefined());
    EXPECT_FALSE(strategy.isInternal());
    EXPECT_FALSE(strategy.isModified());
    EXPECT_FALSE(strategy.isSetReportStrategyNameOnly());
    EXPECT_EQ(strategy.stepCount(), 0);
    EXPECT_TRUE(stepsOf(strategy).empty());
}

TEST_F(ReportStrategyTest, KeepsItsMarksWithoutTellingAnybody) {
    m_mine.setFilename("a.xml");
    m_mine.setUserDefined(false);
    m_mine.setInternal(true);
    m_mine.setModified();
    m_mine.setReportStrategyNameOnly(true);
    EXPECT_EQ(m_mine.getFilename(), "a.xml");
    EXPECT_FALSE(m_mine.isUserDefined());
    EXPECT_TRUE(m_mine.isInternal());
    EXPECT_TRUE(m_mine.isModified());
    EXPECT_TRUE(m_mine.isSetReportStrategyNameOnly());
    EXPECT_TRUE(m_database.told.empty());
}

TEST_F(ReportStrategyTest, TellsOfNameAndDescription) {
    m_mine.setName("new");
    m_mine.setDescription("text");
    EXPECT_EQ(m_mine.getDescription(), "text");
    EXPECT_EQ(m_database.told, (Names{"new:-", "new:-"}));
    m_mine.attach(static_cast<HAXRReportStratDB*>(nullptr));
    m_mine.setName("silent");
    EXPECT_EQ(m_database.told.size(), 2u);
}

// Reports of steps --------------------------------------------------------

TEST_F(ReportStrategyTest, KeepsReportsInTheOrderOfAdding) {
    HAXRReportSpec* const spec = makeReport("report_io").release();
    EXPECT_EQ(m_mine.addSpec("route", spec, false), spec);
    HAXRReportSpec* const second = add(m_mine, "route", "report_drc");
    HAXRReportSpec* const third = add(m_mine, "place");
    EXPECT_EQ(drain(m_mine.createReportSpecIter("route")),
              (std::vector<HAXRReportSpec*>{spec, second}));
    EXPECT_EQ(drain(m_mine.createReportSpecIter("place")), std::vector<HAXRReportSpec*>{third});
    EXPECT_EQ(stepsOf(m_mine), (Names{"route", "place"}));
    EXPECT_EQ(m_mine.stepCount(), 2);
    EXPECT_EQ(m_mine.specCount("route"), 2u);
}

TEST_F(ReportStrategyTest, TellsOfAnAddedReportOnDemand) {
    add(m_mine, "place");
    EXPECT_TRUE(m_database.told.empty());
    m_mine.addSpec("place", makeReport("report_io").release(), true);
    EXPECT_EQ(m_database.told, Names{"mine:2"});
}

TEST_F(ReportStrategyTest, HasNoCountAndNoIteratorForAStepWithoutEntry) {
    EXPECT_EQ(m_mine.specCount("place"), 0xFFFFFFFFu);
    EXPECT_EQ(m_mine.createReportSpecIter("place"), nullptr);
    add(m_mine, "place");
    EXPECT_EQ(m_mine.specCount("Place"), 0xFFFFFFFFu);
}

TEST_F(ReportStrategyTest, RefusesWhatItCannotAdd) {
    EXPECT_EQ(refusalOf(m_mine, "unknown"), "NULL Step");
    EXPECT_EQ(refusalOf(m_mine, "Place"), "NULL Step");
    EXPECT_EQ(test::thrownText<HEXAlgException>([&] { m_mine.addSpec("place", nullptr, true); }),
              "NULL report spec");
    m_mine.setUserDefined(false);
    EXPECT_EQ(refusalOf(m_mine, "place"), "can't alter a pre-defined strategy");
    EXPECT_EQ(test::thrownText<HEXAlgException>([&] { m_mine.addSpec("", nullptr, true); }),
              "can't alter a pre-defined strategy");
    EXPECT_EQ(m_mine.stepCount(), 0);
    EXPECT_TRUE(stepsOf(m_mine).empty());
    EXPECT_TRUE(m_database.told.empty());
}

TEST_F(ReportStrategyTest, AddsAndRemovesNothingWithoutAFlow) {
    HAXRReportStrategy strategy(nullptr);
    strategy.attach(&m_database);
    const std::unique_ptr<HAXRReportSpec> spec = makeReport("report_io");
    EXPECT_EQ(strategy.addSpec("place", spec.get(), true), nullptr);
    strategy.removeSpec("place", spec.get(), true);
    EXPECT_EQ(strategy.stepCount(), 0);
    EXPECT_TRUE(m_database.told.empty());
    EXPECT_EQ(test::thrownText<HEXAlgException>([&] { strategy.addSpec("place", nullptr, true); }),
              "NULL report spec");
}

TEST_F(ReportStrategyTest, TellsOfAChangedOptionOfAReport) {
    HAXRReportSpec* const spec = add(m_mine, "place");
    reports::setText(spec->getOptions(), "a", "x");
    EXPECT_EQ(m_database.told, Names{"mine:1"});
    reports::setText(spec->getOptions(), "a", "x");
    spec->setDisplayName("new", true);
    EXPECT_EQ(m_database.told, Names(2, "mine:1"));
}

TEST_F(ReportStrategyTest, AttachesAnObserverToTheReportsThatAreThereAndToCome) {
    HAXRReportSpec* const before = add(m_mine, "place");
    reports::GroupObserver observer;
    m_mine.attach(&observer);
    HAXRReportSpec* const after = add(m_mine, "route");
    reports::setText(before->getOptions(), "a", "x");
    EXPECT_EQ(m_database.told.size(), 1u);
    EXPECT_EQ(observer.heard.size(), 1u);
    reports::setText(after->getOptions(), "a", "x");
    EXPECT_EQ(m_database.told.size(), 1u);
    EXPECT_EQ(observer.heard.size(), 2u);
    m_mine.nukeSteps();
}

TEST_F(ReportStrategyTest, GivesARemovedReportBack) {
    add(m_mine, "place", "report_drc");
    const std::unique_ptr<HAXRReportSpec> spec(add(m_mine, "place"));
    add(m_mine, "place", "report_power");
    m_mine.removeSpec("place", spec.get(), false);
    EXPECT_EQ(reportsOf(m_mine, "place"), (Names{"report_drc=", "report_power="}));
    EXPECT_EQ(spec->getName(), "report_io");
    EXPECT_TRUE(m_database.told.empty());
}

TEST_F(ReportStrategyTest, KeepsTheEntryOfAnEmptiedStep) {
    const std::unique_ptr<HAXRReportSpec> spec(add(m_mine, "place"));
    m_mine.removeSpec("place", spec.get(), true);
    EXPECT_EQ(m_mine.specCount("place"), 0u);
    EXPECT_EQ(m_mine.stepCount(), 1);
    EXPECT_TRUE(reportsOf(m_mine, "place").empty());
    EXPECT_EQ(m_database.told, Names{"mine:0"});
}

TEST_F(ReportStrategyTest, RemovesNothingForAStranger) {
    add(m_mine, "place");
    const std::unique_ptr<HAXRReportSpec> stranger = makeReport("report_io");
    m_mine.removeSpec("place", stranger.get(), true);
    EXPECT_EQ(m_mine.specCount("place"), 1u);
    EXPECT_EQ(m_database.told, Names{"mine:1"});
}

TEST_F(ReportStrategyTest, RefusesWhatItCannotRemove) {
    HAXRReportSpec* const spec = add(m_mine, "place");
    const auto refusal = [&](const std::string& stepId, HAXRReportSpec* removed) {
        return test::thrownText<HEXAlgException>([&] { m_mine.removeSpec(stepId, removed, true); });
    };
    EXPECT_EQ(refusal("place", nullptr), "NULL report spec");
    EXPECT_EQ(refusal("unknown", spec), "NULL Step");
    EXPECT_EQ(refusal("route", spec), "Step is not present in user strategy");
    m_mine.setUserDefined(false);
    EXPECT_EQ(refusal("place", spec), "can't alter a pre-defined strategy");
    EXPECT_EQ(m_mine.specCount("place"), 1u);
    EXPECT_TRUE(m_database.told.empty());
}

TEST_F(ReportStrategyTest, StillListsARemovedStep) {
    add(m_mine, "place");
    add(m_mine, "route");
    m_mine.removeStep("place");
    EXPECT_EQ(m_mine.stepCount(), 1);
    EXPECT_EQ(m_mine.specCount("place"), HAXRReportStrategy::noEntry);
    EXPECT_EQ(m_mine.createReportSpecIter("place"), nullptr);
    EXPECT_EQ(m_mine.findReportSpec("place", "report_io"), nullptr);
    EXPECT_EQ(stepsOf(m_mine), (Names{"place", "route"}));
    m_mine.removeStep("place");
    m_mine.removeStep("unknown");
    EXPECT_EQ(m_mine.stepCount(), 1);
    EXPECT_TRUE(m_database.told.empty());
}

TEST_F(ReportStrategyTest, ListsAStepOnceThatWasRemovedAndCameBack) {
    add(m_mine, "place");
    add(m_mine, "route");
    m_mine.removeStep("place");
    add(m_mine, "place", "report_drc");
    EXPECT_EQ(stepsOf(m_mine), (Names{"place", "route"}));
    EXPECT_EQ(reportsOf(m_mine, "place"), Names{"report_drc="});
}

TEST_F(ReportStrategyTest, RemovesAStepOfTheInstallationToo) {
    add(m_mine, "place");
    m_mine.setUserDefined(false);
    m_mine.removeStep("place");
    EXPECT_EQ(m_mine.stepCount(), 0);
}

TEST_F(ReportStrategyTest, ForgetsAllSteps) {
    add(m_mine, "place");
    add(m_mine, "route");
    m_mine.removeStep("route");
    m_mine.nukeSteps();
    EXPECT_EQ(m_mine.stepCount(), 0);
    EXPECT_TRUE(stepsOf(m_mine).empty());
    m_mine.nukeSteps();
    EXPECT_TRUE(m_database.told.empty());
}

TEST_F(ReportStrategyTest, LeavesItsReportsAloneWhenItGoes) {
    std::unique_ptr<HAXRReportSpec> spec;
    {
        HAXRReportStrategy strategy(m_flow.get());
        strategy.attach(&m_database);
        spec.reset(add(strategy, "place", "report_io", "x"));
    }
    reports::setText(spec->getOptions(), "a", "y");
    EXPECT_EQ(reports::valueOf(spec->getOptions(), "a"), "y");
    EXPECT_TRUE(m_database.told.empty());
}

TEST_F(ReportStrategyTest, FindsTheFirstReportOfANameInAnyCase) {
    add(m_mine, "place", "report_drc");
    HAXRReportSpec* const first = add(m_mine, "route", "report_drc", "", {1, 0});
    HAXRReportSpec* const second = add(m_mine, "route", "report_drc", "", {2, 3});
    EXPECT_EQ(m_mine.findReportSpec("ROUTE", "REPORT_DRC"), first);
    EXPECT_EQ(m_mine.findReportSpec("route", "report_drc", {0, 0}), first);
    EXPECT_EQ(m_mine.findReportSpec("Route", "Report_drc", {2, 3}), second);
    EXPECT_EQ(m_mine.findReportSpec("route", "report_drc", {2, 0}), nullptr);
    EXPECT_EQ(m_mine.findReportSpec("route", "report_drc", {0, 3}), nullptr);
    EXPECT_EQ(m_mine.findReportSpec("write", "report_drc"), nullptr);
    EXPECT_EQ(m_mine.findReportSpec("route", "report_io"), nullptr);
}

TEST_F(ReportStrategyTest, LooksIntoEveryStepWhoseIdIsEqualIgnoringCase) {
    const std::unique_ptr<HAXPFlow> flow = test::makeFlow({"place", "PLACE"});
    HAXRReportStrategy strategy(flow.get());
    add(strategy, "place", "report_io");
    HAXRReportSpec* const spec = add(strategy, "PLACE", "report_drc");
    EXPECT_EQ(strategy.findReportSpec("place", "report_drc"), spec);
    strategy.removeStep("place");
    EXPECT_EQ(strategy.findReportSpec("place", "report_drc"), spec);
    strategy.nukeSteps();
}

TEST_F(ReportStrategyTest, TellsWhetherADisplayNameIsUniqueInAStep) {
    add(m_mine, "place", "report_io")->setDisplayName("Pins", false);
    EXPECT_FALSE(m_mine.isUniqueReportSpecDisplayName("place", "Pins"));
    EXPECT_TRUE(m_mine.isUniqueReportSpecDisplayName("place", "pins"));
    EXPECT_EQ(test::thrownText<HEXAlgException>(
                  [&] { m_mine.isUniqueReportSpecDisplayName("route", "Pins"); }),
              "Step is not present in user strategy");
}

// Copies ------------------------------------------------------------------

TEST_F(ReportStrategyTest, CopiesReportsDeeply) {
    add(m_mine, "write", "report_power");
    add(m_other, "route", "report_io", "x");
    add(m_other, "place", "report_drc", "y", {3, 1});
    add(m_other, "place", "report_io", "z");
    m_other.setDescription("of the other");
    m_mine.copyStrategy(&m_other);
    EXPECT_EQ(stepsOf(m_mine), (Names{"route", "place"}));
    EXPECT_EQ(reportsOf(m_mine, "route"), Names{"report_io=x"});
    EXPECT_EQ(reportsOf(m_mine, "place"), (Names{"report_drc=y", "report_io=z"}));
    EXPECT_NE(m_mine.findReportSpec("place", "report_drc", {3, 1}), nullptr);
    EXPECT_EQ(m_mine.getName(), "mine");
    EXPECT_EQ(m_mine.getDescription(), "");
    m_other.nukeSteps();
    EXPECT_EQ(reportsOf(m_mine, "place"), (Names{"report_drc=y", "report_io=z"}));
}

TEST_F(ReportStrategyTest, TellsOnceForEachCopiedReportAndOnceMore) {
    add(m_other, "place");
    add(m_other, "place");
    m_mine.copyStrategy(&m_other);
    EXPECT_EQ(m_database.told, Names(3, "mine:2"));
}

TEST_F(ReportStrategyTest, TellsUnderItsOldNameUntilTheCopyIsComplete) {
    add(m_other, "place");
    m_other.setDescription("of the other");
    m_mine.copyStrat(&m_other);
    EXPECT_EQ(m_database.told, (Names{"mine:1", "other:1"}));
    EXPECT_EQ(m_mine.getName(), "other");
    EXPECT_EQ(m_mine.getDescription(), "of the other");
}

TEST_F(ReportStrategyTest, HearsOfTheReportsThatItCopied) {
    add(m_other, "place");
    m_mine.copyStrategy(&m_other);
    m_database.told.clear();
    reports::setText(m_mine.findReportSpec("place", "report_io")->getOptions(), "a", "x");
    EXPECT_EQ(m_database.told, Names{"mine:1"});
    reports::setText(m_other.findReportSpec("place", "report_io")->getOptions(), "a", "x");
    EXPECT_EQ(m_database.told.size(), 1u);
}

TEST_F(ReportStrategyTest, TakesFlowAndModificationMarkAlone) {
    const std::unique_ptr<HAXPFlow> flow = test::makeFlow({"place"});
    HAXRReportStrategy source(flow.get());
    source.setUserDefined(false);
    source.setInternal(true);
    source.setModified();
    source.setFilename("source.xml");
    m_mine.copyStrategy(&source);
    EXPECT_EQ(m_mine.getFlow(), flow.get());
    EXPECT_TRUE(m_mine.isModified());
    EXPECT_TRUE(m_mine.isUserDefined());
    EXPECT_FALSE(m_mine.isInternal());
    EXPECT_EQ(m_mine.getFilename(), "");
    m_mine.copyStrategy(&m_other);
    EXPECT_FALSE(m_mine.isModified());
}

TEST_F(ReportStrategyTest, LosesItsFlowButNotItsReportsToASourceWithoutFlow) {
    HAXRReportStrategy source(nullptr);
    source.setName("source");
    source.setModified();
    add(m_mine, "place");
    m_mine.copyStrat(&source);
    EXPECT_EQ(m_mine.getFlow(), nullptr);
    EXPECT_FALSE(m_mine.isModified());
    EXPECT_EQ(m_mine.specCount("place"), 1u);
    EXPECT_EQ(m_database.told, Names{"source:1"});
}

TEST_F(ReportStrategyTest, KeepsItsReportsWhenItIsCopiedOntoItself) {
    add(m_mine, "route", "report_io", "x");
    add(m_mine, "place", "report_drc", "y");
    m_mine.setModified();
    m_mine.copyStrat(&m_mine);
    EXPECT_EQ(stepsOf(m_mine), (Names{"route", "place"}));
    EXPECT_EQ(reportsOf(m_mine, "route"), Names{"report_io=x"});
    EXPECT_EQ(reportsOf(m_mine, "place"), Names{"report_drc=y"});
    EXPECT_EQ(m_mine.getName(), "mine");
    EXPECT_TRUE(m_mine.isModified());
    EXPECT_EQ(m_database.told.size(), 3u);
}

TEST_F(ReportStrategyTest, CopiesNoStepWithoutReports) {
    add(m_other, "place");
    add(m_other, "write");
    m_other.removeStep("place");
    const std::unique_ptr<HAXRReportSpec> spec(m_other.findReportSpec("write", "report_io"));
    m_other.removeSpec("write", spec.get(), false);
    m_mine.copyStrategy(&m_other);
    EXPECT_TRUE(stepsOf(m_mine).empty());
    EXPECT_EQ(m_mine.stepCount(), 0);
    EXPECT_TRUE(m_mine.differsFrom(&m_other));
}

TEST_F(ReportStrategyTest, RefusesCopiesBeforeAnythingChanged) {
    add(m_mine, "place");
    const auto refusal = [&](const HAXRReportStrategy* source) {
        return test::thrownText<HEXAlgException>([&] { m_mine.copyStrat(source); });
    };
    EXPECT_EQ(refusal(nullptr), "Report Strategy::copyOptions : NULL strat");
    m_mine.setUserDefined(false);
    EXPECT_EQ(refusal(&m_other), "can't alter a pre-defined report strategy");
    EXPECT_EQ(refusal(nullptr), "can't alter a pre-defined report strategy");
    EXPECT_EQ(test::thrownText<HEXAlgException>([&] { m_mine.copyStrategy(&m_other); }),
              "can't alter a pre-defined report strategy");
    EXPECT_EQ(m_mine.getName(), "mine");
    EXPECT_EQ(m_mine.specCount("place"), 1u);
    EXPECT_TRUE(m_database.told.empty());
}

TEST_F(ReportStrategyTest, KeepsTheWholeCopyWhenTheDatabaseCannotSaveIt) {
    add(m_mine, "write");
    add(m_other, "place");
    add(m_other, "route");
    m_database.onTold = [] { throw HXMLException("disk full"); };
    EXPECT_EQ(test::thrownText<HXMLException>([&] { m_mine.copyStrategy(&m_other); }), "disk full");
    EXPECT_EQ(stepsOf(m_mine), (Names{"place", "route"}));
    m_database.onTold = nullptr;
}

TEST_F(ReportStrategyTest, KeepsAChangeThatTheDatabaseCannotSave) {
    m_database.onTold = [] { throw HXMLException("disk full"); };
    EXPECT_THROW(m_mine.setName("new"), HXMLException);
    EXPECT_EQ(m_mine.getName(), "new");
    EXPECT_THROW(m_mine.addSpec("place", makeReport("report_io").release(), true), HXMLException);
    EXPECT_EQ(m_mine.specCount("place"), 1u);
    m_database.onTold = nullptr;
}

// Differences -------------------------------------------------------------

TEST_F(ReportStrategyTest, DoesNotDifferFromItself) {
    EXPECT_FALSE(m_mine.differsFrom(&m_mine));
    add(m_mine, "place", "report_drc", "x");
    add(m_mine, "place", "report_drc", "x");
    EXPECT_FALSE(m_mine.differsFrom(&m_mine, true));
}

TEST_F(ReportStrategyTest, IsNotComparedWithNull) {
    EXPECT_EQ(test::thrownText<HEXAlgException>([&] { m_mine.differsFrom(nullptr); }),
              "Invalid input report strategey");
}

TEST_F(ReportStrategyTest, DiffersInFlowAndSteps) {
    const std::unique_ptr<HAXPFlow> flow = test::makeFlow({"place"});
    const HAXRReportStrategy ofOtherFlow(flow.get());
    EXPECT_TRUE(m_mine.differsFrom(&ofOtherFlow));
    add(m_mine, "place");
    EXPECT_TRUE(m_mine.differsFrom(&m_other));
    EXPECT_TRUE(m_other.differsFrom(&m_mine));
    add(m_other, "route");
    EXPECT_TRUE(m_mine.differsFrom(&m_other));
}

TEST_F(ReportStrategyTest, DoesNotDifferInTheOrderOfStepsAndReports) {
    add(m_mine, "place", "report_io");
    add(m_mine, "place", "report_drc");
    add(m_mine, "route");
    add(m_other, "route");
    add(m_other, "place", "report_drc");
    add(m_other, "place", "report_io");
    EXPECT_FALSE(m_mine.differsFrom(&m_other));
}

TEST_F(ReportStrategyTest, DiffersInTheNumberOfReportsOfAStep) {
    add(m_mine, "place");
    add(m_mine, "place");
    add(m_other, "place");
    EXPECT_TRUE(m_mine.differsFrom(&m_other));
    EXPECT_TRUE(m_other.differsFrom(&m_mine));
}

TEST_F(ReportStrategyTest, DiffersInReportNamesAndOptionValues) {
    add(m_mine, "place", "report_drc", "x");
    HAXRReportSpec* const spec = add(m_other, "place", "report_drc", "x");
    EXPECT_FALSE(m_mine.differsFrom(&m_other));
    reports::setText(spec->getOptions(), "a", "y");
    EXPECT_TRUE(m_mine.differsFrom(&m_other));
    add(m_mine, "route", "report_drc");
    reports::setText(spec->getOptions(), "a", "x");
    add(m_other, "route", "Report_drc");
    EXPECT_TRUE(m_mine.differsFrom(&m_other));
}

TEST_F(ReportStrategyTest, MatchesEachReportOnce) {
    add(m_mine, "place", "report_drc", "x");
    add(m_mine, "place", "report_drc", "x");
    add(m_other, "place", "report_drc", "x");
    add(m_other, "place", "report_drc", "y");
    EXPECT_TRUE(m_mine.differsFrom(&m_other));
    EXPECT_TRUE(m_other.differsFrom(&m_mine));
}

TEST_F(ReportStrategyTest, DoesNotDifferInNamesAndVersions) {
    add(m_mine, "place", "report_drc", "x", {1, 0});
    add(m_other, "place", "report_drc", "x", {2, 0})->setDisplayName("Checks", false);
    m_other.setDescription("of the other");
    m_other.setModified();
    EXPECT_FALSE(m_mine.differsFrom(&m_other));
}

}  // namespace
