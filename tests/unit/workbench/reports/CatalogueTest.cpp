// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include <algorithm>
#include <fstream>
#include <memory>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "environment/containers/HSTFwdIter.h"
#include "environment/containers/HSTKeyValIter.h"
#include "environment/options/HATAttrSpec.h"
#include "environment/options/HATAttrTypes.h"
#include "environment/options/HATOptGroup.h"
#include "environment/options/HATOptGroupSpec.h"
#include "runs/base/xperiment/HAXPFlow.h"
#include "runs/base/xpreport/HAXRReportSpec.h"
#include "runs/base/xpreport/HAXRReportSpecMgr.h"
#include "runs/base/xpreport/HAXRReportSpecParser.h"
#include "runs/base/xpreport/HAXRReportStrategy.h"
#include "runs/base/xpreport/HAXRReportStrategyXMLParser1.h"
#include "tests/support/MessageRecorder.h"
#include "tests/unit/runs/xpreport/schemaFile.h"
#include "workbench/product.h"
#include "workbench/reports/reportCommands.h"

using ::testing::ElementsAre;
using ::testing::IsEmpty;

namespace {

std::string folder() {
    return std::string(XPERIMENT_DATA) + "/reportstrategies";
}

std::string read(const std::string& path) {
    std::ostringstream text;
    text << std::ifstream(path).rdbuf();
    return text.str();
}

const reports::ReportCommand* findCommand(const std::string& name) {
    const auto& all = reports::reportCommands();
    const auto found = std::find_if(all.begin(), all.end(), [&](const reports::ReportCommand& one) {
        return name == one.name;
    });
    return found == all.end() ? nullptr : &*found;
}

const reports::OptionRule* findRule(const std::vector<reports::OptionRule>& rules,
                                    const std::string& name) {
    const auto found =
        std::find_if(rules.begin(), rules.end(),
                     [&](const reports::OptionRule& one) { return name == one.name; });
    return found == rules.end() ? nullptr : &*found;
}

/// The catalogue and the report strategies as the product ships them.
class CatalogueTest : public ::testing::Test {
protected:
    static void SetUpTestSuite() {
        const test::MessageRecorder messages;
        workbench::installProduct(XPERIMENT_BIN_DIR);
        HAXRReportSpecParser(catalogue(), folder() + "/report.xml").parseReportSpecs();
        catalogue()->populateLatestSpecs();
        EXPECT_THAT(messages.texts(), IsEmpty());
    }

    static HAXRReportSpecMgr* catalogue() { return HAXRReportSpecMgr::getGlobal(); }

    /// Every version of every report.
    static std::vector<const HAXRReportSpec*> allSpecs() {
        std::vector<const HAXRReportSpec*> specs;
        const std::unique_ptr<HSTKeyValIter<std::string, HAXRReportSpec*>> names(
            catalogue()->createReportSpecIterator());
        while (names->hasNext()) {
            const std::pair<std::string, HAXRReportSpec*> entry = names->next();
            const VersionInfo latest = entry.second->getVersion();
            for (int minor = 0; minor <= latest.minor; ++minor)
                specs.push_back(catalogue()->find(entry.first, {latest.major, minor}));
        }
        EXPECT_FALSE(specs.empty());
        return specs;
    }

    static const std::vector<std::unique_ptr<HATAttrSpec>>& specsOf(const HATOptGroup* group) {
        return group->getOptionsSpec()->getAttrSpecs();
    }

    /// "step: report, report" of the strategy in a shipped file.
    static std::vector<std::string> contentsOf(const std::string& file) {
        HAXRReportStrategyXMLParser1 parser;
        parser.parseStrategies(folder() + "/" + file);
        const std::unique_ptr<HSTFwdIter<HAXRReportStrategy*>> strategies(
            parser.createStrategyIter());
        const std::unique_ptr<HAXRReportStrategy> strategy(strategies->next());
        EXPECT_FALSE(strategies->hasNext());
        std::vector<std::string> lines{strategy->getName() + " of " +
                                       strategy->getFlow()->getFlowId()};
        const std::unique_ptr<HSTFwdIter<std::string>> steps(strategy->createFlowStepIter());
        while (steps->hasNext())
            lines.push_back(lineOf(*strategy, steps->next()));
        strategy->nukeSteps();
        return lines;
    }

private:
    static std::string lineOf(const HAXRReportStrategy& strategy, const std::string& step) {
        std::string line = step + ":";
        const std::unique_ptr<HSTFwdIter<HAXRReportSpec*>> specs(
            strategy.createReportSpecIter(step));
        while (specs->hasNext())
            line += " " + specs->next()->getName();
        return line;
    }
};

TEST_F(CatalogueTest, KeepsTheRulesOfItsSchema) {
    EXPECT_TRUE(
        test::reports::isValidBySchema("report-catalogue.xsd", read(folder() + "/report.xml")));
    for (const char* file : {"synthesis_default.psg", "implementation_default.psg"})
        EXPECT_TRUE(
            test::reports::isValidBySchema("report-strategy.xsd", read(folder() + "/" + file)))
            << file;
}

TEST_F(CatalogueTest, ListsTheReportsThatTheInterpreterHas) {
    std::set<std::string> listed;
    for (const HAXRReportSpec* spec : allSpecs()) {
        ASSERT_NE(spec, nullptr) << "a version is left out";
        listed.insert(spec->getName());
    }
    std::set<std::string> known;
    for (const reports::ReportCommand& command : reports::reportCommands())
        known.insert(command.name);
    EXPECT_EQ(listed, known);
}

TEST_F(CatalogueTest, HasSeveralVersionsOfSomeReports) {
    for (const char* name :
         {"report_drc", "report_timing", "report_timing_summary", "report_utilization"})
        EXPECT_EQ(catalogue()->find(name)->getVersion(), (VersionInfo{1, 1})) << name;
    EXPECT_EQ(catalogue()->find("report_io")->getVersion(), (VersionInfo{1, 0}));
}

TEST_F(CatalogueTest, HoldsOnlyOptionsThatTheCommandsTake) {
    for (const HAXRReportSpec* spec : allSpecs()) {
        const reports::ReportCommand* command = findCommand(spec->getName());
        ASSERT_NE(command, nullptr) << spec->getName();
        const std::vector<reports::OptionRule> rules = allOptions(*command);
        for (const auto& option : specsOf(spec->getOptions())) {
            if (option->getName() == "MORE_OPTIONS")
                continue;
            const reports::OptionRule* rule = findRule(rules, option->getName());
            ASSERT_NE(rule, nullptr) << spec->getName() << " -" << option->getName();
            EXPECT_EQ(option->getAttrType() == HATAttrTypes::kBool,
                      rule->kind == reports::OptionKind::kSwitch)
                << spec->getName() << " -" << option->getName();
        }
    }
}

TEST_F(CatalogueTest, GivesNumbersTheDefaultsOfTheCommands) {
    for (const HAXRReportSpec* spec : allSpecs()) {
        const std::vector<reports::OptionRule> rules = allOptions(*findCommand(spec->getName()));
        for (const auto& option : specsOf(spec->getOptions())) {
            if (option->getAttrType() != HATAttrTypes::kInt)
                continue;
            const reports::OptionRule* rule = findRule(rules, option->getName());
            ASSERT_NE(rule, nullptr);
            EXPECT_EQ(option->getIntDefault(), rule->defaultInt)
                << spec->getName() << " -" << option->getName();
        }
    }
}

TEST_F(CatalogueTest, HasOptionsOfEveryType) {
    std::set<std::string> kinds;
    for (const HAXRReportSpec* spec : allSpecs())
        for (const auto& option : specsOf(spec->getOptions())) {
            const std::vector<reports::OptionRule> rules =
                allOptions(*findCommand(spec->getName()));
            const reports::OptionRule* rule = findRule(rules, option->getName());
            if (rule == nullptr)
                continue;
            const bool isInt = rule->kind == reports::OptionKind::kInt;
            const auto type = option->getAttrType();
            if (type == HATAttrTypes::kBool)
                kinds.insert("bool");
            else if (type == HATAttrTypes::kInt)
                kinds.insert("int with a default");
            else
                kinds.insert(isInt ? "int without a default" : "string");
        }
    EXPECT_THAT(kinds,
                ElementsAre("bool", "int with a default", "int without a default", "string"));
}

TEST_F(CatalogueTest, GivesEveryReportItsJsonForm) {
    for (const HAXRReportSpec* spec : allSpecs()) {
        ASSERT_NE(spec->getOutputOptions(), nullptr) << spec->getName();
        const auto& options = specsOf(spec->getOutputOptions());
        ASSERT_EQ(options.size(), 1u) << spec->getName();
        EXPECT_EQ(options[0]->getName(), "json");
    }
}

TEST_F(CatalogueTest, HasADefaultStrategyForEachFlow) {
    const test::MessageRecorder messages;
    EXPECT_THAT(contentsOf("synthesis_default.psg"),
                ElementsAre("Tarnel Synthesis Default Reports of ice40_synthesis",
                            "synth_design: report_utilization"));
    EXPECT_THAT(contentsOf("implementation_default.psg"),
                ElementsAre("Tarnel Implementation Default Reports of ice40_implementation",
                            "place_design: report_io report_utilization report_control_sets",
                            "route_design: report_timing_summary report_timing report_drc "
                            "report_route_status report_clock_utilization"));
    EXPECT_THAT(messages.texts(), IsEmpty());
}

}  // namespace
