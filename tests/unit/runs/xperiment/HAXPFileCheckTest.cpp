// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "runs/base/xperiment/HAXPFileCheck.h"

#include <memory>
#include <stdexcept>
#include <string>
#include <thread>

#include <gtest/gtest.h>

#include "runs/base/xperiment/HAXPExpInfoBase.h"
#include "runs/base/xperiment/HAXPFileSpec.h"
#include "tests/support/RunDir.h"

namespace {

constexpr HAXPTypes::FileType kFirst = HAXPTypes::FILE_ROUTE_DRC;
constexpr HAXPTypes::FileType kSecond = HAXPTypes::FILE_OPT_DRC;

/// A check for a report of two kinds.
class FileCheckTest : public ::testing::Test {
protected:
    void SetUp() override {
        m_spec.addFileType(kFirst);
        m_spec.addFileType(kSecond);
    }

    /// What an update finds: the name in the run directory, or "nothing".
    std::string found() {
        m_check.updateFile(m_dir.path());
        std::string path;
        m_check.getFullPath(path);
        if (!m_check.isAvailable())
            return path.empty() ? "nothing" : "not available: " + path;
        return path.substr(m_dir.path().size() + 1);
    }

    test::RunDir m_dir;
    HAXPExpInfoBase m_info{nullptr, "run"};
    HAXPFileSpec m_spec{"drc"};
    HAXPFileCheck m_check{&m_spec, &m_info};
};

TEST_F(FileCheckTest, IsNotAvailableAtFirst) {
    std::string path = "before";
    m_check.getFullPath(path);
    EXPECT_FALSE(m_check.isAvailable());
    EXPECT_EQ(path, "");
}

TEST_F(FileCheckTest, TellsWhatItsSpecTells) {
    m_spec.setId(3);
    m_spec.setDescription("Rules that were broken");
    EXPECT_EQ(m_check.getFileSpec(), &m_spec);
    EXPECT_EQ(m_check.getId(), 3);
    EXPECT_EQ(m_check.getName(), "drc");
    EXPECT_EQ(m_check.getDescription(), "Rules that were broken");
}

TEST_F(FileCheckTest, FindsTheFileOfTheFirstKind) {
    m_info.setFile(kFirst, "first.rpt");
    m_info.setFile(kSecond, "second.rpt");
    m_dir.mark("first.rpt");
    m_dir.mark("second.rpt");
    EXPECT_EQ(found(), "first.rpt");
}

TEST_F(FileCheckTest, GoesOnToTheSecondKindWithoutTheFirstFile) {
    m_info.setFile(kFirst, "first.rpt");
    m_info.setFile(kSecond, "second.rpt");
    m_dir.mark("second.rpt");
    EXPECT_EQ(found(), "second.rpt");
}

TEST_F(FileCheckTest, GoesOnToTheSecondKindWithoutTheFirstName) {
    m_info.setFile(kSecond, "second.rpt");
    m_dir.mark("second.rpt");
    EXPECT_EQ(found(), "second.rpt");
    m_info.setFile(kFirst, "");
    EXPECT_EQ(found(), "second.rpt");
}

TEST_F(FileCheckTest, FindsNothingWithoutNames) {
    EXPECT_EQ(found(), "nothing");
}

TEST_F(FileCheckTest, TakesAFolderForAFile) {
    m_info.setFile(kFirst, "reports");
    m_dir.folder("reports");
    EXPECT_EQ(found(), "reports");
}

TEST_F(FileCheckTest, GivesTheFullPath) {
    m_info.setFile(kFirst, "sub/first.rpt");
    m_dir.folder("sub");
    m_dir.mark("sub/first.rpt");
    m_check.updateFile(m_dir.path());
    std::string path;
    m_check.getFullPath(path);
    EXPECT_EQ(path, m_dir.path("sub/first.rpt"));
}

TEST_F(FileCheckTest, ForgetsAFileThatHasGone) {
    m_info.setFile(kFirst, "first.rpt");
    m_dir.mark("first.rpt");
    EXPECT_EQ(found(), "first.rpt");
    m_dir.unmark("first.rpt");
    EXPECT_EQ(found(), "nothing");
}

TEST_F(FileCheckTest, ForgetsTheFileOnReset) {
    m_info.setFile(kFirst, "first.rpt");
    m_dir.mark("first.rpt");
    found();
    m_check.resetFile();
    std::string path = "before";
    m_check.getFullPath(path);
    EXPECT_FALSE(m_check.isAvailable());
    EXPECT_EQ(path, "");
    EXPECT_TRUE(m_dir.has("first.rpt"));
}

TEST_F(FileCheckTest, LooksForTheNameInLowerCaseIfTheSpecSaysSo) {
    m_info.setFile(kFirst, "Top.RPT");
    m_dir.mark("top.rpt");
    EXPECT_EQ(found(), "nothing");
    m_spec.setLowerCaseCheck(true);
    EXPECT_EQ(found(), "top.rpt");
}

TEST_F(FileCheckTest, PrefersTheNameAsItIs) {
    m_spec.setLowerCaseCheck(true);
    m_info.setFile(kFirst, "Top.RPT");
    m_dir.mark("top.rpt");
    m_dir.mark("Top.RPT");
    EXPECT_EQ(found(), "Top.RPT");
}

TEST_F(FileCheckTest, KeepsTheCaseOfTheRunDirectory) {
    m_spec.setLowerCaseCheck(true);
    m_info.setFile(kFirst, "Top.RPT");
    m_dir.folder("RUN_1");
    m_dir.mark("RUN_1/top.rpt");
    m_check.updateFile(m_dir.path("RUN_1"));
    std::string path;
    m_check.getFullPath(path);
    EXPECT_EQ(path, m_dir.path("RUN_1/top.rpt"));
}

TEST_F(FileCheckTest, LooksForTheLowerCaseNameBeforeTheNextKind) {
    m_spec.setLowerCaseCheck(true);
    m_info.setFile(kFirst, "Top.RPT");
    m_info.setFile(kSecond, "second.rpt");
    m_dir.mark("top.rpt");
    m_dir.mark("second.rpt");
    EXPECT_EQ(found(), "top.rpt");
}

TEST_F(FileCheckTest, PassesOnThatAKindHasAnEmptyList) {
    m_info.setFile(kSecond, "second.rpt");
    m_dir.mark("second.rpt");
    found();
    m_info.setFiles(kFirst, {});
    EXPECT_THROW(m_check.updateFile(m_dir.path()), std::out_of_range);
    EXPECT_TRUE(m_check.isAvailable());
}

TEST_F(FileCheckTest, IsReadWhileAnotherThreadUpdates) {
    m_info.setFile(kFirst, "first.rpt");
    m_dir.mark("first.rpt");
    std::thread writer([this] {
        for (int i = 0; i < 200; ++i) {
            m_check.updateFile(m_dir.path());
            m_check.resetFile();
        }
    });
    int strange = 0;
    std::string path;
    for (int i = 0; i < 200; ++i) {
        m_check.getFullPath(path);
        strange += !path.empty() && path != m_dir.path("first.rpt");
    }
    writer.join();
    EXPECT_EQ(strange, 0);
}

}  // namespace
