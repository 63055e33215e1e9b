// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "environment/filemgmt/HDDASrcFile.h"

#include <ostream>
#include <string>

#include <sys/stat.h>

#include <gtest/gtest.h>

#include "environment/filemgmt/HDDASrcFileType.h"
#include "tests/unit/environment/filemgmt/SourceFolder.h"

namespace {

class SrcFileTest : public ::testing::Test {
protected:
    test::SourceFolder m_folder;
    HADAFileSet m_set{"sources_1", HDDATypes::FST_DESIGN_SRCS};
};

TEST_F(SrcFileTest, KnowsItsPathKindAndSet) {
    HDDASrcFile* const file = m_folder.add(m_set, "top.sv");
    EXPECT_EQ(file->getName(), m_folder.path("top.sv"));
    EXPECT_EQ(file->getFileType()->getId(), HDDATypes::SFT_SYSTEM_VERILOG);
    EXPECT_EQ(file->getFileSet(), &m_set);
    EXPECT_EQ(file->getCompositeFile(), nullptr);
    EXPECT_EQ(file->getParentComposite(), nullptr);
}

TEST_F(SrcFileTest, IsEnabledTrackedAndUsedEverywhereWhenNew) {
    const HDDASrcAttrs& attrs = m_folder.add(m_set, "top.v")->getAttrs();
    EXPECT_TRUE(attrs.isEnabled());
    EXPECT_FALSE(attrs.isDisabled());
    EXPECT_FALSE(attrs.isAutoDisabled());
    EXPECT_TRUE(attrs.isUsedInSynthesis());
    EXPECT_TRUE(attrs.isUsedInImplementation());
    EXPECT_TRUE(attrs.isUsedInSimulation());
    EXPECT_FALSE(attrs.isExcludedFromTracking());
    EXPECT_TRUE(attrs.getRunNames().empty());
    EXPECT_TRUE(attrs.getLibrary().empty());
}

TEST_F(SrcFileTest, IsEnabledOnlyWhileNobodyDisablesIt) {
    HDDASrcAttrs attrs;
    attrs.setDisabled(true);
    EXPECT_FALSE(attrs.isEnabled());
    attrs.setDisabled(false);
    attrs.setAutoDisabled(true);
    EXPECT_FALSE(attrs.isEnabled());
}

TEST_F(SrcFileTest, IsKeptForTheRunsThatItNamesExactly) {
    HDDASrcAttrs attrs;
    attrs.setRunNames({"impl_1", "impl_3"});
    EXPECT_TRUE(attrs.isKeptForRun("impl_3"));
    EXPECT_FALSE(attrs.isKeptForRun("impl_2"));
    EXPECT_FALSE(attrs.isKeptForRun("impl"));
    EXPECT_FALSE(HDDASrcAttrs().isKeptForRun(""));
}

TEST_F(SrcFileTest, TakesAnotherKind) {
    HDDASrcFile* const file = m_folder.add(m_set, "top.v");
    file->setFileType(HDDATypes::SFT_SYSTEM_VERILOG);
    EXPECT_EQ(file->getFileType(), HDDASrcFileType::get(HDDATypes::SFT_SYSTEM_VERILOG));
}

TEST_F(SrcFileTest, StoresTheModificationTimeInWholeSeconds) {
    m_folder.write("top.v", "a");
    m_folder.touch("top.v", 1700000000);
    EXPECT_EQ(m_set.addSrcFile(m_folder.path("top.v"))->getModTime(), 1700000000);
}

TEST_F(SrcFileTest, KeepsNoImportTimeByItself) {
    HDDASrcFile* const file = m_folder.add(m_set, "top.v");
    EXPECT_EQ(file->getImportTime(), 0);
    file->setImportTime(1700000000);
    EXPECT_EQ(file->getImportTime(), 1700000000);
}

TEST_F(SrcFileTest, HasATimeOfZeroWithoutAFile) {
    HDDASrcFile* const file = m_set.addSrcFile(m_folder.path("gone.v"));
    EXPECT_FALSE(file->getStamp().exists());
    EXPECT_EQ(file->getModTime(), 0);
}

TEST_F(SrcFileTest, LooksAtTheDiskOnlyWhenAsked) {
    HDDASrcFile* const file = m_folder.add(m_set, "top.v", "one");
    const HDDAContentStamp before = file->getStamp();
    m_folder.write("top.v", "other");
    EXPECT_TRUE(file->getStamp().isSameContent(before));
    EXPECT_TRUE(file->updateStamp());
    EXPECT_FALSE(file->getStamp().isSameContent(before));
    EXPECT_FALSE(file->updateStamp());
}

TEST_F(SrcFileTest, IsNotChangedByATouch) {
    HDDASrcFile* const file = m_folder.add(m_set, "top.v");
    m_folder.touch("top.v", 1700000123);
    EXPECT_FALSE(file->updateStamp());
    EXPECT_EQ(file->getModTime(), 1700000123);
}

TEST_F(SrcFileTest, IsChangedByOtherContentOfTheSameSizeAndTime) {
    m_folder.write("top.v", "a = 0;");
    m_folder.touch("top.v", 1700000000);
    HDDASrcFile* const file = m_set.addSrcFile(m_folder.path("top.v"));
    m_folder.write("top.v", "a = 1;");
    m_folder.touch("top.v", 1700000000);
    EXPECT_TRUE(file->updateStamp());
}

TEST_F(SrcFileTest, IsChangedWhenItsFileGoesAndWhenItComes) {
    HDDASrcFile* const file = m_folder.add(m_set, "top.v");
    m_folder.remove("top.v");
    EXPECT_TRUE(file->updateStamp());
    EXPECT_FALSE(file->updateStamp());
    m_folder.write("top.v", "");
    EXPECT_TRUE(file->updateStamp());
}

TEST_F(SrcFileTest, TellsAnEmptyFileFromAMissingOne) {
    m_folder.write("empty.v", "");
    const HDDAContentStamp empty = HDDAContentStamp::read(m_folder.path("empty.v"));
    EXPECT_TRUE(empty.exists());
    EXPECT_EQ(empty.getSize(), 0U);
    EXPECT_FALSE(empty.isSameContent(HDDAContentStamp::read(m_folder.path("missing.v"))));
}

TEST_F(SrcFileTest, HashesAllOfALongFile) {
    const std::string content(200000, 'x');
    m_folder.write("long.mem", content + "a");
    const HDDAContentStamp first = HDDAContentStamp::read(m_folder.path("long.mem"));
    m_folder.write("long.mem", content + "b");
    const HDDAContentStamp second = HDDAContentStamp::read(m_folder.path("long.mem"));
    EXPECT_EQ(first.getSize(), 200001U);
    EXPECT_EQ(second.getSize(), 200001U);
    EXPECT_FALSE(first.isSameContent(second));
}

TEST_F(SrcFileTest, HashesAlikeOnEveryHost) {
    m_folder.write("a", "a");
    EXPECT_EQ(HDDAContentStamp::read(m_folder.path("a")).getHash(), 0xaf63dc4c8601ec8cU);
}

TEST_F(SrcFileTest, TakesAFolderOrAPipeForNoFile) {
    EXPECT_FALSE(HDDAContentStamp::read(m_folder.path(".")).exists());
    ASSERT_EQ(mkfifo(m_folder.path("pipe").c_str(), 0600), 0);
    EXPECT_FALSE(HDDAContentStamp::read(m_folder.path("pipe")).exists());
}

TEST(SrcFileTypeTest, IsOneObjectAKind) {
    EXPECT_EQ(HDDASrcFileType::get(HDDATypes::SFT_VHDL), HDDASrcFileType::getForFile("/a/b.vhd"));
}

TEST(SrcFileTypeTest, IsUnknownForANumberWithoutAKind) {
    EXPECT_EQ(HDDASrcFileType::get(static_cast<HDDATypes::SFTId>(60))->getId(),
              HDDATypes::SFT_UNKNOWN);
}

TEST(SrcFileTypeTest, HasAKindForEachNumberThatTheLibraryNames) {
    for (const int number : {0, 1, 3, 4, 5, 7, 8, 9, 22, 25, 27, 31, 32, 43})
        EXPECT_EQ(HDDASrcFileType::get(static_cast<HDDATypes::SFTId>(number))->getId(), number);
}

TEST(SrcFileTypeTest, HasANameForTheUserThatFindsItAgain) {
    for (int number = 0; number < HDDATypes::SFT_LIMIT; ++number) {
        const HDDASrcFileType* const kind =
            HDDASrcFileType::get(static_cast<HDDATypes::SFTId>(number));
        EXPECT_EQ(HDDASrcFileType::getForName(kind->getName()), kind);
    }
    EXPECT_STREQ(HDDASrcFileType::get(HDDATypes::SFT_BLOCK_DESIGN)->getName(), "Block Design");
    EXPECT_EQ(HDDASrcFileType::getForName("block design")->getId(), HDDATypes::SFT_BLOCK_DESIGN);
    EXPECT_EQ(HDDASrcFileType::getForName("no such kind"), nullptr);
}

TEST(SrcFileTypeTest, KnowsWhichKindIsAToolsOwnData) {
    EXPECT_TRUE(HDDASrcFileType::get(HDDATypes::SFT_TOOL_DATABASE)->isDbData());
    EXPECT_FALSE(HDDASrcFileType::get(HDDATypes::SFT_CHECKPOINT)->isDbData());
    EXPECT_FALSE(HDDASrcFileType::get(HDDATypes::SFT_VERILOG)->isDbData());
}

/// A path, and the kind of the file.
struct PathCase {
    const char* name;
    const char* path;
    HDDATypes::SFTId id;
};

std::ostream& operator<<(std::ostream& os, const PathCase& row) {
    return os << row.path;
}

class SrcFileTypePathTest : public ::testing::TestWithParam<PathCase> {};

TEST_P(SrcFileTypePathTest, GivesTheKind) {
    EXPECT_EQ(HDDASrcFileType::getForFile(GetParam().path)->getId(), GetParam().id);
}

INSTANTIATE_TEST_SUITE_P(
    Paths, SrcFileTypePathTest,
    ::testing::Values(PathCase{"Verilog", "/src/top.v", HDDATypes::SFT_VERILOG},
                      PathCase{"UpperCase", "TOP.V", HDDATypes::SFT_VERILOG},
                      PathCase{"Header", "defs.svh", HDDATypes::SFT_VERILOG_HEADER},
                      PathCase{"SystemVerilog", "a.b.sv", HDDATypes::SFT_SYSTEM_VERILOG},
                      PathCase{"Vhdl", "a.vhdl", HDDATypes::SFT_VHDL},
                      PathCase{"Memory", "boot.hex", HDDATypes::SFT_MEMORY_INIT},
                      PathCase{"Pins", "board.pcf", HDDATypes::SFT_PIN_CONSTRAINTS},
                      PathCase{"Timing", "clocks.sdc", HDDATypes::SFT_TIMING_CONSTRAINTS},
                      PathCase{"Netlist", "top.json", HDDATypes::SFT_JSON_NETLIST},
                      PathCase{"Edif", "top.edn", HDDATypes::SFT_EDIF},
                      PathCase{"Tcl", "pre.tcl", HDDATypes::SFT_TCL},
                      PathCase{"TextIsData", "rom.txt", HDDATypes::SFT_DATA},
                      PathCase{"Notes", "README.md", HDDATypes::SFT_NOTES},
                      PathCase{"Other", "a.xyz", HDDATypes::SFT_UNKNOWN},
                      PathCase{"NoExtension", "/src/makefile", HDDATypes::SFT_UNKNOWN},
                      PathCase{"DotInAFolder", "/src.v/top", HDDATypes::SFT_UNKNOWN},
                      PathCase{"DotAtTheEnd", "top.", HDDATypes::SFT_UNKNOWN},
                      PathCase{"Empty", "", HDDATypes::SFT_UNKNOWN}),
    [](const auto& row) { return std::string(row.param.name); });

}  // namespace
