// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "runs/base/xpreport/HAXRReportConfig.h"

#include "environment/errors/HEXAlgException.h"
#include "tests/unit/runs/xpreport/reportConfigFixture.h"

namespace {

namespace reports = test::reports;

using reports::makeGroup;
using reports::makeReport;
using test::drained;
using test::kDone;
using test::kFailed;
using test::kRunning;
using test::thrownText;

using Lines = std::vector<std::string>;

constexpr auto kNotGenerated = HAXRReportConfig::REPORT_NOT_GENERATED;
constexpr auto kGenerated = HAXRReportConfig::REPORT_GENERATED;
constexpr auto kStale = HAXRReportConfig::REPORT_STALE;
constexpr auto kReportFailed = HAXRReportConfig::REPORT_FAILED;

class ReportConfigTest : public reports::ReportConfigFixture {};

// A stale option -------------------------------------------------------------

TEST(ReportStaleOptionTest, StartsEmpty) {
    std::string name = "x";
    std::string before = "x";
    std::string after = "x";
    HAXRStaleOption().getStaleOptionDetails(name, before, after);
    EXPECT_EQ(name + before + after, "");
}

TEST(ReportStaleOptionTest, KeepsNameAndBothValues) {
    HAXRStaleOption option;
    option.setStaleOptionDetails("paths", "10", "20");
    EXPECT_EQ(option.getOptionName(), "paths");
    EXPECT_EQ(option.getLaunchTimeVal(), "10");
    EXPECT_EQ(option.getNewVal(), "20");
    option.setLaunchTimeVal("11");
    option.setNewVal("21");
    std::string name;
    std::string before;
    std::string after;
    option.getStaleOptionDetails(name, before, after);
    EXPECT_EQ((Lines{name, before, after}), (Lines{"paths", "11", "21"}));
}

// A new report ---------------------------------------------------------------

TEST_F(ReportConfigTest, TakesAfterItsSpecification) {
    EXPECT_EQ(m_config->getReportSpec(), m_spec.get());
    EXPECT_EQ(m_config->getSpecName(), "report_timing_summary");
    EXPECT_EQ(m_config->getSpecType(), HAXRTypes::REPORT_TIMING_SUMMARY);
    EXPECT_EQ(m_config->getSpecDisplayName(), "Timing Summary");
    EXPECT_EQ(m_config->getShortDesc(), "About report_timing_summary");
    EXPECT_EQ(m_config->getVersion(), (VersionInfo{1, 0}));
}

TEST_F(ReportConfigTest, StartsEnabledAndWithoutAFile) {
    EXPECT_EQ(m_config->getName(), "impl_1_route_report_timing_summary_0");
    EXPECT_EQ(m_config->getAssociatedStepName(), "route_design");
    EXPECT_EQ(m_config->getAssociatedRun(), m_run.get());
    EXPECT_TRUE(m_config->isEnabled());
    EXPECT_FALSE(m_config->isReadOnly());
    EXPECT_FALSE(m_config->isPreGenerationRequired());
    EXPECT_FALSE(m_config->isMarkedForGeneration());
    EXPECT_EQ(m_config->getReportFile(), "");
    EXPECT_EQ(m_config->getReportFullPath(), "");
    EXPECT_EQ(m_config->getState(), kNotGenerated);
    EXPECT_TRUE(staleOptions().empty());
}

TEST_F(ReportConfigTest, HasOptionsOfItsOwn) {
    EXPECT_EQ(reports::namesOf(m_config->getOptions()), (Lines{"fast", "paths"}));
    EXPECT_EQ(m_config->getOptions()->getOptGrpPrettyDisplayName(), "report_timing_summary");
    reports::setNumber(m_config->getOptions(), "paths", 20);
    EXPECT_EQ(reports::valueOf(m_spec->getOptions(), "paths"), "10");
    EXPECT_FALSE(reports::optionOf(m_config->getOptions(), "paths")->isReadOnly());
}

TEST_F(ReportConfigTest, HasReadOnlyOutputOptions) {
    EXPECT_EQ(reports::namesOf(m_config->getOutputOptions()), (Lines{"pb", "RPX"}));
    EXPECT_TRUE(reports::optionOf(m_config->getOutputOptions(), "pb")->isReadOnly());
    EXPECT_NE(m_config->getOutputOptions(), m_spec->getOutputOptions());
}

TEST_F(ReportConfigTest, WalksItsOptionsInOrder) {
    EXPECT_EQ(drained(m_config->createReportOptionsIter()).size(), 2U);
    const auto outputs = drained(m_config->createReportOutputOptionsIter());
    ASSERT_EQ(outputs.size(), 2U);
    EXPECT_EQ(outputs[0]->getName(), "pb");
}

TEST_F(ReportConfigTest, HasNoOutputOptionsWhereItsSpecificationHasNone) {
    const auto spec = makeReport("report_drc");
    const auto config = make("route_design", *spec);
    EXPECT_EQ(config->getOutputOptions(), nullptr);
    EXPECT_EQ(config->getFile("pb"), "");
    config->setReportFile("a.rpt", false);
    EXPECT_EQ(config->getReportFile(), "a.rpt");
}

TEST_F(ReportConfigTest, IsShownByTheFirstNameThatThereIs) {
    HAXRReportSpec nameless("", "", makeGroup({}).release(), "");
    const auto shown = [this](HAXRReportSpec& spec, const std::string& displayName) {
        return HAXRReportConfig("r_0", "route_design", &spec, m_run.get(), false, displayName)
            .getDisplayName();
    };
    EXPECT_EQ(shown(*m_spec, "Mine"), "Mine");
    EXPECT_EQ(shown(*m_spec, ""), "Timing Summary");
    EXPECT_EQ(shown(nameless, ""), "r_0");
}

TEST_F(ReportConfigTest, IsStaticExactlyWhenReadOnly) {
    const HAXRReportConfig log("log", "route_design", m_spec.get(), m_run.get(), true, "");
    EXPECT_TRUE(log.isReadOnly());
    EXPECT_TRUE(log.isStaticReport());
    EXPECT_FALSE(m_config->isStaticReport());
}

TEST_F(ReportConfigTest, RefusesANullSpecificationAndANullRun) {
    EXPECT_EQ(thrownText<HEXAlgException>([this] {
                  HAXRReportConfig("r", "route_design", nullptr, m_run.get(), false, "");
              }),
              "ReportConfig: null specification");
    EXPECT_EQ(thrownText<HEXAlgException>([this] {
                  HAXRReportConfig("r", "route_design", m_spec.get(), nullptr, false, "");
              }),
              "ReportConfig: null run");
}

TEST_F(ReportConfigTest, PassesItsDirtyMarksToTheRun) {
    m_config->setDirty();
    EXPECT_EQ(m_run->dirtyCalls, 1);
}

TEST_F(ReportConfigTest, MarksANewDisplayNameDirtyWhenToldTo) {
    m_config->setDisplayName("A", false);
    EXPECT_EQ(m_run->dirtyCalls, 0);
    m_config->setDisplayName("B", true);
    EXPECT_EQ(m_run->dirtyCalls, 1);
    EXPECT_EQ(m_config->getDisplayName(), "B");
    m_config->setName("n");
    m_config->setShortDesc("d");
    EXPECT_EQ(m_config->getName() + m_config->getShortDesc(), "nd");
    EXPECT_EQ(m_run->dirtyCalls, 1);
}

TEST_F(ReportConfigTest, IsMarkedForGenerationUntilGeneratedOrDisabled) {
    m_config->preGenerate(true);
    EXPECT_TRUE(m_config->isPreGenerationRequired());
    m_config->markForGeneration(true);
    EXPECT_TRUE(m_config->isMarkedForGeneration());
    m_config->setEnabled(false, false);
    EXPECT_FALSE(m_config->isMarkedForGeneration());
    m_config->setEnabled(true, false);
    generate();
    EXPECT_FALSE(m_config->isMarkedForGeneration());
    makeStale("route_design");
    EXPECT_TRUE(m_config->isMarkedForGeneration());
}

// State ----------------------------------------------------------------------

TEST_F(ReportConfigTest, StaysAsItIsWhileThereIsNeitherFileNorMarker) {
    m_config->setReportFile("top.rpt", false);
    EXPECT_FALSE(m_config->update(false));
    EXPECT_EQ(m_config->getState(), kNotGenerated);
    generate();
    m_dir.unmark("top.rpt");
    EXPECT_FALSE(m_config->update(false));
    EXPECT_EQ(m_config->getState(), kGenerated);
    m_config->reset(false);
    EXPECT_FALSE(m_config->update(false));
    EXPECT_EQ(m_config->getState(), kNotGenerated);
}

TEST_F(ReportConfigTest, NeverFindsAFileWithoutAName) {
    m_config->setReportFile("", true);
    EXPECT_FALSE(m_config->update(false));
    m_config->reset(false);
    EXPECT_EQ(m_config->getState(), kNotGenerated);
}

TEST_F(ReportConfigTest, FailsByItsMarkerWhateverFileThereIs) {
    generate();
    fail();
    EXPECT_FALSE(m_config->update(false)) << "nothing changed since";
    m_dir.unmark(kFailMarker);
    EXPECT_TRUE(m_config->update(false));
    EXPECT_EQ(m_config->getState(), kGenerated);
}

TEST_F(ReportConfigTest, UpdatesTellTheRunWhenAskedTo) {
    m_config->update(false);
    EXPECT_EQ(m_run->dirtyCalls, 0);
    m_config->update(true);
    EXPECT_EQ(m_run->dirtyCalls, 1) << "also when nothing changed";
}

TEST_F(ReportConfigTest, ReadsAsStaleWhileAStepUpToItsOwnIs) {
    generate();
    for (const char* const id : {"init_design", "place_design", "route_design"}) {
        makeStale(id);
        EXPECT_TRUE(m_config->isStale()) << id;
        step(id)->resetStaleReasons();
        EXPECT_EQ(m_config->getState(), kGenerated) << id;
    }
    makeStale("write_bitstream");
    EXPECT_EQ(m_config->getState(), kGenerated) << "a step behind its own";
}

TEST_F(ReportConfigTest, FindsItsStepWhateverTheCase) {
    m_config = make("ROUTE_Design");
    generate();
    makeStale("write_bitstream");
    EXPECT_EQ(m_config->getState(), kGenerated);
}

TEST_F(ReportConfigTest, LooksAtEveryStepWhenItsOwnIsMissing) {
    m_config = make("opt_design");
    generate();
    makeStale("write_bitstream");
    EXPECT_EQ(m_config->getState(), kStale);
}

TEST_F(ReportConfigTest, ReadsAsStaleWhileTheRunNeedsACompleteReset) {
    generate();
    makeRunStale();
    EXPECT_EQ(m_config->getState(), kStale);
    m_run->info().removeAllStaleReasons();
    EXPECT_EQ(m_config->getState(), kGenerated);
}

TEST_F(ReportConfigTest, AFailedOrMissingReportDoesNotReadAsStale) {
    makeRunStale();
    EXPECT_EQ(m_config->getState(), kNotGenerated);
    fail();
    EXPECT_EQ(m_config->getState(), kReportFailed);
}

// Switching on and off -------------------------------------------------------

TEST_F(ReportConfigTest, IsSwitchedOffAlwaysAndOnWhenTheRunTakesIt) {
    m_config = make("write_bitstream");
    m_run->setCode("write_bitstream", kDone);
    EXPECT_FALSE(m_config->canEnableReport());
    m_config->setEnabled(false, true);
    EXPECT_FALSE(m_config->isEnabled());
    EXPECT_EQ(m_run->dirtyCalls, 1);
    m_config->setEnabled(true, true);
    EXPECT_FALSE(m_config->isEnabled());
    EXPECT_EQ(m_run->dirtyCalls, 1) << "refused without a mark";
    m_run->setCode("write_bitstream", test::kNotStarted);
    m_config->setEnabled(true, false);
    EXPECT_TRUE(m_config->isEnabled());
    EXPECT_EQ(m_run->dirtyCalls, 1);
}

TEST_F(ReportConfigTest, IsNotSwitchedOnWithoutAStepOfExactlyItsName) {
    EXPECT_TRUE(m_config->canEnableReport());
    EXPECT_FALSE(make("Route_Design")->canEnableReport());
    EXPECT_FALSE(make("opt_design")->canEnableReport());
}

// Whether a script should make it --------------------------------------------

TEST_F(ReportConfigTest, IsMadeByAScriptOnceItsStepIsDone) {
    EXPECT_FALSE(m_config->isGenerationRequired());
    m_run->setCode("route_design", kRunning);
    EXPECT_FALSE(m_config->isGenerationRequired());
    m_run->setCode("route_design", kFailed);
    EXPECT_FALSE(m_config->isGenerationRequired());
    m_run->setCode("route_design", kDone);
    EXPECT_TRUE(m_config->isGenerationRequired());
    m_run->setEnabled("route_design", false);
    EXPECT_FALSE(m_config->isGenerationRequired());
}

TEST_F(ReportConfigTest, IsMadeByAScriptAgainAfterAFailureOrAChange) {
    m_run->setCode("route_design", kDone);
    generate();
    EXPECT_FALSE(m_config->isGenerationRequired());
    m_config->addOrUpdateStaleReason("paths", "10", "20");
    EXPECT_TRUE(m_config->isGenerationRequired());
    fail();
    EXPECT_TRUE(m_config->isGenerationRequired());
}

TEST_F(ReportConfigTest, IsNotMadeByAScriptOverAStaleStep) {
    m_run->setCode("route_design", kDone);
    for (const char* const id : {"init_design", "place_design", "route_design"}) {
        makeStale(id);
        EXPECT_FALSE(m_config->isGenerationRequired()) << id;
        step(id)->resetStaleReasons();
    }
    makeStale("write_bitstream");
    EXPECT_TRUE(m_config->isGenerationRequired()) << "a step behind its own";
}

TEST_F(ReportConfigTest, IsNotMadeByAScriptWhenStaticDisabledOrTheRunNeedsAReset) {
    m_run->setCode("route_design", kDone);
    const HAXRReportConfig log("log", "route_design", m_spec.get(), m_run.get(), true, "");
    EXPECT_FALSE(log.isGenerationRequired());
    m_config->setEnabled(false, false);
    EXPECT_FALSE(m_config->isGenerationRequired());
    m_config->setEnabled(true, false);
    EXPECT_TRUE(m_config->isGenerationRequired());
    makeRunStale();
    EXPECT_FALSE(m_config->isGenerationRequired());
}

TEST_F(ReportConfigTest, IsNotMadeByAScriptForStepsThatReportInTheRunAlone) {
    m_run->setCode("init_design", kDone);
    m_run->setCode("write_bitstream", kDone);
    for (const char* const id :
         {"init_design", "Init_Design", "write_bitstream", "write_device_image"})
        EXPECT_FALSE(make(id)->isGenerationRequired()) << id;
    EXPECT_TRUE(make("opt_design")->isGenerationRequired()) << "no step of the run";
}

// Stale options --------------------------------------------------------------

TEST_F(ReportConfigTest, NotesOptionsThatChangedSinceItWasMade) {
    generate();
    m_config->addOrUpdateStaleReason("x", "1", "2");
    m_config->addOrUpdateStaleReason("y", "a", "b");
    EXPECT_EQ(staleOptions(), (Lines{"x: 1 > 2", "y: a > b"}));
    EXPECT_EQ(m_config->getState(), kStale);
    m_config->addOrUpdateStaleReason("x", "1", "3");
    EXPECT_EQ(staleOptions(), (Lines{"x: 1 > 3", "y: a > b"}));
    EXPECT_FALSE(m_config->update(false));
    EXPECT_EQ(m_config->getState(), kStale);
}

TEST_F(ReportConfigTest, PassesOverAChangeToTheSameValue) {
    generate();
    m_config->addOrUpdateStaleReason("x", "1", "1");
    EXPECT_EQ(m_config->getState(), kGenerated);
    m_config->addOrUpdateStaleReason("x", "1", "2");
    m_config->addOrUpdateStaleReason("x", "1", "1");
    EXPECT_EQ(staleOptions(), Lines{"x: 1 > 2"});
}

TEST_F(ReportConfigTest, ForgetsAnOptionThatIsBackAtItsOldValue) {
    generate();
    m_config->addOrUpdateStaleReason("x", "1", "2");
    m_config->addOrUpdateStaleReason("x", "3", "1");
    EXPECT_TRUE(staleOptions().empty());
    EXPECT_EQ(m_config->getState(), kGenerated);
}

TEST_F(ReportConfigTest, StaysStaleWhenItsFileIsGoneMeanwhile) {
    generate();
    m_config->addOrUpdateStaleReason("x", "1", "2");
    m_dir.unmark("top.rpt");
    m_config->addOrUpdateStaleReason("x", "3", "1");
    EXPECT_EQ(m_config->getState(), kStale);
}

TEST_F(ReportConfigTest, NotesNothingBeforeItIsMadeOrOnceItFailed) {
    m_config->addOrUpdateStaleReason("x", "1", "2");
    EXPECT_EQ(m_config->getState(), kNotGenerated);
    fail();
    m_config->addOrUpdateStaleReason("x", "1", "2");
    EXPECT_TRUE(staleOptions().empty());
    EXPECT_EQ(m_config->getState(), kReportFailed);
}

TEST_F(ReportConfigTest, NotesOptionsAlsoWhileAStepMakesItStale) {
    generate();
    makeStale("place_design");
    m_config->addOrUpdateStaleReason("x", "1", "2");
    step("place_design")->resetStaleReasons();
    EXPECT_EQ(m_config->getState(), kStale);
}

TEST_F(ReportConfigTest, ClearsItsStaleOptionsAndTellsTheRunWhenAskedTo) {
    generate();
    m_config->addOrUpdateStaleReason("x", "1", "2");
    m_config->clearStaleOptions(false);
    EXPECT_TRUE(staleOptions().empty());
    EXPECT_EQ(m_config->getState(), kStale) << "until it is updated";
    EXPECT_EQ(m_run->dirtyCalls, 0);
    m_config->clearStaleOptions(true);
    EXPECT_EQ(m_run->dirtyCalls, 1) << "also when the list was empty";
    EXPECT_TRUE(m_config->update(false));
    EXPECT_EQ(m_config->getState(), kGenerated);
}

// Equivalence ----------------------------------------------------------------

TEST_F(ReportConfigTest, IsEquivalentByOptionsWhateverStepAndName) {
    const auto other = make("place_design");
    other->setName("other");
    EXPECT_TRUE(m_config->IsEquivalent(other.get()));
    reports::setNumber(other->getOptions(), "paths", 20);
    EXPECT_FALSE(m_config->IsEquivalent(other.get()));
}

TEST_F(ReportConfigTest, IsNotEquivalentToAnotherReportOrVersion) {
    const auto named = makeReport("report_drc");
    const auto major = makeReport("report_timing_summary", {}, {2, 0});
    const auto minor = makeReport("report_timing_summary", {}, {1, 1});
    const auto plain = makeReport("report_timing_summary", {}, {1, 0});
    const auto config = make("route_design", *plain);
    EXPECT_TRUE(config->IsEquivalent(make("route_design", *plain).get()));
    EXPECT_TRUE(config->IsEquivalent(m_config.get())) << "what only the other has isn't noticed";
    EXPECT_FALSE(m_config->IsEquivalent(config.get()));
    EXPECT_FALSE(config->IsEquivalent(make("route_design", *named).get()));
    EXPECT_FALSE(config->IsEquivalent(make("route_design", *major).get()));
    EXPECT_FALSE(config->IsEquivalent(make("route_design", *minor).get()));
    EXPECT_FALSE(config->IsEquivalent(nullptr));
}

TEST_F(ReportConfigTest, AStaticReportIsEquivalentToNone) {
    const HAXRReportConfig log("log", "route_design", m_spec.get(), m_run.get(), true, "");
    EXPECT_FALSE(log.IsEquivalent(m_config.get()));
    EXPECT_TRUE(m_config->IsEquivalent(&log));
}

// The run's new name ---------------------------------------------------------

TEST_F(ReportConfigTest, FollowsTheNameOfItsRun) {
    m_config->setName("impl_1_route_report_timing_0");
    m_config->setReportFile("impl_1.rpt", true);
    m_config->replaceRunSubStringInName("impl_1", "impl_2");
    EXPECT_EQ(m_config->getName(), "impl_2_route_report_timing_0");
    EXPECT_EQ(m_config->getReportFile(), "impl_1.rpt");
}

TEST_F(ReportConfigTest, ReplacesEveryOccurrenceOnceOnly) {
    m_config->setName("a_b_a");
    m_config->replaceRunSubStringInName("a", "aa");
    EXPECT_EQ(m_config->getName(), "aa_b_aa");
    m_config->replaceRunSubStringInName("none", "x");
    EXPECT_EQ(m_config->getName(), "aa_b_aa");
}

TEST_F(ReportConfigTest, KeepsItsNameWhenNothingWouldBeLeftOrAskedFor) {
    m_config->setName("impl_1");
    m_config->replaceRunSubStringInName("impl_1", "");
    EXPECT_EQ(m_config->getName(), "impl_1");
    m_config->replaceRunSubStringInName("", "x");
    EXPECT_EQ(m_config->getName(), "impl_1");
}

}  // namespace
