// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "workbench/strategyFiles.h"

#include <ostream>
#include <string>

#include <gtest/gtest.h>

#include "environment/errors/HEXUserException.h"
#include "environment/errors/HXMLException.h"
#include "runs/base/xperiment/HAXPStrategy.h"
#include "tests/support/MessageRecorder.h"
#include "tests/support/RunDir.h"
#include "tests/support/thrownText.h"
#include "tests/unit/workbench/TestBench.h"
#include "workbench/strategies.h"
#include "workbench/strategyOptions.h"

namespace {

const char kHead[] = "<Strategy Version=\"1\" Minor=\"2\">\n"
                     "  <Tool Major=\"2026\" Minor=\"1\"/>\n";
const char kHandle[] = "  <StratHandle Name=\"S\" Flow=\"ice40_implementation\"/>\n";

std::string fileWith(const std::string& steps) {
    return kHead + std::string(kHandle) + steps + "\n</Strategy>\n";
}

/// Reads a file of its own. No message is expected: what is wrong is thrown.
class StrategyFilesTest : public ::testing::Test {
protected:
    void TearDown() override { EXPECT_EQ(m_messages.ids(), std::vector<std::string>{}); }

    std::string path() const { return m_folder.path("s.psg"); }

    /// What is wrong with a file, without its path and the advice.
    std::string refusal(const std::string& content) const {
        m_folder.mark("s.psg", content);
        std::string text =
            test::thrownText<HEXUserException>([this] { workbench::readStrategyFile(path()); });
        const std::string tail = ". Correct the file or take another one; nothing was taken over.";
        if (text.compare(0, path().size(), path()) != 0 || text.size() < tail.size() ||
            text.substr(text.size() - tail.size()) != tail)
            return text;
        return text.substr(path().size(), text.size() - path().size() - tail.size());
    }

    test::TestBench m_bench;
    test::MessageRecorder m_messages;
    test::RunDir m_folder;
};

TEST_F(StrategyFilesTest, AWrittenFileComesBack) {
    HAXPStrategy strategy(&test::TestBench::implementation());
    strategy.setName("Mine");
    strategy.setDescription("Two\nlines");
    workbench::setOption(strategy, "place_design.seed", "7");
    workbench::setOption(strategy, "is_enabled", "false");
    workbench::writeStrategyFile(strategy, path(), false);
    const auto read = workbench::readStrategyFile(path());
    ASSERT_EQ(read.size(), 1U);
    EXPECT_EQ(read.front()->getName(), "Mine");
    EXPECT_EQ(read.front()->getDescription(), "Two\nlines");
    EXPECT_EQ(read.front()->getFlow(), &test::TestBench::implementation());
    EXPECT_FALSE(read.front()->differsFrom(&strategy));
}

TEST_F(StrategyFilesTest, EveryShippedOneMayGoToAnotherUser) {
    for (const HAXPFlow* flow : {&test::TestBench::synthesis(), &test::TestBench::implementation()})
        for (HAXPStrategy* strategy : workbench::strategiesOf(*flow)) {
            workbench::writeStrategyFile(*strategy, path(), true);
            const auto read = workbench::readStrategyFile(path());
            EXPECT_FALSE(read.front()->differsFrom(strategy)) << strategy->getName();
        }
}

TEST_F(StrategyFilesTest, AFileThatIsThereIsReplacedOnlyWhenAsked) {
    m_folder.mark("s.psg", "kept");
    HAXPStrategy& strategy = *workbench::findStrategy(test::TestBench::synthesis(), "Area");
    EXPECT_EQ(test::thrownText<HEXUserException>(
                  [&] { workbench::writeStrategyFile(strategy, path(), false); }),
              "There is a file " + path() +
                  " already. Choose another name, or replace it with --force.");
    EXPECT_EQ(m_folder.read("s.psg"), "kept");
    workbench::writeStrategyFile(strategy, path(), true);
    EXPECT_EQ(workbench::readStrategyFile(path()).front()->getName(), "Area");
}

TEST_F(StrategyFilesTest, AFolderThatIsntThereIsToldWithItsCause) {
    HAXPStrategy& strategy = *workbench::findStrategy(test::TestBench::synthesis(), "Area");
    const std::string text = test::thrownText<HXMLException>(
        [&] { workbench::writeStrategyFile(strategy, m_folder.path("no/s.psg"), false); });
    EXPECT_NE(text.find(m_folder.path("no/")), std::string::npos) << text;
    EXPECT_NE(text.find("No such file or directory"), std::string::npos) << text;
}

TEST_F(StrategyFilesTest, AFileThatIsntThereIsTold) {
    EXPECT_NE(test::thrownText<HEXUserException>([this] {
                  workbench::readStrategyFile(m_folder.path("none.psg"));
              }).find(m_folder.path("none.psg")),
              std::string::npos);
}

TEST_F(StrategyFilesTest, AFileCutOffAnywhereIsRefused) {
    HAXPStrategy& strategy =
        *workbench::findStrategy(test::TestBench::implementation(), "Performance");
    workbench::writeStrategyFile(strategy, path(), false);
    const std::string whole = m_folder.read("s.psg");
    for (std::size_t size = 0; size + 2 < whole.size(); ++size)
        EXPECT_EQ(refusal(whole.substr(0, size)).find("nothing thrown"), std::string::npos) << size;
}

struct FileCase {
    const char* name;
    std::string content;
    std::string reason;
};

std::ostream& operator<<(std::ostream& os, const FileCase& row) {
    return os << row.name;
}

class StrategyFilesTable : public StrategyFilesTest,
                           public ::testing::WithParamInterface<FileCase> {};

TEST_P(StrategyFilesTable, TellsTheLineOfWhatIsWrong) {
    EXPECT_EQ(refusal(GetParam().content), GetParam().reason);
}

INSTANTIATE_TEST_SUITE_P(
    Files, StrategyFilesTable,
    ::testing::Values(
        FileCase{"OtherRoot", "<Other/>",
                 ", line 1: this is no strategy file: its root is \"Other\""},
        FileCase{"OtherVersion", "<Strategy Version=\"2\"/>",
                 ", line 1: the format has version \"2\", and version 1 can be read"},
        FileCase{"NoHandle", kHead + std::string("</Strategy>"),
                 ", line 1: there is no StratHandle"},
        FileCase{"ForbiddenCharacter",
                 kHead + std::string("<StratHandle Name=\"S\" Flow=\"x\x1b\"/></Strategy>"),
                 ", line 3: the character U+001B isn't allowed in XML"},
        FileCase{"NoFlow", kHead + std::string("<StratHandle Name=\"S\"/></Strategy>"),
                 ", line 3: there is no flow \"\""},
        FileCase{"NoName",
                 kHead + std::string("<StratHandle Flow=\"ice40_synthesis\"/></Strategy>"),
                 ", line 3: the strategy has no name"},
        FileCase{"TwoHandles", fileWith(kHandle),
                 ", line 4: an element \"StratHandle\" doesn't belong here"},
        FileCase{"StepOfAnotherFlow", fileWith("<Step Id=\"synth_design\"/>"),
                 ", line 4: the flow ice40_implementation has no step \"synth_design\""},
        FileCase{"StepTwice", fileWith("<Step Id=\"init_design\"/>\n<Step Id=\"init_design\"/>"),
                 ", line 5: the step init_design stands there twice"},
        FileCase{"UnknownAttribute", fileWith("<Step Id=\"init_design\" Speed=\"1\"/>"),
                 ", line 4: the step init_design has no attribute \"Speed\""},
        FileCase{"WordForABoolAttribute",
                 fileWith("<Step Id=\"write_bitstream\" EnableStepBool=\"true\"/>"),
                 ", line 4: the attribute EnableStepBool is neither 0 nor 1"},
        FileCase{"UnknownOption",
                 fileWith("<Step Id=\"place_design\">\n<Option Id=\"sede\" Value=\"1\"/></Step>"),
                 ", line 5: the step place_design has no option \"sede\""},
        FileCase{"OptionWithoutAValue",
                 fileWith("<Step Id=\"place_design\"><Option Id=\"place_design.seed\"/></Step>"),
                 ", line 4: the option seed has no value"},
        FileCase{"NumberThatIsNone",
                 fileWith("<Step Id=\"place_design\"><Option Id=\"place_design.seed\" "
                          "Value=\"99999999999\"/></Step>"),
                 ", line 4: \"99999999999\" is no value of the option seed"},
        FileCase{"UnknownChoice",
                 fileWith("<Step Id=\"place_design\"><Option Id=\"place_design.placer\" "
                          "Value=\"$(reboot)\"/></Step>"),
                 ", line 4: \"$(reboot)\" is no value of the option placer"},
        FileCase{"StrangeElement", fileWith("<Step Id=\"place_design\"><Extra/></Step>"),
                 ", line 4: an element \"Extra\" isn't known here"},
        FileCase{"ToolWithoutNumbers",
                 "<Strategy Version=\"1\" Minor=\"2\"><Tool Major=\"x\"/></Strategy>",
                 ", line 1: the attribute Major is no whole number"}),
    [](const auto& row) { return std::string(row.param.name); });

}  // namespace
