// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "runs/base/xperiment/HAXPDataMgr.h"

#include <filesystem>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "environment/errors/HEXAlgException.h"
#include "environment/errors/HEXError.h"
#include "environment/messages/ComMsgMgrInstance.h"
#include "environment/options/HATAttrSpec.h"
#include "environment/options/HATOptGroup.h"
#include "runs/base/xperiment/HAXPUtilsBase.h"
#include "tests/support/MessageRecorder.h"
#include "tests/unit/runs/xperiment/runFixture.h"

namespace fs = std::filesystem;

namespace {

using test::RunFixture;
using test::thrownText;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

/// A data manager with the base's hooks, but for the one without a default.
class PlainDataMgr : public HAXPDataMgr {
public:
    std::string exported;

protected:
    void exportData_(HAXPExpRunBase* run, HAXPLaunchOptions*, HDGUIStatus& status) override {
        exported = run->getName();
        status.setCode(HDGUIStatus::statusDone);
    }
};

/// One that fills every hook.
class BusyDataMgr final : public PlainDataMgr {
protected:
    void scriptPreCmds_(HAXPExpRunBase* run, std::string& jsCmds, std::string& shCmds,
                        std::string& htrCmds) override {
        jsCmds = "js " + run->getName();
        shCmds = "sh " + run->getName();
        htrCmds = "htr " + run->getName();
    }
    void scriptPostCmds_(HAXPExpRunBase* run, std::string& jsCmds, std::string& shCmds) override {
        jsCmds = "js behind " + run->getName();
        shCmds = "sh behind " + run->getName();
    }
    bool filter_(const HATAttrSpec* spec, const HATOptGroup*, const HAXPExpRunBase*,
                 std::string& reason) override {
        EXPECT_EQ(reason, "");
        reason = "The device lacks it.";
        return spec->getName() == "flag";
    }
    bool prepRunForExport_(HAXPExpRunBase* run, HSTVector<std::string>& files,
                           HDGUIStatus& status) override {
        files.push_back(run->getName() + ".tar");
        status.setCode(HDGUIStatus::statusError);
        return false;
    }
};

class DataMgrTest : public RunFixture {
protected:
    HATOptGroup* options() const { return step("a")->getOptions(); }
    const HATAttrSpec* spec(const std::string& dbId) const {
        return options()->getAttrSpecForDbId(dbId);
    }

    test::MessageRecorder m_messages;
    PlainDataMgr m_plain;
    BusyDataMgr m_busy;
    HDGUIStatus m_status;
};

TEST_F(DataMgrTest, EmptiesTheScriptTextsByDefault) {
    std::string js = "a";
    std::string sh = "b";
    std::string htr = "c";
    m_plain.scriptPreCmds(m_run.get(), js, sh, htr);
    EXPECT_EQ(js + sh + htr, "");
    js = "a";
    sh = "b";
    m_plain.scriptPostCmds(m_run.get(), js, sh);
    EXPECT_EQ(js + sh, "");
}

TEST_F(DataMgrTest, HandsOnTheScriptTextsOfItsHooks) {
    std::string js;
    std::string sh;
    std::string htr;
    m_busy.scriptPreCmds(m_run.get(), js, sh, htr);
    EXPECT_THAT((std::vector<std::string>{js, sh, htr}),
                ElementsAre("js impl_1", "sh impl_1", "htr impl_1"));
    m_busy.scriptPostCmds(m_run.get(), js, sh);
    EXPECT_THAT((std::vector<std::string>{js, sh}),
                ElementsAre("js behind impl_1", "sh behind impl_1"));
}

TEST_F(DataMgrTest, FiltersNothingByDefault) {
    EXPECT_FALSE(m_plain.shouldFilter(spec("FlagBool"), options(), m_run.get()));
    EXPECT_THAT(m_messages.ids(), IsEmpty());
}

TEST_F(DataMgrTest, TellsOfAnOptionThatItFilters) {
    EXPECT_TRUE(m_busy.shouldFilter(spec("FlagBool"), options(), m_run.get()));
    EXPECT_THAT(m_messages.summaries(),
                ElementsAre("runs INFO 36-46(a, flag, impl_1, The device lacks it.)"));
    EXPECT_THAT(m_messages.texts(),
                ElementsAre("Option flag of a is left out of run impl_1. The device lacks it."));
}

TEST_F(DataMgrTest, SaysNothingOfAnOptionThatStays) {
    EXPECT_FALSE(m_busy.shouldFilter(spec("CountInt"), options(), m_run.get()));
    EXPECT_THAT(m_messages.ids(), IsEmpty());
}

TEST_F(DataMgrTest, FiltersWithoutARunUnderAnEmptyName) {
    EXPECT_TRUE(m_busy.shouldFilter(spec("FlagBool"), options(), nullptr));
    EXPECT_THAT(m_messages.summaries(),
                ElementsAre("runs INFO 36-46(a, flag, , The device lacks it.)"));
}

TEST_F(DataMgrTest, ExportsThroughItsHook) {
    m_plain.exportData(m_run.get(), nullptr, m_status);
    EXPECT_EQ(m_plain.exported, "impl_1");
    EXPECT_EQ(m_status.getCode(), test::kDone);
}

TEST_F(DataMgrTest, PreparesNothingByDefault) {
    HSTVector<std::string> files{"before"};
    EXPECT_TRUE(m_plain.prepRunForExport(m_run.get(), files, m_status));
    EXPECT_THAT(files, ElementsAre("before"));
    EXPECT_EQ(m_status.getCode(), test::kNotStarted);
}

TEST_F(DataMgrTest, PreparesAnExportThroughItsHook) {
    HSTVector<std::string> files;
    EXPECT_FALSE(m_busy.prepRunForExport(m_run.get(), files, m_status));
    EXPECT_THAT(files, ElementsAre("impl_1.tar"));
    EXPECT_EQ(m_status.getCode(), test::kFailed);
}

// Choosing the directory -----------------------------------------------------

/// A base folder for run directories, and another folder.
class RunDirTest : public RunFixture {
protected:
    std::string chosen() {
        std::string dir = "as before";
        HAXPUtilsBase::genRunDir(m_run.get(), m_dir.path(), dir);
        return dir;
    }
    std::string ofRun() const {
        std::string dir;
        m_run->getRunDir(dir);
        return dir;
    }
    /// A directory of the run's name that an earlier run left, with markers of "a" and a
    /// stranger.
    void occupy() {
        m_dir.folder("impl_1");
        for (const char* name : {".a.begin.rst", ".a.end.rst", ".c.begin.rst", ".c.error.rst",
                                 ".other.end.rst", "netlist.json"})
            m_dir.mark(std::string("impl_1/") + name);
    }

    test::MessageRecorder m_messages;
    test::RunDir m_elsewhere;
};

TEST_F(RunDirTest, ChoosesTheRunsNameWhenItIsMissing) {
    EXPECT_EQ(chosen(), m_dir.path("impl_1"));
    EXPECT_FALSE(m_dir.has("impl_1")) << "nothing is made";
}

TEST_F(RunDirTest, ChoosesTheRunsNameWhenItIsEmpty) {
    m_dir.folder("impl_1");
    m_run->setRunDir(m_elsewhere.path(), false);
    EXPECT_EQ(chosen(), m_dir.path("impl_1"));
}

TEST_F(RunDirTest, KeepsTheRunsOwnEmptyDirectory) {
    occupy();
    m_run->setRunDir(m_elsewhere.path(), false);
    EXPECT_EQ(chosen(), m_elsewhere.path());
    EXPECT_TRUE(m_dir.has("impl_1/.a.begin.rst"));
}

TEST_F(RunDirTest, KeepsTheRunsOwnMissingDirectory) {
    occupy();
    m_run->setRunDir(m_elsewhere.path("gone"), false);
    EXPECT_EQ(chosen(), m_elsewhere.path("gone"));
}

TEST_F(RunDirTest, TakesAnOccupiedDirectoryAndItsStepsMarkers) {
    occupy();
    EXPECT_EQ(chosen(), m_dir.path("impl_1"));
    for (const char* name : {".a.begin.rst", ".a.end.rst", ".c.begin.rst", ".c.error.rst"})
        EXPECT_FALSE(m_dir.has(std::string("impl_1/") + name)) << name;
    EXPECT_TRUE(m_dir.has("impl_1/.other.end.rst"));
    EXPECT_TRUE(m_dir.has("impl_1/netlist.json"));
}

TEST_F(RunDirTest, TakesAnOccupiedDirectoryWhenTheRunsOwnIsOccupiedToo) {
    occupy();
    m_elsewhere.mark("file");
    m_run->setRunDir(m_elsewhere.path(), false);
    EXPECT_EQ(chosen(), m_dir.path("impl_1"));
    EXPECT_FALSE(m_dir.has("impl_1/.a.begin.rst"));
    EXPECT_TRUE(m_elsewhere.has("file"));
}

TEST_F(RunDirTest, CountsHiddenFilesAsOccupation) {
    m_dir.folder("impl_1");
    m_dir.mark("impl_1/.b.end.rst");
    m_run->setRunDir(m_elsewhere.path(), false);
    EXPECT_EQ(chosen(), m_elsewhere.path());
}

TEST_F(RunDirTest, ChoosesNothingForANullRun) {
    std::string dir = "as before";
    EXPECT_EQ(
        thrownText<HEXAlgException>([&] { HAXPUtilsBase::genRunDir(nullptr, m_dir.path(), dir); }),
        "genRunDir: NULL run");
    EXPECT_EQ(dir, "as before");
}

// Assigning it ---------------------------------------------------------------

TEST_F(RunDirTest, AssignsANewDirectory) {
    HAXPDataMgr::assignRunDir(m_run.get(), m_dir.path("deep/er"));
    EXPECT_EQ(ofRun(), m_dir.path("deep/er/impl_1"));
    EXPECT_TRUE(fs::is_directory(ofRun()));
    EXPECT_EQ(m_run->statusUpdates, 1) << "the run is brought up to date";
}

TEST_F(RunDirTest, AssignsAnAbsoluteDirectory) {
    const fs::path relative = fs::relative(m_dir.path(), fs::current_path());
    HAXPDataMgr::assignRunDir(m_run.get(), relative.string() + "/./");
    EXPECT_EQ(ofRun(), m_dir.path("impl_1"));
}

TEST_F(RunDirTest, AssignsAnOccupiedDirectory) {
    occupy();
    HAXPDataMgr::assignRunDir(m_run.get(), m_dir.path());
    EXPECT_EQ(ofRun(), m_dir.path("impl_1"));
    EXPECT_TRUE(m_dir.has("impl_1/netlist.json"));
}

TEST_F(RunDirTest, WipesTheRunsOwnMarkersWhenItAssignsTheDirectoryAgain) {
    HAXPDataMgr::assignRunDir(m_run.get(), m_dir.path());
    occupy();
    HAXPDataMgr::assignRunDir(m_run.get(), m_dir.path());
    EXPECT_EQ(ofRun(), m_dir.path("impl_1"));
    EXPECT_FALSE(m_dir.has("impl_1/.a.begin.rst"));
    EXPECT_FALSE(m_dir.has("impl_1/.a.end.rst"));
    EXPECT_TRUE(m_dir.has("impl_1/netlist.json"));
}

TEST_F(RunDirTest, KeepsTheOldDirectoryWhenTheNewOneCantBeMade) {
    // A file in the way stops everyone, the system's administrator included.
    m_dir.mark("file");
    m_run->setRunDir(m_elsewhere.path(), false);
    const std::string wanted = m_dir.path("file/impl_1");
    const ComMsgMgrInstance expected("runs", ComMsgMgr::kError, "@36-66@%s", wanted);
    EXPECT_EQ(
        thrownText<HEXError>([&] { HAXPDataMgr::assignRunDir(m_run.get(), m_dir.path("file")); }),
        expected.getText());
    EXPECT_EQ(ofRun(), m_elsewhere.path());
    EXPECT_EQ(m_run->statusUpdates, 0);
}

TEST_F(RunDirTest, TellsWhichDirectoryCantBeMade) {
    m_dir.mark("file");
    const std::string text =
        thrownText<HEXError>([&] { HAXPDataMgr::assignRunDir(m_run.get(), m_dir.path("file")); });
    EXPECT_EQ(text, "The run directory " + m_dir.path("file/impl_1") +
                        " can't be made; the run keeps the directory it had. Check that its "
                        "parent is a folder that you may write to and that the disk has room.");
}

TEST_F(RunDirTest, AssignsNothingToANullRun) {
    EXPECT_EQ(
        thrownText<HEXAlgException>([&] { HAXPDataMgr::assignRunDir(nullptr, m_dir.path()); }),
        "genRunDir: NULL run");
}

}  // namespace
