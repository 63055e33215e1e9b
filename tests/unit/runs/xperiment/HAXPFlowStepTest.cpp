// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "runs/base/xperiment/HAXPFlowStep.h"

#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "environment/errors/HEXAlgException.h"
#include "environment/errors/HEXDataException.h"
#include "environment/options/HATAttrSpec.h"
#include "environment/options/HATOptGroup.h"
#include "environment/options/HATOptGroupSpec.h"
#include "runs/base/xperiment/HAXPFileSpec.h"
#include "runs/base/xperiment/HAXPFlowStepOptions.h"
#include "tests/support/TestFlowStep.h"
#include "tests/support/drain.h"
#include "tests/support/thrownText.h"

using test::drain;
using test::TestFlowStep;
using test::thrownText;

namespace {

std::unique_ptr<HAXPFileSpec> reportSpec(const std::string& name) {
    auto spec = std::make_unique<HAXPFileSpec>(name);
    spec->addFileType(HAXPTypes::FILE_ROUTE_DRC);
    return spec;
}

/// The step "Synthesis", invoked as "synth_design".
class FlowStepTest : public ::testing::Test {
protected:
    HAXPFileSpec* addReport(const std::string& name) {
        auto spec = reportSpec(name);
        m_step.addReportSpec(spec.get());
        return spec.release();
    }

    TestFlowStep m_step{"Synthesis", "synth", "synth_design", "synth_id", "synth.pb"};
};

TEST_F(FlowStepTest, KeepsItsFiveTextsApart) {
    EXPECT_EQ(m_step.getName(), "Synthesis");
    EXPECT_EQ(m_step.getAbbrev(), "synth");
    EXPECT_EQ(m_step.getInvokeStr(), "synth_design");
    EXPECT_EQ(m_step.getFlowStepId(), "synth_id");
    EXPECT_EQ(m_step.getMsgFileName(), "synth.pb");
}

TEST_F(FlowStepTest, HasItsDefaults) {
    EXPECT_EQ(m_step.getCmdProc(), "");
    EXPECT_EQ(m_step.getResetProc(), "");
    EXPECT_FALSE(m_step.isVisible());
    EXPECT_FALSE(m_step.isVirtual());
    EXPECT_TRUE(m_step.getCmdLineOptions());
    EXPECT_FALSE(m_step.isOptional());
    EXPECT_TRUE(m_step.writeToRunScript());
    EXPECT_TRUE(m_step.sendCompletedEvent());
    EXPECT_FALSE(m_step.canDisable());
    EXPECT_TRUE(m_step.defaultEnabled());
    EXPECT_FALSE(m_step.hasTclHooks());
    EXPECT_FALSE(m_step.isSetCallbackFunc());
    EXPECT_NE(m_step.getSrcFilter(), nullptr);
    EXPECT_EQ(m_step.getGenFilter(), nullptr);
    EXPECT_EQ(m_step.getOptionsSpec(), nullptr);
    EXPECT_EQ(m_step.getAttrsSpec(), nullptr);
    EXPECT_EQ(m_step.reportSpecCount(), 0);
    EXPECT_TRUE(m_step.getRunInfoVec().empty());
    EXPECT_TRUE(m_step.getFileTypeInfoMap().empty());
}

TEST_F(FlowStepTest, KeepsTheTextsThatAreSet) {
    m_step.setName("a");
    m_step.setAbbrev("b");
    m_step.setInvokeStr("c");
    m_step.setFlowStepId("d");
    m_step.setMsgFileName("e");
    m_step.setCmdProc("f");
    m_step.setResetProc("g");
    EXPECT_EQ(m_step.getName() + m_step.getAbbrev() + m_step.getInvokeStr() +
                  m_step.getFlowStepId() + m_step.getMsgFileName() + m_step.getCmdProc() +
                  m_step.getResetProc(),
              "abcdefg");
}

/// A flag of a step: how it is read and set, and what it is at first.
struct Flag {
    const char* name;
    bool (HAXPFlowStep::*get)() const;
    void (HAXPFlowStep::*set)(bool);
};

class FlowStepFlagTest : public FlowStepTest, public ::testing::WithParamInterface<Flag> {};

TEST_P(FlowStepFlagTest, KeepsWhatIsSet) {
    for (const bool value : {true, false, true}) {
        (m_step.*GetParam().set)(value);
        EXPECT_EQ((m_step.*GetParam().get)(), value);
    }
}

INSTANTIATE_TEST_SUITE_P(
    All, FlowStepFlagTest,
    ::testing::Values(
        Flag{"Optional", &HAXPFlowStep::isOptional, &HAXPFlowStep::setOptional},
        Flag{"CmdLineOptions", &HAXPFlowStep::getCmdLineOptions, &HAXPFlowStep::setCmdLineOptions},
        Flag{"SetCallbackFunc", &HAXPFlowStep::isSetCallbackFunc, &HAXPFlowStep::setCallbackFunc},
        Flag{"SendCompletedEvent", &HAXPFlowStep::sendCompletedEvent,
             &HAXPFlowStep::sendCompletedEvent},
        Flag{"CanDisable", &HAXPFlowStep::canDisable, &HAXPFlowStep::canDisable},
        Flag{"DefaultEnabled", &HAXPFlowStep::defaultEnabled, &HAXPFlowStep::defaultEnabled},
        Flag{"HasTclHooks", &HAXPFlowStep::hasTclHooks, &HAXPFlowStep::hasTclHooks},
        Flag{"WriteToRunScript", &HAXPFlowStep::writeToRunScript, &HAXPFlowStep::writeToRunScript},
        Flag{"Virtual", &HAXPFlowStep::isVirtual, &HAXPFlowStep::isVirtual},
        Flag{"Visible", &HAXPFlowStep::isVisible, &HAXPFlowStep::isVisible}),
    [](const auto& row) { return std::string(row.param.name); });

TEST_F(FlowStepTest, TracksItsStatusByTheInvokeStringUntilAnotherIsSet) {
    EXPECT_EQ(m_step.getStatusTrackingStr(), "synth_design");
    m_step.setStatusTrackingStr("tracked");
    EXPECT_EQ(m_step.getStatusTrackingStr(), "tracked");
    m_step.setStatusTrackingStr("");
    EXPECT_EQ(m_step.getStatusTrackingStr(), "synth_design");
}

TEST_F(FlowStepTest, IsAbbreviatedAlikeWhenCompleteUntilAnotherIsSet) {
    EXPECT_EQ(m_step.getCompleteAbbrev(), "synth");
    m_step.setCompleteAbbrev("synthesised");
    EXPECT_EQ(m_step.getCompleteAbbrev(), "synthesised");
    m_step.setCompleteAbbrev("");
    EXPECT_EQ(m_step.getCompleteAbbrev(), "synth");
}

TEST_F(FlowStepTest, LeavesTheGeneratedFileFilterToItsOwner) {
    HAXPFileSpec filter("generated");
    {
        TestFlowStep step("synth");
        step.setGenFilter(&filter);
        EXPECT_EQ(step.getGenFilter(), &filter);
    }
    EXPECT_EQ(filter.getName(), "generated");
}

TEST_F(FlowStepTest, QuotesWithoutEscaping) {
    EXPECT_EQ(m_step.quote("a\"b"), "\"a\"b\"");
    EXPECT_EQ(m_step.quote(""), "\"\"");
}

TEST_F(FlowStepTest, QuotesIfThereIsABlank) {
    EXPECT_EQ(m_step.quote_if("a b"), "\"a b\"");
    EXPECT_EQ(m_step.quote_if("ab"), "ab");
    EXPECT_EQ(m_step.quote_if("a\tb"), "a\tb");
    EXPECT_EQ(m_step.quote_if(""), "");
}

TEST_F(FlowStepTest, EmptiesBothStringsBeforeItAsksForOptions) {
    std::string pre = "old";
    std::string post = "old";
    m_step.writePrePostOptions(pre, post, nullptr, nullptr);
    EXPECT_EQ(pre, "");
    EXPECT_EQ(post, "");
}

/// Notes what its hook is called with.
class PrePostStep : public TestFlowStep {
public:
    PrePostStep() : TestFlowStep("synth") {}

protected:
    void writePrePostOpts_(std::string& pre, std::string& post, HATOptGroup* options,
                           HAXPExpRunBase* run) const override {
        pre += options == nullptr ? "no options" : "options";
        post += run == nullptr ? "no run" : "run";
    }
};

TEST_F(FlowStepTest, HasTheConcreteStepWriteItsOptions) {
    const HATOptGroupSpec spec;
    HATOptGroup options(&spec);
    std::string pre = "old";
    std::string post = "old";
    PrePostStep().writePrePostOptions(pre, post, &options, nullptr);
    EXPECT_EQ(pre, "options");
    EXPECT_EQ(post, "no run");
}

TEST_F(FlowStepTest, KeepsRunInfosInOrder) {
    HAXPFlowStep::RunInfo info{"prog", "args", "dir", "text"};
    m_step.addRunInfo(info);
    info.program = "changed later";
    m_step.addRunInfo(info);
    ASSERT_EQ(m_step.getRunInfoVec().size(), 2U);
    const HAXPFlowStep::RunInfo& first = m_step.getRunInfoVec()[0];
    EXPECT_EQ(first.program + first.arguments + first.workDir + first.description,
              "progargsdirtext");
    EXPECT_EQ(m_step.getRunInfoVec()[1].program, "changed later");
}

TEST_F(FlowStepTest, ReplacesAllOfAFileTypeInfo) {
    EXPECT_TRUE(HAXPFlowStep::FileTypeInfo().enabled);
    HAXPFlowStep::FileTypeInfo info{"KDS-DCP", "checkpoint", false};
    m_step.addFileTypeInfo("dcp", info);
    m_step.addFileTypeInfo("dcp", HAXPFlowStep::FileTypeInfo{"OPT-DCP", "", true});
    m_step.addFileTypeInfo("v", info);
    ASSERT_EQ(m_step.getFileTypeInfoMap().size(), 2U);
    const HAXPFlowStep::FileTypeInfo& replaced = m_step.getFileTypeInfoMap().at("dcp");
    EXPECT_EQ(replaced.fileType, "OPT-DCP");
    EXPECT_EQ(replaced.description, "");
    EXPECT_TRUE(replaced.enabled);
    EXPECT_FALSE(m_step.getFileTypeInfoMap().at("v").enabled);
}

TEST_F(FlowStepTest, NumbersReportSpecsInOrderOfAddition) {
    HAXPFileSpec* timing = addReport("timing");
    HAXPFileSpec* power = addReport("power");
    EXPECT_EQ(timing->getId(), 0);
    EXPECT_EQ(power->getId(), 1);
    EXPECT_EQ(m_step.reportSpecCount(), 2);
    EXPECT_EQ(drain(m_step.createReportSpecIter()), (std::vector<HAXPFileSpec*>{timing, power}));
}

TEST_F(FlowStepTest, RefusesASecondReportSpecWithOneName) {
    addReport("timing");
    const auto second = reportSpec("timing");
    EXPECT_EQ(thrownText<HEXAlgException>([&] { m_step.addReportSpec(second.get()); }),
              "duplicate spec can't be registered");
    EXPECT_EQ(m_step.reportSpecCount(), 1);
    EXPECT_EQ(second->getId(), -1);
}

TEST_F(FlowStepTest, TakesReportNamesThatDifferInCase) {
    addReport("timing");
    addReport("Timing");
    EXPECT_EQ(m_step.reportSpecCount(), 2);
}

TEST_F(FlowStepTest, RefusesAReportSpecWithoutEnumeratedFileTypes) {
    HAXPFileSpec spec("timing");
    spec.addFileType(HAXPFileType("Report"));
    EXPECT_EQ(thrownText<HEXAlgException>([&] { m_step.addReportSpec(&spec); }),
              "report spec needs at least 1 fileType");
    EXPECT_EQ(m_step.reportSpecCount(), 0);
}

TEST_F(FlowStepTest, TellsADuplicateBeforeAMissingFileType) {
    addReport("timing");
    HAXPFileSpec spec("timing");
    EXPECT_EQ(thrownText<HEXAlgException>([&] { m_step.addReportSpec(&spec); }),
              "duplicate spec can't be registered");
}

TEST_F(FlowStepTest, ConfiguresReportsWhileThereAreNone) {
    m_step.configReports();
    m_step.configReports();
    EXPECT_EQ(m_step.calls, (std::vector<std::string>{"reports", "reports"}));
    addReport("timing");
    EXPECT_EQ(thrownText<HEXDataException>([&] { m_step.configReports(); }),
              "reports already configured for flow step");
    EXPECT_EQ(m_step.calls.size(), 2U);
}

/// An attribute spec, written out.
std::string written(const HATOptGroupSpec& group, const HATAttrSpec& spec) {
    std::string text = std::to_string(spec.getAttrType()) + " " + spec.getName() + " " +
                       group.getDbId(&spec) + " '" + group.getInvokeStr(&spec) + "'";
    if (spec.isAlwaysWrite())
        text += " always";
    if (spec.isReadOnly())
        text += " readonly";
    if (spec.isVisible())
        text += " visible";
    if (spec.isProjectFile())
        text += " project";
    for (const std::string& ext : spec.getFileExtRange())
        text += " ." + ext + " " + spec.getFileExtRangeDescription();
    return text + ": " + spec.getDescription();
}

/// A step whose options are configured as its flags say.
class FlowStepOptionsTest : public FlowStepTest {
protected:
    std::vector<std::string> attrs() {
        m_step.configOptionsSpec();
        std::vector<std::string> texts;
        for (const HATAttrSpec* spec : drain(m_step.getAttrsSpec()->createAttrSpecIter()))
            texts.push_back(written(*m_step.getAttrsSpec(), *spec));
        return texts;
    }

    std::string enableDescription(const std::string& flowStepId) {
        TestFlowStep step(flowStepId);
        step.canDisable(true);
        step.configOptionsSpec();
        return step.getAttrsSpec()->getAttrSpecForDbId("EnableStepBool")->getDescription();
    }
};

constexpr const char* kReportsAttr = "6 REPORTS REPORTS '' always readonly visible: "
                                     "REPORT configurations associated with this step";

TEST_F(FlowStepOptionsTest, NamesBothSpecsAlike) {
    m_step.configOptionsSpec();
    for (const HATOptGroupSpec* spec : {m_step.getOptionsSpec(), m_step.getAttrsSpec()}) {
        EXPECT_EQ(spec->getOptGrpId(), "synth_id");
        EXPECT_EQ(spec->getOptGrpPrettyDisplayName(), "Synthesis (synth_design)");
    }
    EXPECT_NE(m_step.getOptionsSpec(), m_step.getAttrsSpec());
}

TEST_F(FlowStepOptionsTest, AsksForOptionsOfANamedSpecBeforeAttributes) {
    m_step.onConfigOptions = [this](HATOptGroupSpec* spec) {
        EXPECT_EQ(spec, m_step.getOptionsSpec());
        EXPECT_EQ(spec->getOptGrpId(), "synth_id");
        EXPECT_EQ(m_step.getAttrsSpec()->getOptGrpPrettyDisplayName(), "Synthesis (synth_design)");
        EXPECT_EQ(m_step.getAttrsSpec()->attrSpecCount(), 0U);
    };
    m_step.configOptionsSpec();
    EXPECT_EQ(m_step.calls, std::vector<std::string>{"options"});
}

TEST_F(FlowStepOptionsTest, RefusesASecondConfiguration) {
    m_step.configOptionsSpec();
    const HATOptGroupSpec* options = m_step.getOptionsSpec();
    EXPECT_EQ(thrownText<HEXDataException>([&] { m_step.configOptionsSpec(); }),
              "Options already configured for flow step");
    EXPECT_EQ(m_step.getOptionsSpec(), options);
    EXPECT_EQ(m_step.getAttrsSpec()->attrSpecCount(), 1U);
}

TEST_F(FlowStepOptionsTest, HasTheReportsAttributeAlone) {
    EXPECT_EQ(attrs(), std::vector<std::string>{kReportsAttr});
    EXPECT_EQ(m_step.getAttrsSpec()->getAttrSpecForDbId("EnableStepBool"), nullptr);
}

TEST_F(FlowStepOptionsTest, HasASwitchAndHooksInFrontIfTheFlagsSaySo) {
    m_step.canDisable(true);
    m_step.hasTclHooks(true);
    EXPECT_EQ(attrs(),
              (std::vector<std::string>{
                  "0 is_enabled EnableStepBool '' always visible: "
                  "Optionally run this step as part of the flow",
                  "10 tcl.pre PreStepTclHook '' visible project .tcl TCL File: pre-step tcl hook",
                  "10 tcl.post PostStepTclHook '' visible project .tcl TCL File: "
                  "post-step tcl hook",
                  kReportsAttr}));
}

TEST_F(FlowStepOptionsTest, SwitchesAStepOnOrOffByDefault) {
    for (const bool enabled : {true, false}) {
        TestFlowStep step("synth");
        step.canDisable(true);
        step.defaultEnabled(enabled);
        step.configOptionsSpec();
        EXPECT_EQ(step.getAttrsSpec()->getAttrSpecForDbId("EnableStepBool")->getBoolDefault(),
                  enabled);
    }
}

TEST_F(FlowStepOptionsTest, ExplainsTheSwitchOfThePowerSteps) {
    const std::string plain = "Optionally run this step as part of the flow";
    EXPECT_EQ(enableDescription("Power_Opt_Design"),
              plain + ". This step optimizes design to maximize power saving.");
    EXPECT_EQ(enableDescription("POST_place_power_opt_design"),
              plain + ". This step optimizes design to save power and preserve timing post-place. "
                      "If pre-place power_opt_design option is selected, this option will do "
                      "nothing");
    EXPECT_EQ(enableDescription("power_opt_design2"), plain);
}

TEST_F(FlowStepOptionsTest, GivesAStrategyAGroupOfEachSpec) {
    m_step.canDisable(true);
    m_step.configOptionsSpec();
    const HAXPFlowStepOptions options(m_step.getOptionsSpec(), m_step.getAttrsSpec());
    EXPECT_EQ(options.getOptionsSpec(), m_step.getOptionsSpec());
    EXPECT_EQ(options.getAttrsSpec(), m_step.getAttrsSpec());
    EXPECT_EQ(options.getOptions()->getOptionsSpec(), m_step.getOptionsSpec());
    EXPECT_EQ(options.getAttrs()->getOptionsSpec(), m_step.getAttrsSpec());
    EXPECT_EQ(options.getOptGrpId(), "synth_id");
    EXPECT_TRUE(options.getAttrs()->getBoolVal(
        m_step.getAttrsSpec()->getAttrSpecForDbId("EnableStepBool")));
}

}  // namespace
