// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "environment/params/HPAParamMgr.h"

#include <algorithm>
#include <fstream>
#include <ostream>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "environment/errors/HEXDataException.h"
#include "environment/errors/HEXFileNotFoundException.h"
#include "environment/params/paramTable.h"
#include "tests/support/FakeEnvironment.h"
#include "tests/support/MessageRecorder.h"
#include "tests/support/RunDir.h"
#include "tests/support/TestParam.h"

namespace {

using Texts = std::vector<std::string>;

const char kDebug[] = "runs.debug";
const char kDebugVariable[] = "XPERIMENT_PARAM_RUNS_DEBUG";

/// The process's manager without a value from any source, before and after.
class ParamTest : public ::testing::Test {
public:
    ParamTest() { forgetAll(); }
    ~ParamTest() override { forgetAll(); }

protected:
    void TearDown() override { EXPECT_EQ(m_messages.summaries(), m_expected); }

    static void forgetAll() {
        for (const auto source : {HPAParamMgr::kCode, HPAParamMgr::kProject, HPAParamMgr::kFile,
                                  HPAParamMgr::kEnvironment})
            params().resetValues(source);
    }

    static HPAParamMgr& params() { return *HPAParamMgr::getParamMgr(); }

    /// Reads a parameters file with this content.
    void read(const std::string& content) {
        m_dir.mark("site.params", content);
        params().readParamFile(file());
    }

    std::string file() const { return m_dir.path("site.params"); }

    /// Expects a warning with these arguments.
    void expectWarning(const std::string& id, const std::string& args) {
        m_expected.push_back("environment WARNING " + id + "(" + args + ")");
    }

    test::FakeEnvironment m_variables;
    test::RunDir m_dir;
    test::MessageRecorder m_messages;
    Texts m_expected;
};

TEST_F(ParamTest, IsAbsentUntilASourceGivesAValue) {
    EXPECT_FALSE(params().hasValue(kDebug));
    EXPECT_TRUE(params().isKnown(kDebug));
}

TEST_F(ParamTest, ThrowsForAnAbsentOneAndNamesIt) {
    try {
        params().getValueAsBool(kDebug);
        FAIL() << "no exception";
    } catch (const HEXDataException& error) {
        EXPECT_STREQ(error.what(),
                     "The parameter runs.debug has no value. Set it in the program, the project, a "
                     "parameters file or the variable XPERIMENT_PARAM_RUNS_DEBUG.");
    }
}

TEST_F(ParamTest, ThrowsForAnUnknownOneThatIsRead) {
    EXPECT_THROW(params().getValueAsBool("runs.debgu"), HEXDataException);
    EXPECT_THROW(params().getSource("runs.debgu"), HEXDataException);
}

TEST_F(ParamTest, GivesTheCallersDefaultForAnAbsentOne) {
    EXPECT_TRUE(params().getValueIfExistAsBool(kDebug, true));
    EXPECT_FALSE(params().getValueIfExistAsBool(kDebug, false));
    EXPECT_TRUE(params().getValueIfExistAsBool("not.known", true));
}

TEST_F(ParamTest, GivesTheValueRatherThanTheDefault) {
    params().setValueAsBool(kDebug, false);
    EXPECT_FALSE(params().getValueIfExistAsBool(kDebug, true));
    EXPECT_FALSE(params().getValueAsBool(kDebug));
}

TEST_F(ParamTest, TellsTwoNamesThatDifferInOneLetterApart) {
    params().setValueAsBool("runs.enableTemplatizedFlows", true);
    EXPECT_FALSE(params().hasValue("runs.enableTemplatizedFlow"));
}

TEST_F(ParamTest, RefusesToSetAnUnknownOne) {
    try {
        params().setValueAsBool("runs.debgu", true);
        FAIL() << "no exception";
    } catch (const HEXDataException& error) {
        EXPECT_STREQ(error.what(), "There is no parameter runs.debgu. Check the spelling.");
    }
}

TEST_F(ParamTest, PrefersTheStrongerSource) {
    const HPAParamMgr::Source strongestFirst[] = {HPAParamMgr::kCode, HPAParamMgr::kProject,
                                                  HPAParamMgr::kFile, HPAParamMgr::kEnvironment};
    bool value = false;
    for (const auto source : {HPAParamMgr::kEnvironment, HPAParamMgr::kFile, HPAParamMgr::kProject,
                              HPAParamMgr::kCode}) {
        value = !value;
        params().setValueAsBool(kDebug, value, source);
        EXPECT_EQ(params().getSource(kDebug), source);
        EXPECT_EQ(params().getValueAsBool(kDebug), value);
    }
    for (const auto source : strongestFirst) {
        EXPECT_EQ(params().getSource(kDebug), source);
        params().resetValue(kDebug, source);
    }
    EXPECT_FALSE(params().hasValue(kDebug));
}

TEST_F(ParamTest, IgnoresTheResetOfAnUnknownOne) {
    params().resetValue("not.known");
    EXPECT_FALSE(params().isKnown("not.known"));
}

TEST_F(ParamTest, ReadsAFile) {
    read("# Site settings\n\n runs.debug = true # for now\r\nrunS.x=1\n"
         "project.enableLSFforRuns=No");
    EXPECT_TRUE(params().getValueAsBool(kDebug));
    EXPECT_FALSE(params().getValueAsBool("project.enableLSFforRuns"));
    EXPECT_EQ(params().getSource(kDebug), HPAParamMgr::kFile);
    expectWarning("12-10", file() + ", 4, runS.x");
}

TEST_F(ParamTest, ForgetsTheEarlierFileWhenAnotherIsRead) {
    read("runs.debug = true\n");
    read("project.enableLSFforRuns = true\n");
    EXPECT_FALSE(params().hasValue(kDebug));
}

TEST_F(ParamTest, KeepsItsValuesWhenAFileCannotBeRead) {
    read("runs.debug = true\n");
    const std::string missing = m_dir.path("missing.params");
    try {
        params().readParamFile(missing);
        FAIL() << "no exception";
    } catch (const HEXFileNotFoundException& error) {
        EXPECT_EQ(std::string(error.what()),
                  "The parameters file " + missing + " can't be read: No such file or directory.");
    }
    EXPECT_TRUE(params().getValueAsBool(kDebug));
}

TEST_F(ParamTest, WarnsOfALineWithAWrongValue) {
    read("runs.debug = maybe\nruns.debug =\n");
    EXPECT_FALSE(params().hasValue(kDebug));
    expectWarning("12-11", file() + ", 1, maybe, runs.debug");
    expectWarning("12-11", file() + ", 2, , runs.debug");
}

TEST_F(ParamTest, WarnsOfALineOfAnotherForm) {
    read("runs.debug true\n= true\nruns.debug = on\n");
    EXPECT_TRUE(params().getValueAsBool(kDebug));
    expectWarning("12-13", file() + ", 1");
    expectWarning("12-13", file() + ", 2");
}

TEST_F(ParamTest, LetsTheLaterOfTwoLinesHold) {
    read("runs.debug = true\n\nruns.debug = false\n");
    EXPECT_FALSE(params().getValueAsBool(kDebug));
    expectWarning("12-12", file() + ", 3, runs.debug, 1");
}

TEST_F(ParamTest, SurvivesAFileThatIsCutAnywhere) {
    const std::string whole = "# a\nruns.debug = true\n";
    for (std::size_t size = 0; size <= whole.size(); ++size) {
        read(whole.substr(0, size));
        EXPECT_EQ(params().hasValue(kDebug), size >= whole.size() - 1) << size;
    }
    m_messages.clear();
}

TEST_F(ParamTest, TakesTheVariablesOfTheEnvironment) {
    m_variables.set(kDebugVariable, "on");
    params().readEnvironment();
    EXPECT_TRUE(params().getValueAsBool(kDebug));
    EXPECT_EQ(params().getSource(kDebug), HPAParamMgr::kEnvironment);
}

TEST_F(ParamTest, ForgetsAVariableThatIsGone) {
    m_variables.set(kDebugVariable, "on");
    params().readEnvironment();
    m_variables.unset(kDebugVariable);
    params().readEnvironment();
    EXPECT_FALSE(params().hasValue(kDebug));
}

TEST_F(ParamTest, WarnsOfAVariableWithAWrongValue) {
    m_variables.set(kDebugVariable, "ture");
    params().readEnvironment();
    EXPECT_FALSE(params().hasValue(kDebug));
    expectWarning("12-14", "XPERIMENT_PARAM_RUNS_DEBUG, ture, runs.debug");
}

TEST_F(ParamTest, TakesParametersOfALayerAboveWithTheirVariables) {
    m_variables.set("XPERIMENT_PARAM_TEST_DECLARED_1", "yes");
    params().declareParam("test.declared-1", "A parameter of this test.");
    params().declareParam("test.declared-1", "Another text.");
    EXPECT_TRUE(params().getValueAsBool("test.declared-1"));
    EXPECT_EQ(params().getDescription("test.declared-1"), "A parameter of this test.");
}

TEST_F(ParamTest, ListsItsNamesSortedInPlaceOfWhatTheListHeld) {
    HSTVector<std::string> names{"old"};
    params().getNames(names);
    EXPECT_TRUE(std::is_sorted(names.begin(), names.end()));
    EXPECT_EQ(std::count(names.begin(), names.end(), "old"), 0);
    EXPECT_EQ(std::count(names.begin(), names.end(), kDebug), 1);
}

TEST_F(ParamTest, DescribesOnlyWhatItKnows) {
    EXPECT_EQ(params().getDescription(kDebug),
              "Messages tell the cluster job of a run and each kill command.");
    EXPECT_EQ(params().getDescription("not.known"), "");
}

TEST_F(ParamTest, IsSetForAScopeInTests) {
    {
        const test::TestParam debug(kDebug, true);
        EXPECT_TRUE(params().getValueAsBool(kDebug));
    }
    EXPECT_FALSE(params().hasValue(kDebug));
}

TEST_F(ParamTest, MayBeReadWhileItIsSet) {
    std::thread setter([] {
        for (int i = 0; i < 1000; ++i)
            params().setValueAsBool(kDebug, true);
    });
    for (int i = 0; i < 1000; ++i)
        EXPECT_TRUE(params().getValueIfExistAsBool(kDebug, true));
    setter.join();
}

TEST(ParamTableTest, NamesEveryParameterThatTheLibraryReads) {
    Texts names;
    for (const paramTable::Row& row : paramTable::kRows)
        names.emplace_back(row.name);
    EXPECT_EQ(names, (Texts{"project.enableLSFforRuns", "project.enableReportConfiguration",
                            "project.enableWarnOnViolation", "project.handleIncrementalDcpFiles",
                            "project.runs.noReportGeneration",
                            "project.runs.opt_design.defaultBehaviorAsMessages",
                            "project.runs.route_design.defaultBehaviorAsMessages", "runs.debug",
                            "runs.defaultToToolStrategy", "runs.enableClusterConf",
                            "runs.enableReportDisplayName", "runs.enableTemplatizedFlow",
                            "runs.enableTemplatizedFlows", "runs.launchI2FlowInProcess"}));
}

TEST(ParamTableTest, HasOneParameterThatMustBeSet) {
    for (const paramTable::Row& row : paramTable::kRows)
        EXPECT_STREQ(row.whenAbsent,
                     std::string(row.name) == "project.enableWarnOnViolation" ? "error" : "false")
            << row.name;
}

TEST(ParamTableTest, GivesEachParameterAVariableOfItsOwn) {
    std::set<std::string> variables;
    for (const paramTable::Row& row : paramTable::kRows)
        EXPECT_TRUE(variables.insert(HPAParamMgr::getVariableName(row.name)).second) << row.name;
    EXPECT_EQ(variables.count("XPERIMENT_PARAM_PROJECT_RUNS_OPT_DESIGN_DEFAULTBEHAVIORASMESSAGES"),
              1U);
}

TEST(ParamTableTest, TellsInASentenceWhatEachDoes) {
    for (const paramTable::Row& row : paramTable::kRows)
        EXPECT_EQ(std::string(row.description).back(), '.') << row.name;
}

TEST(ParamTableTest, IsWhatTheParameterPageTells) {
    std::ifstream page(PARAMETER_PAGE);
    Texts told;
    for (std::string line; std::getline(page, line);)
        if (line.compare(0, 3, "| `") == 0)
            told.push_back(line);
    Texts rows;
    for (const paramTable::Row& row : paramTable::kRows)
        rows.push_back(std::string("| `") + row.name + "` | " + row.whenAbsent + " | " +
                       row.description + " |");
    EXPECT_EQ(told, rows);
}

/// A word, and whether it is a bool and which.
struct WordCase {
    const char* word;
    bool isBool;
    bool value;
};

std::ostream& operator<<(std::ostream& os, const WordCase& row) {
    return os << '"' << row.word << '"';
}

class ParamWordTable : public ::testing::TestWithParam<WordCase> {};

TEST_P(ParamWordTable, IsReadAsABoolOrLeftAlone) {
    for (const bool before : {false, true}) {
        bool value = before;
        EXPECT_EQ(HPAParamMgr::parseBool(GetParam().word, value), GetParam().isBool);
        EXPECT_EQ(value, GetParam().isBool ? GetParam().value : before);
    }
}

INSTANTIATE_TEST_SUITE_P(
    Words, ParamWordTable,
    ::testing::Values(WordCase{"true", true, true}, WordCase{"TRUE", true, true},
                      WordCase{"yes", true, true}, WordCase{"On", true, true},
                      WordCase{"1", true, true}, WordCase{"false", true, false},
                      WordCase{"False", true, false}, WordCase{"no", true, false},
                      WordCase{"off", true, false}, WordCase{"0", true, false},
                      WordCase{"", false, false}, WordCase{"2", false, false},
                      WordCase{"tru", false, false}, WordCase{" true", false, false}));

}  // namespace
