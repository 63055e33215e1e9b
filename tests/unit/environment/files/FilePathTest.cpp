// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include <filesystem>
#include <ostream>
#include <string>

#include <gtest/gtest.h>

#include "environment/files/HUTFile.h"
#include "environment/files/HUTFileUtils.h"
#include "tests/support/RunDir.h"

namespace {

/// A path and what its name is made of.
struct NameCase {
    const char* label;
    const char* path;
    const char* name;
    const char* baseName;
    const char* ext;
};

std::ostream& operator<<(std::ostream& os, const NameCase& row) {
    return os << row.path;
}

class FileNameTable : public ::testing::TestWithParam<NameCase> {};

TEST_P(FileNameTable, IsTakenApart) {
    const HUTFile file(GetParam().path);
    std::string name = "left";
    std::string baseName = "left";
    std::string ext = "left";
    file.getName(name);
    file.getBaseName(baseName);
    file.getExt(ext);
    EXPECT_EQ(name, GetParam().name);
    EXPECT_EQ(baseName, GetParam().baseName);
    EXPECT_EQ(ext, GetParam().ext);
}

INSTANTIATE_TEST_SUITE_P(
    Names, FileNameTable,
    ::testing::Values(NameCase{"Plain", "/a/b.psg", "b.psg", "b", "psg"},
                      NameCase{"TwoDots", "/a/b.tar.gz", "b.tar.gz", "b.tar", "gz"},
                      NameCase{"NoExtension", "/a.b/c", "c", "c", ""},
                      NameCase{"Hidden", "/a/.Orv", ".Orv", ".Orv", ""},
                      NameCase{"HiddenWithExtension", "/a/.x.begin.rst", ".x.begin.rst", ".x.begin",
                               "rst"},
                      NameCase{"LastDot", "/a/b.", "b.", "b", ""},
                      NameCase{"NoFolder", "b.txt", "b.txt", "b", "txt"},
                      NameCase{"FolderOnly", "/a/b/", "", "", ""},
                      NameCase{"ParentFolder", "/a/..", "..", "..", ""},
                      NameCase{"Blanks", "/a b/c d.e f", "c d.e f", "c d", "e f"},
                      NameCase{"Empty", "", "", "", ""}),
    [](const auto& row) { return std::string(row.param.label); });

TEST(FilePathTest, SeparatesFoldersAsTheHostDoes) {
    EXPECT_EQ(HUTFile::getDirSeparator(), "/");
}

TEST(FilePathTest, GivesAnAbsolutePathAsItIs) {
    std::string path;
    HUTFile("/a/./b//../c/").getFullPath(path);
    EXPECT_EQ(path, "/a/./b//../c/");
}

TEST(FilePathTest, MakesARelativePathAbsoluteWithTheCurrentFolder) {
    std::string path;
    HUTFile("a/b").getFullPath(path);
    EXPECT_EQ(path, (std::filesystem::current_path() / "a/b").string());
}

TEST(FilePathTest, GivesNoFullPathToNothing) {
    std::string path = "left";
    HUTFile("").getFullPath(path);
    EXPECT_EQ(path, "");
}

TEST(FilePathTest, TakesAnotherPath) {
    HUTFile file("/a/b");
    file.setPathname("/c/d");
    std::string path;
    file.getFullPath(path);
    EXPECT_EQ(path, "/c/d");
}

std::string absolute(std::string path) {
    HUTFileUtils::makeAbsolutePath(path);
    return path;
}

TEST(AbsolutePathTest, StaysWhenItIsAbsoluteAndPlain) {
    EXPECT_EQ(absolute("/a/b c"), "/a/b c");
}

TEST(AbsolutePathTest, LosesDotsAndSeparatorsThatSayNothing) {
    EXPECT_EQ(absolute("/a/.//b/./"), "/a/b");
}

TEST(AbsolutePathTest, BeginsWithTheCurrentFolder) {
    EXPECT_EQ(absolute("a"), (std::filesystem::current_path() / "a").string());
}

TEST(AbsolutePathTest, IsTheCurrentFolderForAnEmptyPath) {
    EXPECT_EQ(absolute(""), std::filesystem::current_path().string());
}

TEST(AbsolutePathTest, KeepsTheRoot) {
    EXPECT_EQ(absolute("/"), "/");
}

TEST(AbsolutePathTest, GoesUpFromFoldersThatAreNotThere) {
    EXPECT_EQ(absolute("/no-such-folder/a/../b"), "/no-such-folder/b");
}

TEST(AbsolutePathTest, StaysAtTheRootWhenItGoesUpFromThere) {
    EXPECT_EQ(absolute("/../../a"), "/a");
}

TEST(AbsolutePathTest, GoesUpFromWhereALinkLeads) {
    const test::RunDir dir;
    dir.folder("real/deep");
    std::filesystem::create_directory_symlink(dir.path("real/deep"), dir.path("link"));
    EXPECT_EQ(absolute(dir.path("link/../x")), dir.path("real/x"));
}

}  // namespace
