// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "workbench/sourceReferences.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/support/RunDir.h"

namespace {

using Paths = std::vector<std::string>;

class SourceReferencesTest : public ::testing::Test {
protected:
    Paths found(const Paths& includeDirs = {}) const {
        return workbench::referencedFiles({m_dir.path("a.v")}, includeDirs);
    }

    test::RunDir m_dir;
};

TEST_F(SourceReferencesTest, FindsIncludedFilesAndMemoryContents) {
    m_dir.mark("defs.vh");
    m_dir.mark("rom.hex");
    m_dir.mark("a.v", "`include \"defs.vh\"\ninitial $readmemh(\"rom.hex\", rom);\n");
    EXPECT_EQ(found(), (Paths{m_dir.path("defs.vh"), m_dir.path("rom.hex")}));
}

TEST_F(SourceReferencesTest, FindsNamesThatReachTheirUseByAParameter) {
    m_dir.folder("fw");
    m_dir.mark("fw/rom.hex");
    m_dir.mark("a.v", "mem #(.FILE(\"fw/rom.hex\")) m ();\n");
    EXPECT_EQ(found(), (Paths{m_dir.path("fw/rom.hex")}));
}

TEST_F(SourceReferencesTest, LooksIntoIncludeFoldersBehindTheSourcesOwn) {
    m_dir.folder("inc");
    m_dir.mark("inc/one.vh");
    m_dir.mark("inc/both.vh");
    m_dir.mark("both.vh");
    m_dir.mark("a.v", "`include \"one.vh\"\n`include \"both.vh\"\n");
    EXPECT_EQ(found({m_dir.path("inc")}), (Paths{m_dir.path("inc/one.vh"), m_dir.path("both.vh")}));
}

TEST_F(SourceReferencesTest, SearchesIncludedFilesInTheirTurn) {
    m_dir.mark("c.vh");
    m_dir.mark("b.vh", "`include \"c.vh\"\n");
    m_dir.mark("a.v", "`include \"b.vh\"\n");
    EXPECT_EQ(found(), (Paths{m_dir.path("b.vh"), m_dir.path("c.vh")}));
}

TEST_F(SourceReferencesTest, EndsWhenFilesIncludeEachOther) {
    m_dir.mark("b.vh", "`include \"a.v\"\n`include \"b.vh\"\n");
    m_dir.mark("a.v", "`include \"b.vh\"\n");
    EXPECT_EQ(found(), (Paths{m_dir.path("b.vh")}));
}

TEST_F(SourceReferencesTest, PassesOverTextsAndMissingFiles) {
    m_dir.folder("folder");
    m_dir.mark("a.v", "$display(\"hello\"); \"\" \"folder\" \"gone.hex\" \"open\nx\"");
    EXPECT_EQ(found(), Paths{});
}

TEST_F(SourceReferencesTest, FindsNothingInASourceThatIsGone) {
    EXPECT_EQ(found(), Paths{});
}

}  // namespace
