// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "runs/base/xperiment/HAXPStrategy.h"

#include <memory>
#include <ostream>
#include <stdexcept>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "environment/errors/HEXAlgException.h"
#include "environment/options/HATOptGroup.h"
#include "runs/base/xperiment/HAXPFlowStepOptions.h"
#include "tests/support/TestFlow.h"
#include "tests/support/TestRun.h"
#include "tests/support/TestStepFilter.h"
#include "tests/support/drained.h"
#include "tests/support/thrownText.h"

namespace {

using boost::logic::indeterminate;
using boost::logic::tribool;
using test::drained;
using test::setInt;
using test::StepTraits;
using test::thrownText;

using Ids = std::vector<std::string>;

Ids stepIds(const HAXPStrategy& strategy) {
    Ids ids;
    for (const HAXPFlowStepOptions* entry : drained(strategy.createFlowStepOptionsIter()))
        ids.push_back(entry->getOptGrpId());
    return ids;
}

/// The ids of the options list, which goes beside the step entries.
Ids optionIds(const HAXPStrategy& strategy) {
    Ids ids;
    for (const HATOptGroup* group : drained(strategy.createOptionsIter()))
        ids.push_back(group->getOptGrpId());
    return ids;
}

/// Counts the groups that tell it of a change.
class GroupRecorder final : public HATOptGroupObserver {
public:
    std::vector<HATOptGroup*> changed;

protected:
    void optionsChangedCallback_(HATOptGroup* group) override { changed.push_back(group); }
};

/// A flow of "a", "b", "c" and the optional "extra"; a strategy over it that tells a
/// recorder; a step filter that lets everything in.
class StrategyTest : public ::testing::Test {
protected:
    StrategyTest() { m_strategy.attach(&m_recorder); }
    ~StrategyTest() noexcept override = default;

    static std::vector<StepTraits> steps() {
        StepTraits extra = StepTraits::of("extra");
        extra.isOptional = true;
        return {StepTraits::of("a"), StepTraits::of("b"), StepTraits::of("c"), extra};
    }
    HAXPFlowStep* flowStep(const std::string& id) const { return m_flow->getFlowStepForFSId(id); }
    int changes() const { return static_cast<int>(m_recorder.changed.size()); }

    test::TestStepFilter m_filter;
    test::InstalledStepFilter m_installed{&m_filter};
    std::unique_ptr<HAXPFlow> m_flow = test::makeFlowOf(steps());
    test::StrategyRecorder m_recorder;
    HAXPStrategy m_strategy{m_flow.get()};
};

// Making ---------------------------------------------------------------------

TEST_F(StrategyTest, StartsWithTheDefaultStepsOfItsFlow) {
    EXPECT_EQ(stepIds(m_strategy), (Ids{"a", "b", "c"}));
    EXPECT_EQ(optionIds(m_strategy), (Ids{"a", "b", "c"}));
    EXPECT_EQ(m_strategy.stepCount(), 3);
    EXPECT_EQ(m_strategy.getFlow(), m_flow.get());
}

TEST_F(StrategyTest, StartsUserDefinedWithoutTexts) {
    EXPECT_TRUE(m_strategy.isUserDefined());
    EXPECT_FALSE(m_strategy.isInternal());
    EXPECT_EQ(m_strategy.getName(), "");
    EXPECT_EQ(m_strategy.getDescription(), "");
    EXPECT_EQ(m_strategy.getFilename(), "");
}

TEST_F(StrategyTest, IsEmptyWithoutAFlow) {
    const HAXPStrategy empty;
    EXPECT_EQ(empty.stepCount(), 0);
    EXPECT_EQ(empty.getFlow(), nullptr);
    EXPECT_TRUE(drained(empty.createOptionsIter()).empty());
    EXPECT_TRUE(drained(empty.createFlowStepOptionsIter()).empty());
}

TEST_F(StrategyTest, IsEnabledAsItsFlowIs) {
    EXPECT_TRUE(HAXPStrategy().isEnabled());
    EXPECT_TRUE(m_strategy.isEnabled());
    HAXPFlow legacy("QSY", "1", "qsy");
    legacy.setLegacy(true);
    EXPECT_FALSE(HAXPStrategy(&legacy).isEnabled());
}

TEST_F(StrategyTest, HoldsTheSpecsOfTheStepsThemselves) {
    const HAXPFlowStepOptions* entry = m_strategy.getRunStepOptions("b");
    ASSERT_NE(entry, nullptr);
    EXPECT_EQ(entry->getOptionsSpec(), flowStep("b")->getOptionsSpec());
    EXPECT_EQ(entry->getAttrsSpec(), flowStep("b")->getAttrsSpec());
    EXPECT_EQ(entry->getOptions(), m_strategy.getOptions("b"));
}

TEST_F(StrategyTest, FindsStepsByExactlyTheirId) {
    EXPECT_EQ(m_strategy.getOptions("B"), nullptr);
    EXPECT_EQ(m_strategy.getOptions("extra"), nullptr);
    EXPECT_EQ(m_strategy.getRunStepOptions("B"), nullptr);
    EXPECT_EQ(m_strategy.getRunStepOptions(""), nullptr);
}

// Telling of changes ---------------------------------------------------------

TEST_F(StrategyTest, TellsOfItsNameAndDescription) {
    m_strategy.setName("fast");
    EXPECT_EQ(changes(), 1);
    m_strategy.setDescription("Little effort");
    EXPECT_EQ(changes(), 2);
    EXPECT_EQ(m_strategy.getName(), "fast");
    EXPECT_EQ(m_strategy.getDescription(), "Little effort");
    EXPECT_EQ(m_recorder.changed.back(), &m_strategy);
}

TEST_F(StrategyTest, KeepsItsFileAndFlagsToItself) {
    m_strategy.setFilename("/home/fast.psg");
    m_strategy.setUserDefined(false);
    m_strategy.setInternal(true);
    EXPECT_EQ(changes(), 0);
    EXPECT_EQ(m_strategy.getFilename(), "/home/fast.psg");
    EXPECT_FALSE(m_strategy.isUserDefined());
    EXPECT_TRUE(m_strategy.isInternal());
}

TEST_F(StrategyTest, TellsOfEveryOptionAndAttribute) {
    setInt(m_strategy.getOptions("a"), "CountInt", 7);
    EXPECT_EQ(changes(), 1);
    test::setBool(m_strategy.getRunStepOptions("a")->getAttrs(), "EnableStepBool", false);
    EXPECT_EQ(changes(), 2);
}

TEST_F(StrategyTest, TellsNobodyWithoutADatabase) {
    m_strategy.attach(static_cast<HAXPStratDB*>(nullptr));
    m_strategy.setName("fast");
    setInt(m_strategy.getOptions("a"), "CountInt", 7);
    EXPECT_EQ(changes(), 0);
}

TEST_F(StrategyTest, SaysNothingWhenItGoes) {
    {
        HAXPStrategy other(m_flow.get());
        other.attach(&m_recorder);
    }
    EXPECT_EQ(changes(), 0);
}

TEST_F(StrategyTest, KeepsAChangeThatTheDatabaseThrowsAt) {
    m_recorder.onChange = [] { throw std::runtime_error("disk full"); };
    EXPECT_EQ(thrownText<std::runtime_error>([&] { m_strategy.setName("fast"); }), "disk full");
    EXPECT_EQ(m_strategy.getName(), "fast");
}

TEST_F(StrategyTest, AttachesAnObserverToEveryGroup) {
    GroupRecorder observer;
    m_strategy.attach(&observer);
    setInt(m_strategy.getOptions("c"), "CountInt", 7);
    test::setBool(m_strategy.getRunStepOptions("a")->getAttrs(), "EnableStepBool", false);
    EXPECT_EQ(observer.changed,
              (std::vector<HATOptGroup*>{m_strategy.getOptions("c"),
                                         m_strategy.getRunStepOptions("a")->getAttrs()}));
    EXPECT_EQ(changes(), 2) << "groups keep whom they told before";
}

TEST_F(StrategyTest, AttachesOnlyTheLastObserverToNewGroups) {
    GroupRecorder observer;
    m_strategy.attach(&observer);
    HAXPFlowStepOptions* entry = m_strategy.addStep(flowStep("extra"), false);
    setInt(entry->getOptions(), "CountInt", 7);
    test::setBool(entry->getAttrs(), "EnableStepBool", false);
    EXPECT_EQ(observer.changed.size(), 2U);
    EXPECT_EQ(changes(), 0);
}

// Steps ----------------------------------------------------------------------

TEST_F(StrategyTest, AddsAStepBehindTheOthers) {
    HAXPFlowStepOptions* entry = m_strategy.addStep(flowStep("extra"), true);
    EXPECT_EQ(stepIds(m_strategy), (Ids{"a", "b", "c", "extra"}));
    EXPECT_EQ(optionIds(m_strategy), stepIds(m_strategy));
    EXPECT_EQ(entry, m_strategy.getRunStepOptions("extra"));
    EXPECT_EQ(changes(), 1);
}

TEST_F(StrategyTest, AddsAStepSilentlyWhenAsked) {
    m_strategy.addStep(flowStep("extra"), false);
    EXPECT_EQ(changes(), 0);
}

TEST_F(StrategyTest, AddsAStepTwice) {
    m_strategy.addStep(flowStep("a"), false);
    EXPECT_EQ(stepIds(m_strategy), (Ids{"a", "b", "c", "a"}));
    EXPECT_EQ(m_strategy.getOptions("a"), drained(m_strategy.createOptionsIter()).front());
}

TEST_F(StrategyTest, RefusesANullStep) {
    EXPECT_EQ(thrownText<HEXAlgException>([&] { m_strategy.addStep(nullptr, true); }), "NULL Step");
    EXPECT_EQ(m_strategy.stepCount(), 3);
    EXPECT_EQ(changes(), 0);
}

TEST_F(StrategyTest, RefusesStepsWhenPredefined) {
    m_strategy.setUserDefined(false);
    EXPECT_EQ(thrownText<HEXAlgException>([&] { m_strategy.addStep(flowStep("extra"), true); }),
              "can't alter a pre-defined strategy");
    EXPECT_EQ(thrownText<HEXAlgException>([&] { m_strategy.addStep(nullptr, true); }),
              "can't alter a pre-defined strategy");
    EXPECT_EQ(m_strategy.stepCount(), 3);
}

TEST_F(StrategyTest, TakesNameStepsAndValuesWhenPredefined) {
    m_strategy.setUserDefined(false);
    m_strategy.setName("shipped");
    m_strategy.setDescription("text");
    setInt(m_strategy.getOptions("a"), "CountInt", 7);
    m_strategy.removeStep("b");
    EXPECT_EQ(m_strategy.getName(), "shipped");
    EXPECT_EQ(test::intOf(m_strategy.getOptions("a"), "CountInt"), 7);
    EXPECT_EQ(stepIds(m_strategy), (Ids{"a", "c"}));
}

TEST_F(StrategyTest, RemovesAStepSilentlyFromBothLists) {
    m_strategy.removeStep("b");
    EXPECT_EQ(stepIds(m_strategy), (Ids{"a", "c"}));
    EXPECT_EQ(optionIds(m_strategy), (Ids{"a", "c"}));
    EXPECT_EQ(changes(), 0);
}

TEST_F(StrategyTest, RemovesTheFirstOfTwoEntries) {
    HAXPFlowStepOptions* second = m_strategy.addStep(flowStep("a"), false);
    m_strategy.removeStep("a");
    EXPECT_EQ(stepIds(m_strategy), (Ids{"b", "c", "a"}));
    EXPECT_EQ(m_strategy.getRunStepOptions("a"), second);
    EXPECT_EQ(m_strategy.getOptions("a"), second->getOptions());
}

TEST_F(StrategyTest, RemovesNothingForAnUnknownId) {
    m_strategy.removeStep("A");
    m_strategy.removeStep("");
    EXPECT_EQ(m_strategy.stepCount(), 3);
}

TEST_F(StrategyTest, DropsEveryStep) {
    m_strategy.nukeVecs();
    EXPECT_EQ(m_strategy.stepCount(), 0);
    EXPECT_TRUE(stepIds(m_strategy).empty());
    m_strategy.nukeVecs();
    EXPECT_EQ(m_strategy.stepCount(), 0);
}

// The flow -------------------------------------------------------------------

TEST_F(StrategyTest, TakesAFlowWithItsDefaultSteps) {
    const auto other = test::makeFlow({"x", "y"});
    m_strategy.setFlow(other.get(), true);
    EXPECT_EQ(m_strategy.getFlow(), other.get());
    EXPECT_EQ(stepIds(m_strategy), (Ids{"x", "y"}));
    EXPECT_EQ(changes(), 0);
    m_strategy.nukeVecs();
}

TEST_F(StrategyTest, TakesAFlowWithoutSteps) {
    m_strategy.setFlow(m_flow.get(), false);
    EXPECT_EQ(m_strategy.stepCount(), 0);
    m_strategy.setFlow(nullptr, true);
    EXPECT_EQ(m_strategy.getFlow(), nullptr);
    EXPECT_EQ(m_strategy.stepCount(), 0);
}

TEST_F(StrategyTest, IsEmptyAfterDefaultStepsWereRefused) {
    m_strategy.setUserDefined(false);
    EXPECT_EQ(thrownText<HEXAlgException>([&] { m_strategy.setFlow(m_flow.get(), true); }),
              "can't alter a pre-defined strategy");
    EXPECT_EQ(m_strategy.stepCount(), 0);
    EXPECT_EQ(m_strategy.getFlow(), m_flow.get());
}

// The step filter ------------------------------------------------------------

TEST_F(StrategyTest, InstallsAFilterOnce) {
    const test::InstalledStepFilter none(nullptr);
    EXPECT_EQ(HAXPStrategy::getStepFilter(), nullptr);
    HAXPStrategy::installFilter(&m_filter);
    EXPECT_EQ(HAXPStrategy::getStepFilter(), &m_filter);
    test::TestStepFilter other;
    for (HAXPStepFilter* filter :
         {static_cast<HAXPStepFilter*>(&other), static_cast<HAXPStepFilter*>(&m_filter)})
        EXPECT_EQ(thrownText<HEXAlgException>([&] { HAXPStrategy::installFilter(filter); }),
                  "Step Filter already installed!");
    EXPECT_EQ(HAXPStrategy::getStepFilter(), &m_filter);
}

// Copying --------------------------------------------------------------------

/// The same, with a source that has values, texts and the optional step.
class StrategyCopyTest : public StrategyTest {
protected:
    StrategyCopyTest() {
        m_source.setName("source");
        m_source.setDescription("of copies");
        m_source.setFilename("/source.psg");
        m_source.setInternal(true);
        m_source.addStep(flowStep("extra"), false);
        setInt(m_source.getOptions("b"), "CountInt", 7);
        test::setBool(m_source.getRunStepOptions("c")->getAttrs(), "EnableStepBool", false);
        m_strategy.setName("mine");
        m_strategy.setDescription("my own");
        m_strategy.setFilename("/mine.psg");
        m_recorder.changed.clear();
    }

    ~StrategyCopyTest() noexcept override = default;

    HAXPStrategy m_source{m_flow.get()};
};

TEST_F(StrategyCopyTest, CopyStrategyTakesStepsAndValues) {
    m_strategy.copyStrategy(&m_source);
    EXPECT_EQ(stepIds(m_strategy), (Ids{"a", "b", "c", "extra"}));
    EXPECT_EQ(optionIds(m_strategy), stepIds(m_strategy));
    EXPECT_EQ(test::intOf(m_strategy.getOptions("b"), "CountInt"), 7);
    EXPECT_FALSE(test::boolOf(m_strategy.getRunStepOptions("c")->getAttrs(), "EnableStepBool"));
}

TEST_F(StrategyCopyTest, CopyStrategyKeepsTextsAndFlags) {
    m_strategy.copyStrategy(&m_source);
    EXPECT_EQ(m_strategy.getName(), "mine");
    EXPECT_EQ(m_strategy.getDescription(), "my own");
    EXPECT_EQ(m_strategy.getFilename(), "/mine.psg");
    EXPECT_TRUE(m_strategy.isUserDefined());
    EXPECT_FALSE(m_strategy.isInternal());
}

TEST_F(StrategyCopyTest, CopyStrategyTellsOnce) {
    m_strategy.copyStrategy(&m_source);
    EXPECT_EQ(m_recorder.changed, (std::vector<HAXPStrategy*>{&m_strategy}));
}

TEST_F(StrategyCopyTest, CopyStratTakesNameAndDescriptionToo) {
    m_strategy.copyStrat(&m_source, true, indeterminate);
    EXPECT_EQ(m_strategy.getName(), "source");
    EXPECT_EQ(m_strategy.getDescription(), "of copies");
    EXPECT_EQ(m_strategy.getFilename(), "/mine.psg");
    EXPECT_FALSE(m_strategy.isInternal());
    EXPECT_EQ(changes(), 1);
}

TEST_F(StrategyCopyTest, CopiedGroupsTellTheirOwnStrategy) {
    m_strategy.copyStrategy(&m_source);
    m_recorder.changed.clear();
    setInt(m_source.getOptions("a"), "CountInt", 3);
    EXPECT_EQ(changes(), 0);
    setInt(m_strategy.getOptions("a"), "CountInt", 4);
    EXPECT_EQ(m_recorder.changed, (std::vector<HAXPStrategy*>{&m_strategy}));
    EXPECT_EQ(test::intOf(m_source.getOptions("a"), "CountInt"), 3);
}

TEST_F(StrategyCopyTest, TakesTheFlowOfTheSource) {
    const auto other = test::makeFlow({"x", "y"});
    HAXPStrategy source(other.get());
    source.removeStep("y");
    m_strategy.copyStrategy(&source);
    EXPECT_EQ(m_strategy.getFlow(), other.get());
    EXPECT_EQ(stepIds(m_strategy), (Ids{"x"})) << "without default steps";
    m_strategy.nukeVecs();
}

TEST_F(StrategyCopyTest, AsksTheFilterForEachStep) {
    m_filter.keptOut = {"b", "extra"};
    m_strategy.copyStrategy(&m_source);
    EXPECT_EQ(stepIds(m_strategy), (Ids{"a", "c"}));
    EXPECT_EQ(m_filter.strategyAsked, 4);
}

TEST_F(StrategyCopyTest, AsksNoFilterWhenToldTo) {
    m_filter.keptOut = {"b", "extra"};
    m_strategy.copyStrat(&m_source, true, indeterminate);
    EXPECT_EQ(stepIds(m_strategy), (Ids{"a", "b", "c", "extra"}));
    EXPECT_EQ(m_filter.strategyAsked, 0);
    m_strategy.copyStrat(&m_source, false, indeterminate);
    EXPECT_EQ(stepIds(m_strategy), (Ids{"a", "c"}));
}

TEST_F(StrategyCopyTest, LetsEverythingInWithoutAFilter) {
    const test::InstalledStepFilter none(nullptr);
    m_strategy.copyStrategy(&m_source);
    EXPECT_EQ(m_strategy.stepCount(), 4);
}

TEST_F(StrategyCopyTest, RefusesWhenPredefined) {
    m_strategy.setUserDefined(false);
    const std::string refusal = "can't alter a pre-defined strategy";
    EXPECT_EQ(thrownText<HEXAlgException>([&] { m_strategy.copyStrategy(&m_source); }), refusal);
    EXPECT_EQ(
        thrownText<HEXAlgException>([&] { m_strategy.copyStrat(&m_source, true, indeterminate); }),
        refusal);
    EXPECT_EQ(thrownText<HEXAlgException>([&] { m_strategy.copyStrategy(nullptr); }), refusal);
    EXPECT_EQ(stepIds(m_strategy), (Ids{"a", "b", "c"}));
    EXPECT_EQ(m_strategy.getName(), "mine");
    EXPECT_EQ(changes(), 0);
}

TEST_F(StrategyCopyTest, RefusesANullSource) {
    const std::string refusal = "Strategy::copyOptions : NULL strat";
    EXPECT_EQ(thrownText<HEXAlgException>([&] { m_strategy.copyStrategy(nullptr); }), refusal);
    EXPECT_EQ(
        thrownText<HEXAlgException>([&] { m_strategy.copyStrat(nullptr, true, indeterminate); }),
        refusal);
    EXPECT_EQ(m_strategy.stepCount(), 3);
    EXPECT_EQ(changes(), 0);
}

TEST_F(StrategyCopyTest, KeepsItsStepsWhenTheSourceHasAStrangersStep) {
    const auto other = test::makeFlow({"x"});
    m_source.addStep(other->getFlowStepForFSId("x"), false);
    EXPECT_EQ(thrownText<HEXAlgException>([&] { m_strategy.copyStrategy(&m_source); }),
              "Strategy: step 'x' isn't in the flow");
    EXPECT_EQ(stepIds(m_strategy), (Ids{"a", "b", "c"}));
    EXPECT_EQ(changes(), 0);
    m_source.removeStep("x");
}

TEST_F(StrategyCopyTest, KeepsItsStepsWhenTheFilterThrows) {
    struct ThrowingFilter final : HAXPStepFilter {
        bool customAddFilter_(const HAXPFlowStep*, HAXPExpRunBase*, std::string&) override {
            return true;
        }
        bool customAddToStrategy_(const HAXPFlowStep* step) override {
            if (step->getFlowStepId() == "c")
                throw std::runtime_error("no licence");
            return true;
        }
    } throwing;
    const test::InstalledStepFilter installed(&throwing);
    setInt(m_strategy.getOptions("a"), "CountInt", 5);
    EXPECT_EQ(
        thrownText<std::runtime_error>([&] { m_strategy.copyStrat(&m_source, false, false); }),
        "no licence");
    EXPECT_EQ(stepIds(m_strategy), (Ids{"a", "b", "c"}));
    EXPECT_EQ(test::intOf(m_strategy.getOptions("a"), "CountInt"), 5);
    EXPECT_EQ(m_strategy.getName(), "mine");
}

TEST_F(StrategyCopyTest, CopiesItself) {
    m_filter.keptOut = {"b"};
    m_source.copyStrategy(&m_source);
    EXPECT_EQ(stepIds(m_source), (Ids{"a", "c", "extra"}));
    EXPECT_FALSE(test::boolOf(m_source.getRunStepOptions("c")->getAttrs(), "EnableStepBool"));
    m_source.copyStrat(&m_source, true, indeterminate);
    EXPECT_EQ(stepIds(m_source), (Ids{"a", "c", "extra"}));
    EXPECT_EQ(m_source.getName(), "source");
}

// Bitstream or device image --------------------------------------------------

/// The last argument of copyStrat(), and the steps that it lets through.
struct ImageCase {
    const char* name;
    tribool deviceImage;
    Ids steps;
};

std::ostream& operator<<(std::ostream& os, const ImageCase& row) {
    return os << row.name;
}

class StrategyImageTable : public ::testing::TestWithParam<ImageCase> {
protected:
    std::unique_ptr<HAXPFlow> m_flow = test::makeFlow(
        {"route_design", "write_bitstream", "write_device_image", "Write_Bitstream"});
    test::TestStepFilter m_filter;
    test::InstalledStepFilter m_installed{&m_filter};
};

TEST_P(StrategyImageTable, ChoosesTheStepsWhateverTheFilter) {
    const HAXPStrategy source(m_flow.get());
    HAXPStrategy copy;
    copy.copyStrat(&source, true, GetParam().deviceImage);
    EXPECT_EQ(stepIds(copy), GetParam().steps);
    copy.copyStrat(&source, false, GetParam().deviceImage);
    EXPECT_EQ(stepIds(copy), GetParam().steps);
}

INSTANTIATE_TEST_SUITE_P(
    Copy, StrategyImageTable,
    ::testing::Values(
        ImageCase{"False", false, {"route_design", "write_bitstream", "Write_Bitstream"}},
        ImageCase{"True", true, {"route_design", "write_device_image", "Write_Bitstream"}},
        ImageCase{"Indeterminate",
                  indeterminate,
                  {"route_design", "write_bitstream", "write_device_image", "Write_Bitstream"}}),
    [](const auto& row) { return std::string(row.param.name); });

TEST_F(StrategyImageTable, CopyStrategyKeepsBothSubjectToTheFilter) {
    const HAXPStrategy source(m_flow.get());
    HAXPStrategy copy;
    copy.copyStrategy(&source);
    EXPECT_EQ(copy.stepCount(), 4);
    m_filter.keptOut = {"write_bitstream"};
    copy.copyStrategy(&source);
    EXPECT_EQ(stepIds(copy), (Ids{"route_design", "write_device_image", "Write_Bitstream"}));
}

// Differing ------------------------------------------------------------------

/// The steps of two strategies of one flow, the steps that the filter keeps out, and
/// whether the first differs from the second.
struct DifferCase {
    const char* name;
    Ids mine;
    Ids theirs;
    Ids keptOut;
    bool differs;
    bool differsWithoutFilter;
};

std::ostream& operator<<(std::ostream& os, const DifferCase& row) {
    return os << row.name;
}

class StrategyDifferTable : public ::testing::TestWithParam<DifferCase> {
protected:
    void fill(HAXPStrategy& strategy, const Ids& ids) const {
        strategy.setFlow(m_flow.get(), false);
        for (const std::string& id : ids)
            strategy.addStep(m_flow->getFlowStepForFSId(id), false);
    }

    std::unique_ptr<HAXPFlow> m_flow = test::makeFlow({"a", "b", "c", "d"});
    test::TestStepFilter m_filter;
    test::InstalledStepFilter m_installed{&m_filter};
};

TEST_P(StrategyDifferTable, Answers) {
    HAXPStrategy mine;
    HAXPStrategy theirs;
    fill(mine, GetParam().mine);
    fill(theirs, GetParam().theirs);
    m_filter.keptOut = GetParam().keptOut;
    EXPECT_EQ(mine.differsFrom(&theirs, false), GetParam().differs);
    EXPECT_EQ(mine.differsFrom(&theirs), GetParam().differs);
    EXPECT_EQ(mine.differsFrom(&theirs, true), GetParam().differsWithoutFilter);
}

INSTANTIATE_TEST_SUITE_P(
    Strategies, StrategyDifferTable,
    ::testing::Values(DifferCase{"BothEmpty", {}, {}, {}, false, false},
                      DifferCase{"Equal", {"a", "b"}, {"a", "b"}, {}, false, false},
                      DifferCase{"OtherEmpty", {"a", "b"}, {}, {}, false, false},
                      DifferCase{"OneMoreThanOther", {"a", "b"}, {"a"}, {}, false, false},
                      DifferCase{"TwoMoreThanOther", {"a", "b", "c"}, {"a"}, {}, false, false},
                      DifferCase{"OneFewerThanOther", {"a"}, {"a", "b"}, {}, false, false},
                      DifferCase{"TwoFewerThanOther", {"a"}, {"a", "b", "c"}, {}, true, true},
                      DifferCase{"EmptyAgainstOne", {}, {"a"}, {}, false, false},
                      DifferCase{"EmptyAgainstTwo", {}, {"a", "b"}, {}, true, true},
                      DifferCase{"OtherStep", {"a"}, {"b"}, {}, true, true},
                      DifferCase{"OtherOrder", {"a", "b"}, {"b", "a"}, {}, true, true},
                      DifferCase{"KeptOutInFront", {"a", "b", "c"}, {"b", "c"}, {"a"}, false, true},
                      DifferCase{"KeptOutBetween", {"a", "b", "c"}, {"a", "c"}, {"b"}, false, true},
                      DifferCase{"LetInBetween", {"a", "b", "c"}, {"a", "c"}, {}, true, true},
                      DifferCase{"OtherStepKeptOut", {"a"}, {"b"}, {"a"}, false, true},
                      DifferCase{
                          "OtherStepKeptOutAndOneMore", {"a"}, {"b", "c"}, {"a"}, true, true},
                      DifferCase{"TheirsKeptOut", {"a"}, {"b"}, {"b"}, true, true}),
    [](const auto& row) { return std::string(row.param.name); });

TEST_F(StrategyTest, DiffersByAnOptionValue) {
    HAXPStrategy other(m_flow.get());
    EXPECT_FALSE(m_strategy.differsFrom(&other));
    setInt(other.getOptions("c"), "CountInt", 7);
    EXPECT_TRUE(m_strategy.differsFrom(&other));
    setInt(m_strategy.getOptions("c"), "CountInt", 7);
    EXPECT_FALSE(m_strategy.differsFrom(&other));
}

TEST_F(StrategyTest, DiffersByAnAttribute) {
    HAXPStrategy other(m_flow.get());
    test::setBool(other.getRunStepOptions("a")->getAttrs(), "EnableStepBool", false);
    EXPECT_TRUE(m_strategy.differsFrom(&other));
}

TEST_F(StrategyTest, DiffersByNoText) {
    HAXPStrategy other(m_flow.get());
    other.setName("other");
    other.setDescription("text");
    EXPECT_FALSE(m_strategy.differsFrom(&other));
}

TEST_F(StrategyTest, AgreesWithItself) {
    EXPECT_FALSE(m_strategy.differsFrom(&m_strategy));
}

TEST_F(StrategyTest, DiffersFromEveryOtherFlow) {
    const auto twin = test::makeFlowOf(steps());
    HAXPStrategy other(twin.get());
    EXPECT_TRUE(m_strategy.differsFrom(&other));
    other.nukeVecs();
    m_strategy.nukeVecs();
    EXPECT_TRUE(m_strategy.differsFrom(&other));
    HAXPStrategy without;
    EXPECT_TRUE(m_strategy.differsFrom(&without));
}

TEST_F(StrategyTest, CantDifferFromNull) {
    for (const bool ignoreFilter : {false, true})
        EXPECT_EQ(
            thrownText<HEXAlgException>([&] { m_strategy.differsFrom(nullptr, ignoreFilter); }),
            "Strat::differsFrom : NULL strat");
}

TEST_F(StrategyTest, ComparesStrangersStepsWithoutAskingTheFilter) {
    const auto other = test::makeFlow({"x"});
    HAXPStrategy mine;
    HAXPStrategy theirs;
    mine.addStep(other->getFlowStepForFSId("x"), false);
    theirs.addStep(flowStep("a"), false);
    EXPECT_TRUE(mine.differsFrom(&theirs));
    EXPECT_EQ(m_filter.strategyAsked, 0);
    mine.nukeVecs();
}

}  // namespace
