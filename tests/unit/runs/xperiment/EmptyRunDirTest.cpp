// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include <cerrno>
#include <map>
#include <ostream>
#include <string>

#include <unistd.h>

#include <boost/filesystem.hpp>

#include <gtest/gtest.h>

#include "environment/containers/heapIter.h"
#include "environment/errors/HEXAlgException.h"
#include "tests/support/FaultyDisk.h"
#include "tests/unit/runs/xperiment/resetFixture.h"

namespace {

namespace fs = boost::filesystem;

using test::Ids;
using test::RunResetFixture;
using test::Texts;
using test::thrownText;

/// A run of the flow, whose tools leave what they like; beside it lies what is none of its
/// business.
class EmptyRunDirTest : public RunResetFixture {
protected:
    explicit EmptyRunDirTest(const std::string& flowName = "Test Flow")
        : RunResetFixture(flowName) {
        m_dir.unmark("run/notes.txt");
        m_dir.unmark("run/util.rpt");
        m_dir.folder("beside/sub");
        m_dir.mark("precious");
        m_dir.mark("beside/precious.txt");
        m_dir.mark("beside/sub/precious");
    }
    void TearDown() override {
        fs::current_path(m_before);
        for (const char* name : {"precious", "beside/precious.txt", "beside/sub/precious"})
            EXPECT_TRUE(m_dir.has(name)) << name;
        EXPECT_TRUE(m_errors.empty());
    }

    void folder(const std::string& name) const { m_dir.folder("run/" + name); }
    void link(const std::string& target, const std::string& name) const {
        ASSERT_EQ(::symlink(target.c_str(), m_dir.path("run/" + name).c_str()), 0);
    }
    void mark(const Texts& names) const {
        for (const std::string& name : names)
            RunResetFixture::mark(name);
    }
    /// Makes them files of the run by its table.
    void know(const Texts& names) const {
        m_run->info().setFiles(HAXPTypes::FILE_PLACE_UTIL, names);
    }
    /// The folder that this process works in is never removed.
    void workIn(const std::string& name) const { fs::current_path(m_dir.path("run/" + name)); }
    bool empty() const { return m_run->emptyRunDir(); }

    const fs::path m_before = fs::current_path();
};

TEST_F(EmptyRunDirTest, SucceedsWithoutADirectory) {
    removeRunDir();
    EXPECT_TRUE(empty());
    EXPECT_FALSE(m_dir.has("run"));
    m_run->setRunDir("", false);
    const test::FaultyDisk disk;
    EXPECT_TRUE(empty());
    EXPECT_EQ(disk.calls(), 0);
}

TEST_F(EmptyRunDirTest, TakesADirectoryWithASeparatorAtItsEnd) {
    mark({"runme.log", "user.v"});
    m_run->setRunDir(runDir() + "/", false);
    EXPECT_TRUE(empty());
    EXPECT_EQ(entries(), (Ids{"user.v"}));
}

TEST_F(EmptyRunDirTest, TakesADirectoryThatIsALink) {
    mark({"runme.log", "user.v"});
    ASSERT_EQ(::symlink("run", m_dir.path("linked").c_str()), 0);
    m_run->setRunDir(m_dir.path("linked"), false);
    EXPECT_TRUE(empty());
    EXPECT_EQ(entries(), (Ids{"user.v"}));
}

TEST_F(EmptyRunDirTest, RemovesTheFilesOfTheTable) {
    mark({"a.rpt", "b.rpt", "c.rpt", "user.rpt"});
    know({"a.rpt", "b.rpt"});
    m_run->info().setFile(HAXPTypes::FILE_PLACE_IO, "c.rpt");
    EXPECT_TRUE(empty());
    EXPECT_EQ(entries(), (Ids{"user.rpt"}));
}

/// Tells of one type of file, whatever is in the table.
class PickyInfo final : public test::TestRunInfo {
public:
    using TestRunInfo::TestRunInfo;

    HSTFwdKeyIter<HAXPTypes::FileType>* createFileTypeIter() const override {
        return containers::heapKeyIter<HAXPTypes::FileType>(m_types);
    }

private:
    std::map<HAXPTypes::FileType, int> m_types{{HAXPTypes::FILE_PLACE_IO, 0}};
};

TEST_F(EmptyRunDirTest, RemovesTheFilesOfTheTypesThatTheRunTells) {
    m_run->nukeSteps();
    m_run->setExpInfoBase(new PickyInfo(m_run.get(), "impl_1"));
    mark({"util.rpt", "io.rpt"});
    know({"util.rpt"});
    m_run->info().setFile(HAXPTypes::FILE_PLACE_IO, "io.rpt");
    EXPECT_TRUE(empty());
    EXPECT_EQ(entries(), (Ids{"util.rpt"}));
}

TEST_F(EmptyRunDirTest, RemovesFoldersOfTheTableWithAllInThem) {
    folder("out/deep");
    folder("sub/kept");
    mark({"out/deep/file", "sub/file"});
    know({"out", "sub/file"});
    EXPECT_TRUE(empty());
    EXPECT_EQ(entries(), (Ids{"sub"}));
    EXPECT_FALSE(has("sub/file"));
    EXPECT_TRUE(has("sub/kept"));
}

TEST_F(EmptyRunDirTest, LeavesFilesOfTheUniversalTable) {
    m_run->info().setFileUniversal(HAXPFileType("net"), "net.v");
    mark({"net.v"});
    EXPECT_TRUE(empty());
    EXPECT_TRUE(has("net.v"));
}

TEST_F(EmptyRunDirTest, TakesAPatternForAPlainName) {
    mark({"*.rpt", "a.rpt", ".rpt"});
    know({"*.rpt", ".*"});
    EXPECT_TRUE(empty());
    EXPECT_EQ(entries(), (Ids{".rpt", "a.rpt"}));
}

TEST_F(EmptyRunDirTest, RemovesWhatALaunchLeaves) {
    mark(test::launchLeftovers());
    mark({"job.id.old", "Runme.log", ".a.begin.rst"});
    EXPECT_TRUE(empty());
    EXPECT_EQ(entries(), (Ids{".a.begin.rst", "Runme.log", "job.id.old"}));
}

TEST_F(EmptyRunDirTest, RemovesFoldersThatALaunchLeaves) {
    for (const char* name : {"c_files", ".Orv", "mq_visual"}) {
        folder(std::string(name) + "/deep");
        mark({std::string(name) + "/deep/file"});
    }
    EXPECT_TRUE(empty());
    EXPECT_EQ(entries(), (Ids{}));
}

TEST_F(EmptyRunDirTest, RemovesFilesByExactExtension) {
    mark({"rom.mif", "a.txt", "b.c.tmp", "a.TXT", "a.txt.v", "txt", ".txt", "a.mifs"});
    EXPECT_TRUE(empty());
    EXPECT_EQ(entries(), (Ids{".txt", "a.TXT", "a.mifs", "a.txt.v", "txt"}));
}

TEST_F(EmptyRunDirTest, LeavesFoldersOfSuchAnExtension) {
    folder("notes.txt");
    mark({"notes.txt/inside.txt"});
    EXPECT_TRUE(empty());
    EXPECT_TRUE(has("notes.txt/inside.txt"));
}

TEST_F(EmptyRunDirTest, LeavesWhatElseLiesThere) {
    folder("user");
    mark({"user/file.tmp", "top.v", "notes.md"});
    EXPECT_TRUE(empty());
    EXPECT_EQ(entries(), (Ids{"notes.md", "top.v", "user"}));
    EXPECT_TRUE(has("user/file.tmp"));
}

TEST_F(EmptyRunDirTest, NoticesNoFailure) {
    mark({"a.rpt", "runme.log", "a.txt"});
    know({"a.rpt"});
    test::FaultyDisk disk;
    disk.failAll("unlinkAt", EACCES);
    EXPECT_TRUE(empty());
    EXPECT_TRUE(disk.hasFailed());
    EXPECT_EQ(entries(), (Ids{"a.rpt", "a.txt", "runme.log"}));
}

TEST_F(EmptyRunDirTest, GoesOnBehindWhatStays) {
    folder("held");
    mark({"a.rpt", "runme.log", "a.txt"});
    know({"held", "a.rpt"});
    workIn("held");
    EXPECT_TRUE(empty());
    EXPECT_EQ(entries(), (Ids{"held"}));
}

TEST_F(EmptyRunDirTest, SparesTheDisk) {
    const test::FaultyDisk disk;
    EXPECT_TRUE(empty());
    EXPECT_LE(disk.calls(), 31) << "one call for a name that isn't there";
}

// Names and links that lead out ----------------------------------------------

TEST_F(EmptyRunDirTest, FollowsNoNameThatGoesUp) {
    folder("sub");
    know({"../precious", "..", "../beside", "sub/../../precious", "sub/../../beside/sub"});
    EXPECT_TRUE(empty());
    EXPECT_TRUE(has("sub"));
}

TEST_F(EmptyRunDirTest, FollowsNoAbsoluteName) {
    mark({"a.rpt"});
    know({m_dir.path("precious"), m_dir.path("beside"), "/"});
    EXPECT_TRUE(empty());
    EXPECT_EQ(entries(), (Ids{"a.rpt"}));
}

TEST_F(EmptyRunDirTest, TakesAnEmptyNameForNothing) {
    folder("sub");
    mark({"user.v"});
    know({"", ".", "./", "sub/"});
    EXPECT_TRUE(empty());
    EXPECT_EQ(entries(), (Ids{"sub", "user.v"}));
}

TEST_F(EmptyRunDirTest, FollowsNoLinkInAName) {
    link("../beside", "link");
    know({"link/precious.txt", "link/sub", "link/sub/precious"});
    EXPECT_TRUE(empty());
    EXPECT_EQ(entries(), (Ids{"link"}));
}

TEST_F(EmptyRunDirTest, RemovesLinksAndNotWhatTheyLeadTo) {
    link("../beside", "c_files");
    link("../precious", "runme.log");
    link("../beside/precious.txt", "memory.txt");
    link("../beside", "folder.txt");
    link("nowhere", "dangling.tmp");
    know({"c_files"});
    EXPECT_TRUE(empty());
    for (const char* name : {"c_files", "runme.log", "memory.txt", "folder.txt", "dangling.tmp"})
        EXPECT_EQ(fs::symlink_status(m_dir.path("run/" + std::string(name))).type(),
                  fs::file_not_found)
            << name;
}

TEST_F(EmptyRunDirTest, NeedsAStrategyAndAnInformationObject) {
    struct Bare final : HAXPExpRunBase {
        explicit Bare(const HAXPFlow* flow) : HAXPExpRunBase("bare", flow) {}
    };
    Bare bare(m_flow.get());
    bare.setRunDir(runDir(), false);
    EXPECT_EQ(thrownText<HEXAlgException>([&] { bare.emptyRunDir(); }), "ExpRun: no strategy");
    EXPECT_EQ(thrownText<HEXAlgException>([&] { bare.resetRun(m_errors, true, true, true); }),
              "ExpRun: no run information");
}

// Flows that own their directories -------------------------------------------

/// A flow's name, and whether every entry goes.
struct OwnerCase {
    const char* name;
    const char* flowName;
    bool owns;
};

std::ostream& operator<<(std::ostream& os, const OwnerCase& row) {
    return os << row.name;
}

class EmptyRunDirOwnerTable : public ::testing::TestWithParam<OwnerCase> {};

TEST_P(EmptyRunDirOwnerTable, GoesByTheStartOfTheFlowsName) {
    const test::RunDir dir;
    dir.mark("user.v");
    dir.mark("runme.log");
    const auto flow = test::makeFlowOf({test::StepTraits::of("a")}, GetParam().flowName);
    test::TestRun run("impl_1", flow.get());
    run.setRunDir(dir.path(), false);
    EXPECT_TRUE(run.emptyRunDir());
    EXPECT_FALSE(dir.has("runme.log"));
    EXPECT_EQ(dir.has("user.v"), !GetParam().owns);
}

INSTANTIATE_TEST_SUITE_P(
    Flows, EmptyRunDirOwnerTable,
    ::testing::Values(OwnerCase{"Zum", "ZUM", true}, OwnerCase{"ZumAndMore", "ZUMmer 12", true},
                      OwnerCase{"Qsy", "QSY 2020", true},
                      OwnerCase{"Synthesis", "Tarnel Synthesis 2021", true},
                      OwnerCase{"SynthesisAlone", "Tarnel Synthesis", true},
                      OwnerCase{"Implementation", "Tarnel Implementation", false},
                      OwnerCase{"Shorter", "Tarnel Synth", false},
                      OwnerCase{"OtherCase", "zum", false},
                      OwnerCase{"OtherCaseWords", "tarnel synthesis", false},
                      OwnerCase{"Within", "My ZUM", false}, OwnerCase{"Nameless", "", false}),
    [](const auto& row) { return std::string(row.param.name); });

/// The same for a run whose directory is its own.
class EmptyWholeRunDirTest : public EmptyRunDirTest {
protected:
    EmptyWholeRunDirTest() : EmptyRunDirTest("ZUM Flow") {}
};

TEST_F(EmptyWholeRunDirTest, RemovesEveryEntryAndKeepsTheDirectory) {
    folder("user/deep");
    mark({"user/deep/file", "top.v", ".hidden", ".a.begin.rst", "odd\nname", "~", "-rf"});
    EXPECT_TRUE(empty());
    EXPECT_EQ(entries(), (Ids{}));
    EXPECT_TRUE(m_dir.has("run"));
    EXPECT_TRUE(empty()) << "there is nothing to remove";
}

TEST_F(EmptyWholeRunDirTest, SucceedsWithoutADirectory) {
    removeRunDir();
    EXPECT_TRUE(empty());
}

TEST_F(EmptyWholeRunDirTest, FollowsNoLink) {
    folder("sub");
    link("../beside", "link");
    link("../../beside", "sub/link");
    link("../precious", "file");
    link("nowhere", "dangling");
    EXPECT_TRUE(empty());
    EXPECT_EQ(entries(), (Ids{}));
}

TEST_F(EmptyWholeRunDirTest, TouchesNothingThatOnlyTheTableNames) {
    know({"../precious", "../beside", m_dir.path("precious")});
    EXPECT_TRUE(empty());
}

TEST_F(EmptyWholeRunDirTest, FailsWhenAnEntryStays) {
    mark({"a", "b", "c"});
    test::FaultyDisk disk;
    disk.failAll("unlinkAt", EACCES);
    EXPECT_FALSE(empty());
    EXPECT_EQ(entries(), (Ids{"a", "b", "c"}));
}

TEST_F(EmptyWholeRunDirTest, GoesOnBehindAnEntryThatStays) {
    folder("held");
    mark({"held/file", "a", "b"});
    workIn("held");
    EXPECT_FALSE(empty());
    EXPECT_EQ(entries(), (Ids{"held"}));
}

TEST_F(EmptyWholeRunDirTest, FailsWhenTheDirectoryCantBeRead) {
    if (::geteuid() == 0)
        GTEST_SKIP() << "nothing is closed to this user";
    mark({"a"});
    fs::permissions(runDir(), fs::no_perms);
    EXPECT_FALSE(empty());
    fs::permissions(runDir(), fs::owner_all);
    EXPECT_EQ(entries(), (Ids{"a"}));
}

}  // namespace
