// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "workbench/history/nights.h"

#include <cstdlib>
#include <ctime>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/unit/workbench/history/LaunchedProject.h"

namespace {

using ::testing::HasSubstr;
using workbench::LaunchRecord;
using workbench::Night;

/// Local time is that of a place with summer time.
class NightsTest : public ::testing::Test {
protected:
    NightsTest() {
        const char* zone = std::getenv("TZ");
        m_zone = zone == nullptr ? "" : zone;
        m_hadZone = zone != nullptr;
        ::setenv("TZ", "CET-1CEST,M3.5.0,M10.5.0/3", 1);
        ::tzset();
    }
    ~NightsTest() override {
        if (m_hadZone)
            ::setenv("TZ", m_zone.c_str(), 1);
        else
            ::unsetenv("TZ");
        ::tzset();
    }

    static long at(int month, int day, int hour, int minute = 0) {
        std::tm local{};
        local.tm_year = 126;
        local.tm_mon = month - 1;
        local.tm_mday = day;
        local.tm_hour = hour;
        local.tm_min = minute;
        local.tm_isdst = -1;
        return std::mktime(&local);
    }
    /// The launch of run `run` on the evening of `day` in November.
    LaunchRecord& launch(const std::string& run, int day, double fmax) {
        const std::string id = run + "@" + std::to_string(m_records.size());
        m_records.push_back(test::LaunchedProject::record(run, id, at(11, day, 20)));
        m_records.back().figures = {{"fmax", fmax}};
        m_records.back().options.clear();
        return m_records.back();
    }
    /// Runs of the family "f", which differ in their seed.
    void family(int day, const std::vector<double>& values) {
        for (std::size_t i = 0; i < values.size(); ++i) {
            LaunchRecord& record = launch("f_s" + std::to_string(i), day, values[i]);
            record.family = "f";
            record.options["place_design.seed"] = std::to_string(i + 1);
        }
    }
    std::vector<Night> nights() const { return workbench::nightsOf(m_records); }
    std::vector<std::string> marks() const {
        std::vector<std::string> all;
        for (const Night& night : nights()) {
            for (const workbench::NightMark& mark : night.marks)
                all.push_back(night.date + " " + mark.family + " " + mark.figure +
                              (mark.isWorse ? " worse" : " better"));
        }
        return all;
    }
    using Texts = std::vector<std::string>;

    std::vector<LaunchRecord> m_records;
    std::string m_zone;
    bool m_hadZone;
};

TEST_F(NightsTest, GoFromNoonToNoon) {
    EXPECT_EQ(workbench::nightOf(at(11, 20, 11, 59)), "2026-11-19");
    EXPECT_EQ(workbench::nightOf(at(11, 20, 12)), "2026-11-20");
    EXPECT_EQ(workbench::nightOf(at(11, 21, 3)), "2026-11-20");
    EXPECT_EQ(workbench::nightOf(at(3, 1, 1)), "2026-02-28");
}

TEST_F(NightsTest, AreThoseOfTheCalendarWhenTheClocksAreSet) {
    EXPECT_EQ(workbench::nightOf(at(3, 29, 3, 30)), "2026-03-28");
    EXPECT_EQ(workbench::nightOf(at(10, 25, 11, 59)), "2026-10-24");
    EXPECT_EQ(workbench::nightOf(at(10, 25, 12)), "2026-10-25");
}

TEST_F(NightsTest, AreNoneWithoutLaunches) {
    EXPECT_TRUE(nights().empty());
}

TEST_F(NightsTest, CountWhatWasLaunchedAndWhatFailed) {
    launch("a", 19, 50);
    launch("b", 19, 0).outcome = "failed";
    launch("c", 19, 0).outcome = "lost";
    launch("d", 19, 0).outcome = "stopped";
    launch("a", 20, 50);
    const std::vector<Night> all = nights();
    ASSERT_EQ(all.size(), 2U);
    EXPECT_EQ(all[0].date, "2026-11-19");
    EXPECT_EQ(all[0].launches, 4U);
    EXPECT_EQ(all[0].done, 1U);
    EXPECT_EQ(all[0].failed, 2U);
    EXPECT_EQ(all[1].launches, 1U);
}

TEST_F(NightsTest, TellBestAndMedianOfTheRunsLastLaunches) {
    launch("a", 19, 99);
    launch("a", 19, 50);
    launch("b", 19, 40);
    launch("c", 19, 45);
    launch("d", 19, 100).outcome = "failed";
    const workbench::NightFigure fmax = nights()[0].figures.at("fmax");
    EXPECT_EQ(fmax.count, 3U);
    EXPECT_EQ(fmax.best, 50);
    EXPECT_EQ(fmax.median, 45);
}

TEST_F(NightsTest, TellOfEachFamilyByItself) {
    family(19, {50, 52, 54});
    launch("alone", 19, 40);
    const std::vector<workbench::NightFamily> families = nights()[0].families;
    ASSERT_EQ(families.size(), 2U);
    EXPECT_EQ(families[0].name, "alone");
    EXPECT_TRUE(families[0].isRun);
    EXPECT_EQ(families[1].name, "f");
    EXPECT_EQ(families[1].figures.at("fmax").median, 52);
    EXPECT_EQ(families[1].figures.at("fmax").best, 54);
}

TEST_F(NightsTest, MarkAFamilyThatIsWorseForCertain) {
    family(18, {50, 51, 52, 53, 54, 55});
    family(20, {45, 46, 47, 48, 49, 50});
    EXPECT_EQ(marks(), Texts{"2026-11-20 f fmax worse"});
    EXPECT_THAT(nights()[1].marks[0].text, HasSubstr("Fmax worse by 5"));
    EXPECT_THAT(nights()[1].marks[0].text, HasSubstr("than in the night 2026-11-18"));
    EXPECT_THAT(nights()[1].marks[0].text, HasSubstr("6 pairs of one seed, at the 5 % level"));
}

TEST_F(NightsTest, MarkAFamilyThatIsBetterAsThat) {
    family(19, {45, 46, 47, 48, 49, 50});
    family(20, {50, 51, 52, 53, 54, 55});
    EXPECT_EQ(marks(), Texts{"2026-11-20 f fmax better"});
}

TEST_F(NightsTest, MarkNoFamilyThatTooFewSeedsTellOf) {
    family(19, {50, 51, 52});
    family(20, {40, 41, 42});
    EXPECT_EQ(marks(), Texts{});
}

TEST_F(NightsTest, MarkNoFamilyThatScattersAsBefore) {
    family(19, {50, 51, 52, 53, 54, 55});
    family(20, {51, 50, 53, 52, 55, 54});
    EXPECT_EQ(marks(), Texts{});
}

TEST_F(NightsTest, MarkNoChangeOfLessThanOnePercent) {
    family(19, {100, 101, 102, 103, 104, 105});
    family(20, {99.5, 100.5, 101.5, 102.5, 103.5, 104.5});
    EXPECT_EQ(marks(), Texts{});
}

TEST_F(NightsTest, MarkASingleRunOnlyWhenItLeavesTheEarlierSpread) {
    launch("a", 16, 50);
    launch("a", 17, 46);
    launch("a", 18, 48);
    launch("a", 19, 46.2);
    launch("a", 20, 45);
    EXPECT_EQ(marks(), Texts{"2026-11-20 a fmax worse"});
    EXPECT_EQ(nights()[4].marks[0].text,
              "Fmax worse: 45 MHz lies outside of all 4 earlier values, 46 to 50 MHz");
}

TEST_F(NightsTest, MarkNoSingleRunOfWhichTooLittleIsKnown) {
    launch("a", 18, 50);
    launch("a", 19, 46);
    launch("a", 20, 20);
    EXPECT_EQ(marks(), Texts{});
}

TEST_F(NightsTest, KnowThatFewerLutsAreBetter) {
    for (int day = 16; day < 20; ++day)
        launch("a", day, 50).figures = {{"luts", day == 19 ? 80.0 : 100.0}};
    EXPECT_EQ(marks(), Texts{"2026-11-19 a luts better"});
}

}  // namespace
