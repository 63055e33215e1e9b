// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "workbench/inputFiles.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/support/RunDir.h"
#include "workbench/inputSteps.h"

namespace {

using workbench::FileChange;
using workbench::InputFiles;
using workbench::InputKind;
using workbench::InputRecord;

/// A design of two sources, one of which includes a file and reads a memory.
class InputFilesTest : public ::testing::Test {
protected:
    InputFilesTest() {
        m_dir.mark("a.v", "`include \"defs.vh\"\n$readmemh(\"rom.hex\", rom);\n");
        m_dir.mark("b.v", "module b; endmodule\n");
        m_dir.mark("defs.vh", "`define N 1\n");
        m_dir.mark("rom.hex", "00\n");
        m_inputs.sources = {m_dir.path("a.v"), m_dir.path("b.v")};
        m_inputs.netlist = m_dir.path("top.json");
        m_inputs.constraints = m_dir.path("pins.pcf");
        m_before = look();
    }

    InputFiles look() const { return workbench::lookAtInputs(m_inputs, true, m_before); }
    /// The changes since the launch as "b.v changed".
    std::vector<std::string> changes() const {
        std::vector<std::string> texts;
        for (const FileChange& change : workbench::changesOf(m_before, look(), 1000))
            texts.push_back(textOf(change));
        return texts;
    }
    std::string textOf(const FileChange& change) const {
        static const char* const kWords[] = {"modified", "added",      "removed",
                                             "missing",  "unreadable", "moved"};
        return change.path.substr(m_dir.path().size() + 1) + " " + kWords[change.what];
    }

    using Texts = std::vector<std::string>;

    test::RunDir m_dir;
    DesignInputs m_inputs;
    InputFiles m_before;
};

TEST_F(InputFilesTest, AreTheSourcesAndWhatTheyName) {
    ASSERT_EQ(m_before.size(), 4U);
    EXPECT_EQ(m_before[m_dir.path("a.v")].kind, InputKind::kSource);
    EXPECT_EQ(m_before[m_dir.path("rom.hex")].kind, InputKind::kReference);
    EXPECT_EQ(m_before[m_dir.path("defs.vh")].kind, InputKind::kReference);
}

TEST_F(InputFilesTest, AreNetlistAndConstraintsForAnImplementation) {
    const InputFiles files = workbench::lookAtInputs(m_inputs, false, {});
    ASSERT_EQ(files.size(), 2U);
    EXPECT_EQ(files.at(m_dir.path("top.json")).kind, InputKind::kNetlist);
    EXPECT_EQ(files.at(m_dir.path("pins.pcf")).kind, InputKind::kConstraints);
}

TEST_F(InputFilesTest, AreUnchangedWhenTouchedOrWrittenAnewWithTheSameContent) {
    m_dir.touch("a.v", 4000000000);
    m_dir.unmark("rom.hex");
    m_dir.mark("rom.hex", "00\n");
    EXPECT_EQ(changes(), Texts{});
}

TEST_F(InputFilesTest, AChangeIsFoundHoweverOldTheFilesTimeIs) {
    m_dir.mark("b.v", "module b; wire w; endmodule\n");
    m_dir.touch("b.v", 10);
    m_dir.mark("rom.hex", "01\n");
    m_dir.touch("rom.hex", 10);
    EXPECT_EQ(changes(), (Texts{"b.v modified", "rom.hex modified"}));
}

TEST_F(InputFilesTest, AreUnchangedWhenTheOldContentIsBack) {
    m_dir.mark("b.v", "module b; wire w; endmodule\n");
    EXPECT_EQ(changes(), Texts{"b.v modified"});
    m_dir.mark("b.v", "module b; endmodule\n");
    EXPECT_EQ(changes(), Texts{});
}

TEST_F(InputFilesTest, AVanishedFileIsMissingAndOneInItsPlaceThatIsNoneIsUnreadable) {
    m_dir.unmark("b.v");
    m_dir.unmark("rom.hex");
    EXPECT_EQ(changes(), (Texts{"b.v missing", "rom.hex missing"}));
    m_dir.folder("b.v");
    m_dir.folder("rom.hex");
    EXPECT_EQ(changes(), (Texts{"b.v unreadable", "rom.hex unreadable"}));
}

TEST_F(InputFilesTest, AFileThatASourceNamesSinceIsAddedAndOneThatItNoLongerNamesIsForgotten) {
    m_dir.mark("more.vh");
    m_dir.mark("a.v", "`include \"more.vh\"\n");
    m_dir.mark("rom.hex", "something else");
    EXPECT_EQ(changes(), (Texts{"a.v modified", "more.vh added"}));
}

TEST_F(InputFilesTest, AFileThatComesToLieNearerIsAddedThoughNoSourceChanged) {
    m_dir.folder("lib");
    m_dir.mark("lib/defs.vh", "`define N 1\n");
    m_dir.unmark("defs.vh");
    m_inputs.includeDirs = {m_dir.path("lib")};
    m_before.clear();
    m_before = look();
    ASSERT_EQ(m_before.count(m_dir.path("lib/defs.vh")), 1U);
    m_dir.mark("defs.vh", "`define N 2\n");
    EXPECT_EQ(changes(), Texts{"defs.vh added"});
}

TEST_F(InputFilesTest, ATimeOfChangeIsThatOfTheContentOrElseOfItsComing) {
    m_dir.mark("b.v", "module b; wire w; endmodule\n");
    m_dir.touch("b.v", 5000);
    auto found = workbench::changesOf(m_before, look(), 1000);
    ASSERT_EQ(found.size(), 1U);
    EXPECT_EQ(found[0].since, 5000);
    m_dir.touch("b.v", 10);
    found = workbench::changesOf(m_before, look(), 1000);
    EXPECT_GT(found[0].since, 1000000000) << "the old time is told, not when it came";
}

TEST_F(InputFilesTest, ByTimesAloneThoseCountThatAreNewerThanTheLaunch) {
    for (const char* name : {"a.v", "b.v", "defs.vh", "rom.hex"})
        m_dir.touch(name, 1000);
    m_dir.touch("b.v", 1001);
    const auto found = workbench::newerThan(1000, look());
    ASSERT_EQ(found.size(), 1U);
    EXPECT_EQ(textOf(found[0]), "b.v modified");
    EXPECT_EQ(found[0].since, 1001);
}

TEST_F(InputFilesTest, AListThatChangedTellsWhatCameWentAndMoved) {
    const std::string p = m_dir.path() + "/";
    const InputRecord before{{"sources", {p + "a.v", p + "b.v", p + "c.v"}},
                             {"constraints", {p + "old.pcf"}}};
    const InputRecord now{{"sources", {p + "c.v", p + "a.v", p + "d.v"}},
                          {"constraints", {p + "new.pcf"}}};
    Texts texts;
    for (const FileChange& change : workbench::listChangesOf(before, now, {}, 1000))
        texts.push_back(textOf(change));
    EXPECT_EQ(texts,
              (Texts{"d.v added", "b.v removed", "c.v moved", "new.pcf added", "old.pcf removed"}));
    EXPECT_TRUE(workbench::listChangesOf({}, now, {}, 1000).empty());
    EXPECT_TRUE(workbench::listChangesOf(now, now, {}, 1000).empty());
}

TEST_F(InputFilesTest, KindsHaveNamesThatAreReadBack) {
    for (const InputKind kind : {InputKind::kSource, InputKind::kReference, InputKind::kConstraints,
                                 InputKind::kNetlist}) {
        InputKind found = InputKind::kSource;
        EXPECT_TRUE(workbench::findInputKind(workbench::inputKindName(kind), found));
        EXPECT_EQ(found, kind);
    }
    InputKind kept = InputKind::kNetlist;
    EXPECT_FALSE(workbench::findInputKind("other", kept));
    EXPECT_EQ(kept, InputKind::kNetlist);
}

TEST(InputStepsTest, SayWhichStepTakesWhat) {
    using Kinds = std::vector<InputKind>;
    EXPECT_EQ(workbench::filesOfStep("synth_design"),
              (Kinds{InputKind::kSource, InputKind::kReference}));
    EXPECT_EQ(workbench::filesOfStep("place_design"),
              (Kinds{InputKind::kNetlist, InputKind::kConstraints}));
    EXPECT_EQ(workbench::filesOfStep("route_design"), Kinds{});
    EXPECT_TRUE(workbench::takesSetting("synth_design", "defines"));
    EXPECT_FALSE(workbench::takesSetting("init_design", "frequency"));
    EXPECT_TRUE(workbench::takesSetting("place_design", "frequency"));
    EXPECT_FALSE(workbench::takesSetting("write_bitstream", "device"));
}

}  // namespace
