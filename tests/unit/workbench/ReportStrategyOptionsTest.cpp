// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "workbench/reportStrategyOptions.h"

#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "environment/containers/HSTKeyValIter.h"
#include "environment/errors/HEXUserException.h"
#include "environment/options/HATOptGroup.h"
#include "runs/base/xpreport/HAXRReportSpec.h"
#include "runs/base/xpreport/HAXRReportSpecMgr.h"
#include "runs/base/xpreport/HAXRReportStrategy.h"
#include "tests/support/RunDir.h"
#include "tests/support/thrownText.h"
#include "tests/unit/runs/xpreport/reportFixture.h"
#include "tests/unit/workbench/TestBench.h"
#include "workbench/strategyFiles.h"

namespace {

const char kReport[] = "report_of_tests";

/// Two versions of a report in the catalogue, beside those that the product has.
class Catalogue : public ::testing::Environment {
public:
    void SetUp() override {
        HAXRReportSpecMgr& catalogue = *HAXRReportSpecMgr::getGlobal();
        catalogue.addReportSpec(
            test::reports::makeReport(kReport, {test::reports::number("depth", 1)}, {1, 0})
                .release());
        catalogue.addReportSpec(
            test::reports::makeReport(kReport,
                                      {test::reports::number("depth", 3),
                                       test::reports::flag("full"), test::reports::text("from"),
                                       test::reports::text("MORE_OPTIONS")},
                                      {1, 2})
                .release());
        catalogue.populateLatestSpecs();
    }
};

const ::testing::Environment* const s_catalogue =
    ::testing::AddGlobalTestEnvironment(new Catalogue);  // gtest deletes it

class ReportStrategyOptionsTest : public ::testing::Test {
protected:
    ReportStrategyOptionsTest() { m_strategy->setName("Mine"); }

    static workbench::OwnedReportStrategy makeStrategy() {
        return workbench::OwnedReportStrategy(
            new HAXRReportStrategy(&test::TestBench::implementation()));
    }

    std::string add(const std::string& version = "", const std::string& shownAs = "") const {
        return workbench::addReport(*m_strategy, "route_design", kReport, version, shownAs);
    }
    std::string refusalOfAdd(const std::string& step, const std::string& report,
                             const std::string& version, const std::string& shownAs = "") const {
        return test::thrownText<HEXUserException>(
            [&] { workbench::addReport(*m_strategy, step, report, version, shownAs); });
    }
    std::string refusalOfSet(const std::string& name, const std::string& value) const {
        return test::thrownText<HEXUserException>(
            [&] { workbench::setReportOption(*m_strategy, name, value); });
    }

    std::vector<std::string> names() const {
        std::vector<std::string> all;
        for (const auto& report : workbench::reportsOf(*m_strategy))
            all.push_back(report.step + "." + report.name + " " + report.version());
        return all;
    }

    test::TestBench m_bench;
    const workbench::OwnedReportStrategy m_strategy = makeStrategy();
};

TEST_F(ReportStrategyOptionsTest, AnAddedReportHasTheVersionAsked) {
    EXPECT_EQ(add(), "report_of_tests");
    EXPECT_EQ(add("1.0"), "report_of_tests#2");
    EXPECT_EQ(names(), (std::vector<std::string>{"route_design.report_of_tests 1.2",
                                                 "route_design.report_of_tests#2 1.0"}));
}

TEST_F(ReportStrategyOptionsTest, ReportsOfANameAreShownUnderNamesOfTheirOwn) {
    add();
    add();
    add("", "my_own");
    std::vector<std::string> shown;
    for (const auto& report : workbench::reportsOf(*m_strategy))
        shown.push_back(report.spec->getDisplayName());
    EXPECT_EQ(shown, (std::vector<std::string>{"Of Tests", "Of Tests 2", "My Own"}));
    EXPECT_EQ(refusalOfAdd("route_design", kReport, "", "my_own"),
              "The step route_design has a report \"My Own\" already. Give the new one another "
              "name with --name.");
}

TEST_F(ReportStrategyOptionsTest, WhatCantBeAddedIsToldWithWhatCan) {
    EXPECT_EQ(refusalOfAdd("init_design", kReport, ""),
              "No report can be made of a step init_design. Choose one of: place_design, "
              "route_design.");
    EXPECT_EQ(refusalOfAdd("route_design", kReport, "9.9"),
              "The report report_of_tests has no version 9.9. The latest is 1.2.");
    EXPECT_EQ(refusalOfAdd("route_design", "report_no", "")
                  .find("There is no report report_no. There are: "),
              0U);
    EXPECT_TRUE(names().empty());
}

TEST_F(ReportStrategyOptionsTest, OptionsAreSetByStepReportAndName) {
    add();
    add();
    workbench::setReportOption(*m_strategy, "route_design.report_of_tests#2.depth", "7");
    workbench::setReportOption(*m_strategy, "route_design.report_of_tests#1.full", "true");
    const auto reports = workbench::reportsOf(*m_strategy);
    EXPECT_EQ(test::reports::valueOf(reports[0].spec->getOptions(), "depth"), "3");
    EXPECT_EQ(test::reports::valueOf(reports[0].spec->getOptions(), "full"), "true");
    EXPECT_EQ(test::reports::valueOf(reports[1].spec->getOptions(), "depth"), "7");
}

TEST_F(ReportStrategyOptionsTest, WhatCantBeSetIsTold) {
    EXPECT_EQ(refusalOfSet("route_design.report_of_tests.depth", "1"),
              "There is no report route_design.report_of_tests in the strategy. There are: none.");
    add();
    EXPECT_EQ(refusalOfSet("route_design.report_of_tests.depth", "x"),
              "Option route_design.report_of_tests.depth can't be set: 'x' is no whole number.");
    EXPECT_EQ(
        refusalOfSet("route_design.report_of_tests.dept", "1")
            .find("There is no option route_design.report_of_tests.dept. There are: depth, full"),
        0U);
    add();
    EXPECT_EQ(refusalOfSet("route_design.report_of_tests.depth", "1"),
              "There are 2 reports route_design.report_of_tests. Say which with #1, #2 and so on "
              "behind the name.");
}

TEST_F(ReportStrategyOptionsTest, AValueIsRefusedThatTclWouldTakeApart) {
    add();
    for (const std::string text : {"a b", "[exit]", "$x", "{a", "a;b"})
        EXPECT_EQ(refusalOfSet("route_design.report_of_tests.from", text)
                      .find("The value \"" + text + "\" of option from holds "),
                  0U)
            << text;
    EXPECT_EQ(refusalOfSet("route_design.report_of_tests.from", "clk*"), "nothing thrown");
    EXPECT_EQ(refusalOfSet("route_design.report_of_tests.MORE_OPTIONS", "-nets {a b}"),
              "nothing thrown");
    workbench::requireReportValues(*m_strategy);
    HATOptGroup* options = workbench::reportsOf(*m_strategy).front().spec->getOptions();
    options->setStrVal(test::reports::optionOf(options, "from"), "a b", true);
    EXPECT_EQ(test::thrownText<HEXUserException>([&] {
                  workbench::requireReportValues(*m_strategy);
              }).find("The value \"a b\" of option from holds "),
              0U);
}

TEST_F(ReportStrategyOptionsTest, AFileWithAValueThatTclWouldTakeApartIsRefused) {
    const test::RunDir folder;
    add();
    HATOptGroup* options = workbench::reportsOf(*m_strategy).front().spec->getOptions();
    options->setStrVal(test::reports::optionOf(options, "from"), "a b", true);
    workbench::writeReportStrategyFile(*m_strategy, folder.path("s.psg"), false);
    EXPECT_NE(test::thrownText<HEXUserException>([&] {
                  workbench::readReportStrategyFile(folder.path("s.psg"));
              }).find("The value \"a b\" of option from holds "),
              std::string::npos);
}

TEST_F(ReportStrategyOptionsTest, ARemovedReportIsGone) {
    add();
    add("1.0");
    workbench::removeReport(*m_strategy, "route_design", "report_of_tests#1");
    EXPECT_EQ(names(), std::vector<std::string>{"route_design.report_of_tests 1.0"});
    workbench::removeReport(*m_strategy, "route_design", "report_of_tests");
    EXPECT_TRUE(names().empty());
}

TEST_F(ReportStrategyOptionsTest, DifferencesAreReportsAndValues) {
    const workbench::OwnedReportStrategy other = makeStrategy();
    other->copyStrategy(m_strategy.get());
    EXPECT_TRUE(workbench::differences(*m_strategy, *other).empty());
    add();
    other->copyStrategy(m_strategy.get());
    workbench::setReportOption(*other, "route_design.report_of_tests.depth", "9");
    auto found = workbench::differences(*m_strategy, *other);
    ASSERT_EQ(found.size(), 1U);
    EXPECT_EQ(found[0].name, "report_of_tests.depth");
    EXPECT_EQ(found[0].first, "3");
    EXPECT_EQ(found[0].second, "9");
    workbench::removeReport(*other, "route_design", kReport);
    found = workbench::differences(*m_strategy, *other);
    ASSERT_FALSE(found.empty());
    EXPECT_EQ(found[0].name, "report_of_tests");
    EXPECT_EQ(found[0].first, "1.2");
    EXPECT_EQ(found[0].second, "");
}

TEST_F(ReportStrategyOptionsTest, AWrittenFileComesBack) {
    const test::RunDir folder;
    add("1.0", "Mine");
    workbench::setReportOption(*m_strategy, "route_design.report_of_tests.depth", "9");
    workbench::writeReportStrategyFile(*m_strategy, folder.path("s.psg"), false);
    EXPECT_EQ(test::thrownText<HEXUserException>([&] {
                  workbench::writeReportStrategyFile(*m_strategy, folder.path("s.psg"), false);
              }),
              "There is a file " + folder.path("s.psg") +
                  " already. Choose another name, or replace it with --force.");
    const auto read = workbench::readReportStrategyFile(folder.path("s.psg"));
    ASSERT_EQ(read.size(), 1U);
    EXPECT_EQ(read.front()->getName(), "Mine");
    EXPECT_TRUE(workbench::differences(*m_strategy, *read.front()).empty());
    EXPECT_EQ(workbench::reportsOf(*read.front()).front().spec->getDisplayName(), "Mine");
}

TEST_F(ReportStrategyOptionsTest, AFileCutOffAnywhereIsRefused) {
    const test::RunDir folder;
    add();
    workbench::writeReportStrategyFile(*m_strategy, folder.path("s.psg"), false);
    const std::string whole = folder.read("s.psg");
    for (std::size_t size = 0; size + 2 < whole.size(); ++size) {
        folder.mark("cut.psg", whole.substr(0, size));
        EXPECT_NE(test::thrownText<HEXUserException>([&] {
                      workbench::readReportStrategyFile(folder.path("cut.psg"));
                  }).find("nothing was taken over"),
                  std::string::npos)
            << size;
    }
}

}  // namespace
