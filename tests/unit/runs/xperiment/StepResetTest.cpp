// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include <cerrno>
#include <memory>
#include <ostream>
#include <regex>
#include <string>
#include <vector>

#include <unistd.h>

#include <boost/filesystem.hpp>

#include <gtest/gtest.h>

#include "environment/messages/ComMsgMgrSrcHandle.h"
#include "environment/process/HUTProcessHandle.h"
#include "runs/base/xperiment/HAXPFileCheck.h"
#include "runs/base/xperiment/HAXPFileSpec.h"
#include "tests/support/FaultyDisk.h"
#include "tests/support/TestParam.h"
#include "tests/unit/runs/xperiment/runFixture.h"

namespace {

using test::kDone;
using test::kNotStarted;
using test::RunFixture;
using test::StepTraits;

using Names = HSTVector<std::string>;

const HAXPFileType& netlistType() {
    static const HAXPFileType s_type("8d7a3f52-61c0-4f6e-9d6b-2f6f6f1f3c11", "netlist");
    return s_type;
}

/// A step "place" that is done, with a message file "place.log", a report that was found
/// as "place_io.rpt", and files that it generates: those of one universal type and of
/// FILE_PLACE_UTIL. Behind it stands the step "route", done too.
class StepResetTest : public RunFixture {
protected:
    StepResetTest() : RunFixture({place(), StepTraits::of("route")}) {
        launch();
        markDone("place");
        markDone("route");
        m_dir.mark("place.log");
        m_run->info().setFile(HAXPTypes::FILE_PLACE_IO, "place_io.rpt");
        m_dir.mark("place_io.rpt");
        m_run->updateStatus();
        step("place")->updateReports(m_dir.path());
        step("place")->updateStaleReasonsForSwParamChange();
        m_generated.addFileType(netlistType());
        m_generated.addFileType(HAXPTypes::FILE_PLACE_UTIL);
        m_flow->getFlowStepForFSId("place")->setGenFilter(&m_generated);
    }

    static StepTraits place() {
        StepTraits traits = StepTraits::of("place");
        traits.msgFileName = "place.log";
        traits.reports = {HAXPTypes::FILE_PLACE_IO};
        return traits;
    }

    /// The universal files that the step generates.
    void generates(const Names& names) { m_run->info().setFilesUniversal(netlistType(), names); }
    bool reset(bool cleanFiles = true) {
        return step("place")->resetStep(m_dir.path(), cleanFiles);
    }
    bool isReset() const { return step("place")->getStatus()->getCode() == kNotStarted; }
    void expectGone(const Names& names) const {
        for (const std::string& name : names)
            EXPECT_FALSE(m_dir.has(name)) << name;
    }
    void expectKept(const Names& names) const {
        for (const std::string& name : names)
            EXPECT_TRUE(m_dir.has(name)) << name;
    }
    void mark(const Names& names) const {
        for (const std::string& name : names)
            m_dir.mark(name);
    }
    void link(const std::string& target, const std::string& name) const {
        ASSERT_EQ(::symlink(target.c_str(), m_dir.path(name).c_str()), 0);
    }

    HAXPFileSpec m_generated{"generated"};
};

// Markers, status and reasons ------------------------------------------------

TEST_F(StepResetTest, RemovesTheStatusMarkersOfItsStep) {
    m_dir.mark(".place.error.rst");
    EXPECT_TRUE(reset(false));
    expectGone({".place.begin.rst", ".place.end.rst", ".place.error.rst"});
    expectKept({".route.begin.rst", ".route.end.rst"});
}

TEST_F(StepResetTest, ForgetsStatusAndProcess) {
    ASSERT_EQ(step("place")->getStatus()->getCode(), kDone);
    step("place")->getProcInfo()->setPid(7);
    EXPECT_TRUE(reset(false));
    EXPECT_TRUE(isReset());
    EXPECT_EQ(step("place")->getProcInfo()->getPid(), 0);
}

TEST_F(StepResetTest, ForgetsItsStaleReasons) {
    ASSERT_TRUE(step("place")->isStale());
    EXPECT_TRUE(reset(false));
    EXPECT_FALSE(step("place")->isStale());
}

TEST_F(StepResetTest, KeepsFilesUnlessToldToClean) {
    generates({"net.v"});
    mark({"net.v"});
    EXPECT_TRUE(reset(false));
    expectKept({"net.v", "place.log", "place_io.rpt"});
}

TEST_F(StepResetTest, KeepsReasonsAndFilesWhenAMarkerStays) {
    generates({"net.v"});
    mark({"net.v"});
    test::FaultyDisk disk;
    disk.failOnce(1, EACCES);
    EXPECT_FALSE(reset());
    EXPECT_TRUE(disk.hasFailed());
    EXPECT_EQ(disk.calls(), 1);
    EXPECT_TRUE(isReset());
    EXPECT_TRUE(step("place")->isStale());
    expectKept({".place.begin.rst", "net.v", "place.log", "place_io.rpt"});
}

TEST_F(StepResetTest, SucceedsThoughFilesStay) {
    generates({"net.v"});
    mark({"net.v"});
    test::FaultyDisk disk;
    disk.failFrom(3, EACCES);
    EXPECT_TRUE(reset());
    EXPECT_TRUE(disk.hasFailed());
    EXPECT_FALSE(step("place")->isStale());
    expectKept({"net.v", "place.log", "place_io.rpt"});
}

TEST_F(StepResetTest, TouchesNothingWithoutADirectory) {
    generates({"net.v"});
    mark({"net.v"});
    const test::FaultyDisk disk;
    step("place")->resetReports();
    EXPECT_TRUE(step("place")->resetStep("", true));
    EXPECT_EQ(disk.calls(), 0);
    EXPECT_TRUE(isReset());
    EXPECT_FALSE(step("place")->isStale());
}

// Reports and messages -------------------------------------------------------

TEST_F(StepResetTest, RemovesTheReportsThatWereFound) {
    EXPECT_TRUE(reset());
    expectGone({"place_io.rpt"});
}

TEST_F(StepResetTest, PassesOverAReportThatWasntFound) {
    step("place")->resetReports();
    EXPECT_TRUE(reset());
    expectKept({"place_io.rpt"});
}

TEST_F(StepResetTest, RemovesTheReportLogInPlaceOfFileChecks) {
    mark({"place_reports.log", "route_reports.log"});
    EXPECT_TRUE(reset());
    expectKept({"place_reports.log"});
    const test::TestParam configurations("project.enableReportConfiguration", true);
    mark({"place_io.rpt"});
    step("place")->updateReports(m_dir.path());
    EXPECT_TRUE(reset());
    expectGone({"place_reports.log"});
    expectKept({"place_io.rpt", "route_reports.log"});
}

TEST_F(StepResetTest, RemovesTheMessageFile) {
    EXPECT_TRUE(reset());
    expectGone({"place.log"});
    EXPECT_TRUE(step("route")->resetStep(m_dir.path(), true)) << "it has no message file";
}

TEST_F(StepResetTest, LosesReportsAndMessagesAloneWhenItGeneratesNothing) {
    m_flow->getFlowStepForFSId("place")->setGenFilter(nullptr);
    generates({"net.v"});
    m_run->info().setFile(HAXPTypes::FILE_PLACE_UTIL, "util.rpt");
    mark({"net.v", "util.rpt"});
    EXPECT_TRUE(reset());
    expectGone({"place_io.rpt", "place.log"});
    expectKept({"net.v", "util.rpt"});
}

// Generated files ------------------------------------------------------------

TEST_F(StepResetTest, RemovesEveryGeneratedFile) {
    m_dir.folder("sub");
    generates({"net.v", "missing.v", "sub/net.v", "missing/net.v"});
    mark({"net.v", "sub/net.v", "other.v", "sub/other.v"});
    EXPECT_TRUE(reset());
    expectGone({"net.v", "sub/net.v"});
    expectKept({"other.v", "sub/other.v"});
}

TEST_F(StepResetTest, EmptiesAGeneratedFolder) {
    m_dir.folder("out/deep");
    m_dir.folder("sub/out");
    generates({"out", "sub/out"});
    mark({"out/a", "out/.hidden", "out/deep/b", "sub/out/c", "sub/d"});
    EXPECT_TRUE(reset());
    for (const char* name : {"out", "sub/out"}) {
        EXPECT_TRUE(boost::filesystem::is_directory(m_dir.path(name))) << name;
        EXPECT_TRUE(boost::filesystem::is_empty(m_dir.path(name))) << name;
    }
    expectKept({"sub/d"});
}

TEST_F(StepResetTest, RemovesFilesOfItsTypesByTheRunsTable) {
    m_run->info().setFiles(HAXPTypes::FILE_PLACE_UTIL, {"util.rpt", "sub/util.rpt", "missing"});
    m_run->info().setFile(HAXPTypes::FILE_PLACE_CLK, "clk.rpt");
    m_dir.folder("sub");
    mark({"util.rpt", "sub/util.rpt", "clk.rpt"});
    EXPECT_TRUE(reset());
    expectGone({"util.rpt", "sub/util.rpt"});
    expectKept({"clk.rpt"});
}

TEST_F(StepResetTest, RemovesFilesOfItsTypesByItsOwnTable) {
    m_run->info().setFile(HAXPTypes::FILE_PLACE_UTIL, "runs.rpt");
    step("place")->setFiles(HAXPTypes::FILE_PLACE_UTIL, {"own.rpt", "other.rpt"});
    step("place")->setFile(HAXPTypes::FILE_PLACE_CLK, "clk.rpt");
    mark({"runs.rpt", "own.rpt", "other.rpt", "clk.rpt"});
    EXPECT_TRUE(reset());
    expectGone({"runs.rpt", "own.rpt", "other.rpt"});
    expectKept({"clk.rpt"});
}

TEST_F(StepResetTest, LeavesFoldersThatATypedNameMeans) {
    m_run->info().setFiles(HAXPTypes::FILE_PLACE_UTIL, {"out", "sub/out"});
    step("place")->setFile(HAXPTypes::FILE_PLACE_UTIL, "own");
    for (const char* name : {"out", "sub/out", "own"})
        m_dir.folder(name);
    mark({"out/a", "sub/out/a", "own/a"});
    EXPECT_TRUE(reset());
    expectKept({"out/a", "sub/out/a", "own/a"});
}

TEST_F(StepResetTest, TakesATypedNameForNoPattern) {
    m_run->info().setFile(HAXPTypes::FILE_PLACE_UTIL, ".*");
    mark({"a", ".*"});
    EXPECT_TRUE(reset());
    expectGone({".*"});
    expectKept({"a"});
}

TEST_F(StepResetTest, NeedsNoInformationObject) {
    HAXPExpRunStep alone(flowStep("place"), step("place")->getOptions(), nullptr, nullptr);
    alone.setFile(HAXPTypes::FILE_PLACE_UTIL, "own.rpt");
    mark({"own.rpt"});
    EXPECT_TRUE(alone.resetStep(m_dir.path(), true));
    expectGone({"own.rpt", "place.log"});
}

// Patterns -------------------------------------------------------------------

/// A generated name, what lies in the directory, and what stays of it.
struct PatternRow {
    const char* name;
    const char* generated;
    Names before;
    Names after;
};

std::ostream& operator<<(std::ostream& os, const PatternRow& row) {
    return os << row.name;
}

class PatternResetTest : public StepResetTest, public ::testing::WithParamInterface<PatternRow> {};

TEST_P(PatternResetTest, RemovesWhatMatches) {
    m_dir.folder("sub/deep");
    generates({GetParam().generated});
    mark(GetParam().before);
    EXPECT_TRUE(reset());
    for (const std::string& name : GetParam().before) {
        const Names& after = GetParam().after;
        EXPECT_EQ(m_dir.has(name), std::find(after.begin(), after.end(), name) != after.end())
            << name;
    }
}

INSTANTIATE_TEST_SUITE_P(
    Each, PatternResetTest,
    ::testing::Values(
        PatternRow{"WholeName", "a.*b", {"ab", "axxb", "xab", "abx"}, {"xab", "abx"}},
        PatternRow{"RegularExpression", "ab*", {"a", "abbb", "abx", "ab*"}, {"abx", "ab*"}},
        PatternRow{"AnyCharacterForADot", "n*.v", {"netxv", "nnxv", "n.v"}, {"netxv"}},
        PatternRow{"Alternatives", "(a|b)*\\.rpt", {"a.rpt", "ba.rpt", "c.rpt"}, {"c.rpt"}},
        PatternRow{"Case", "A.*", {"a1", "A1"}, {"a1"}},
        PatternRow{"HiddenEntries", "\\..*x", {".ax", "ax"}, {"ax"}},
        PatternRow{"FolderWithItsContent", "s.*", {"sub/a", "sub/deep/b", "a"}, {"a"}},
        PatternRow{
            "OneFolderOnly", "sub/x.*", {"xa", "sub/xa", "sub/deep/xa"}, {"xa", "sub/deep/xa"}},
        PatternRow{"DeepFolder", "sub/deep/x*", {"sub/xx", "sub/deep/xx"}, {"sub/xx"}},
        PatternRow{"NothingThatMatches", "zz.*", {"a", "sub/zz"}, {"a", "sub/zz"}}),
    [](const auto& row) { return std::string(row.param.name); });

/// Generated names that stop a reset.
class BadPatternTest : public StepResetTest, public ::testing::WithParamInterface<const char*> {
protected:
    /// Markers and status come first, reasons and message file behind the patterns.
    void expectStoppedHalfWay() const {
        EXPECT_TRUE(isReset());
        expectGone({".place.begin.rst", ".place.end.rst", "place_io.rpt"});
        expectKept({"net.v", "place.log"});
        EXPECT_TRUE(step("place")->isStale());
    }
};

TEST_P(BadPatternTest, Throws) {
    mark({"net.v"});
    generates({GetParam(), "net.v"});
    EXPECT_THROW(reset(), std::regex_error);
    expectStoppedHalfWay();
}

INSTANTIATE_TEST_SUITE_P(Each, BadPatternTest,
                         ::testing::Values("*.rpt", "(*", "[*", "a**b{", "(a)*\\1"));

TEST_F(BadPatternTest, ThrowsWhenItIsTooLong) {
    mark({"net.v"});
    generates({std::string(1024, 'a') + "*", "net.v"});
    EXPECT_THROW(reset(), std::regex_error);
    expectStoppedHalfWay();
    generates({std::string(1023, 'a') + "*"});
    EXPECT_TRUE(reset());
}

TEST_F(BadPatternTest, ThrowsWhenItsFolderIsMissing) {
    mark({"net.v"});
    generates({"missing/.*", "net.v"});
    EXPECT_THROW(reset(), boost::filesystem::filesystem_error);
    expectStoppedHalfWay();
}

TEST_F(BadPatternTest, MayTakeEveryPathThroughALongName) {
    m_dir.mark(std::string(250, 'a'));
    generates({"((a*)*)*b"});
    EXPECT_TRUE(reset());
    EXPECT_TRUE(m_dir.has(std::string(250, 'a')));
}

// What lies outside ----------------------------------------------------------

/// Names that lead out of the run directory "run" to a file "precious" beside it.
class StepResetBoundsTest : public StepResetTest {
protected:
    void SetUp() override {
        m_dir.folder("run/sub");
        m_dir.folder("beside/out");
        mark({"precious", "beside/precious", "beside/out/precious"});
        link("../beside", "run/link");
        link("../precious", "run/file_link");
    }
    bool resetRunFolder() { return step("place")->resetStep(m_dir.path("run"), true); }
    void expectNothingLost() const {
        expectKept({"precious", "beside/precious", "beside/out/precious"});
    }
};

TEST_F(StepResetBoundsTest, FollowsNoNameThatGoesUp) {
    const Names names = {"../precious", "sub/../../precious", "..", "../beside", "../p.*", "."};
    generates(names);
    m_run->info().setFiles(HAXPTypes::FILE_PLACE_UTIL, names);
    EXPECT_TRUE(resetRunFolder());
    expectNothingLost();
    expectKept({"run/sub"});
}

TEST_F(StepResetBoundsTest, FollowsNoLinkInAName) {
    const Names names = {"link/precious", "link/out", "link/p.*", "link/out/.*", "file_link/x"};
    generates(names);
    m_run->info().setFiles(HAXPTypes::FILE_PLACE_UTIL, names);
    EXPECT_TRUE(resetRunFolder());
    expectNothingLost();
}

TEST_F(StepResetBoundsTest, RemovesALinkAndNotWhatItLeadsTo) {
    link("nowhere", "run/dangling");
    generates({"file_link"});
    m_run->info().setFiles(HAXPTypes::FILE_PLACE_UTIL, {"link", "dangling"});
    EXPECT_TRUE(resetRunFolder());
    for (const char* name : {"run/file_link", "run/link", "run/dangling"})
        EXPECT_EQ(boost::filesystem::symlink_status(m_dir.path(name)).type(),
                  boost::filesystem::file_not_found)
            << name;
    expectNothingLost();
}

TEST_F(StepResetBoundsTest, PutsAnEmptyFolderInThePlaceOfALinkToOne) {
    generates({"link"});
    EXPECT_TRUE(resetRunFolder());
    EXPECT_EQ(boost::filesystem::symlink_status(m_dir.path("run/link")).type(),
              boost::filesystem::directory_file);
    EXPECT_TRUE(boost::filesystem::is_empty(m_dir.path("run/link")));
    expectNothingLost();
}

TEST_F(StepResetBoundsTest, RemovesLinksThatMatchAndNotWhatTheyLeadTo) {
    generates({".*link"});
    EXPECT_TRUE(resetRunFolder());
    expectGone({"run/link", "run/file_link"});
    expectNothingLost();
}

TEST_F(StepResetBoundsTest, TakesAnEmptyNameForNothing) {
    generates({"", "/"});
    m_run->info().setFile(HAXPTypes::FILE_PLACE_UTIL, "");
    step("place")->setFile(HAXPTypes::FILE_PLACE_UTIL, "");
    EXPECT_TRUE(resetRunFolder());
    expectKept({"run/sub", "run/link/precious"});
}

}  // namespace
