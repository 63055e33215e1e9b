// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
//
// The scripts that make the reports of a step: which steps have them, their bytes, and
// what they do when a shell executes them.

#include <algorithm>
#include <filesystem>
#include <memory>
#include <ostream>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "environment/errors/HEXAlgException.h"
#include "runs/base/xperiment/HAXPExpInfoBase.h"
#include "runs/base/xperiment/HAXPExpRunStep.h"
#include "runs/base/xperiment/HAXPScriptWriter.h"
#include "runs/base/xperiment/HAXPTypes.h"
#include "runs/base/xpreport/HAXRReportConfig.h"
#include "runs/base/xpreport/HAXRReportSpec.h"
#include "tests/support/thrownText.h"
#include "tests/unit/runs/xperiment/ScriptFixture.h"

namespace fs = std::filesystem;

using test::kDone;
using test::thrownText;
using ::testing::ElementsAre;
using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::Not;

namespace {

const std::string kMessage = "runs ERROR 36-383";

/// The kinds of checkpoints, by the steps that leave them.
HAXPTypes::FileType checkpointOf(const std::string& step) {
    if (step == "synth_design")
        return HAXPTypes::FILE_KDS_DCP;
    if (step == "opt_design")
        return HAXPTypes::FILE_OPT_DCP;
    return step == "place_design" ? HAXPTypes::FILE_PLACE_DCP : HAXPTypes::FILE_ROUTE_DCP;
}

/// Outlives the run, whose reports point to it.
struct ReportCatalogue {
    HAXRReportSpec spec{"report_timing", "Timing of the design", nullptr, "report_timing"};
};

/// A run with "tarnel" in its search path, whose reports come from "r_reports.tcl".
class ReportScript : private ReportCatalogue, public test::ScriptTest {
public:
    using ScriptTest::addProgram;
    using ScriptTest::m_env;
    using ScriptTest::m_installation;
    using ScriptTest::run;

    /// Adds these steps, all of them done and with a checkpoint, and makes the run.
    void addSteps(const std::vector<std::string>& ids, HAXPTypes::FlowType flow) {
        for (const std::string& id : ids)
            addStep(id);
        run().info().setFlowType(flow);
        setTclFile("r_reports.tcl");
        for (const std::string& id : ids) {
            run().setCode(id, kDone);
            run().info().setFile(checkpointOf(id), id + ".dcp");
        }
    }

    void setTclFile(const std::string& file) {
        run().info().setFile(HAXPTypes::FILE_REPORTS_TCL, file);
    }

    void setLoaderArgs(const std::vector<std::string>& words) {
        Installation installation = m_installation.get();
        for (const std::string& word : words)
            installation.loaderArgs.push_back(word);
        m_installation.set(installation);
    }

    /// Gives the step a report that isn't there yet. It is made from the step `madeFrom`,
    /// itself unless another is named.
    HAXRReportConfig& addReport(const std::string& step, const std::string& madeFrom = "") {
        auto config = std::make_unique<HAXRReportConfig>(
            "r_" + step + "_report_timing_" + std::to_string(m_reports++),
            madeFrom.empty() ? step : madeFrom, &spec, &run(), false, "");
        run().step(step)->addReportConfig(config.get());
        return *config.release();
    }

protected:
    void SetUp() override { addRecorder("tarnel"); }

    void write() { HAXPScriptWriter(&run()).writeReportScript(); }

private:
    int m_reports = 0;
};

// --- the three files, byte for byte ----------------------------------------------

/// A run whose steps need reports, and the words that their scripts call "tarnel" with.
struct ReportScriptCase {
    const char* name;
    void (*prepare)(ReportScript& test);
    std::vector<std::string> steps;
    const char* words;
};

std::ostream& operator<<(std::ostream& os, const ReportScriptCase& row) {
    return os << row.name;
}

const ReportScriptCase kReportScriptCases[] = {
    {"reports_synth",
     [](ReportScript& t) {
         t.m_env.unset("KPX_BINROOT");
         t.addSteps({"synth_design"}, HAXPTypes::FLOW_SYNTH);
         t.addReport("synth_design");
     },
     {"synth_design"},
     "tarnel[-nolog][-nojournal][-notrace][-mode][batch][-product][tarnel][-source]"
     "[r_reports.tcl][-tclargs][synth_design]\n"},
    // A product that has the programs of high-level synthesis before its own elsewhere.
    {"reports_impl",
     [](ReportScript& t) {
         t.m_env.set("KPX_PREPEND_PATH", "/opt/first/bin:/opt/second/bin");
         t.m_env.set("KPX_PREPEND_LD_LIBRARY_PATH", "/opt/first/lib");
         t.m_env.set("ORVANE_HLS", "/opt/hls");
         t.m_env.set("ORVANE_TARNEL_HLS", "/opt/tarnel_hls");
         t.m_installation.setProductName("zBuild");
         t.setLoaderArgs({"-first", "--second=2"});
         t.addProgram("cscript.exe");
         t.addSteps({"init_design", "opt_design", "place_design", "route_design"},
                    HAXPTypes::FLOW_ENTIRE_DESIGN);
         t.setTclFile("reports/all.tcl");
         t.addReport("opt_design");
         t.addReport("route_design");
         t.addReport("route_design");
     },
     {"opt_design", "route_design"},
     "tarnel[-first][--second=2][-nolog][-nojournal][-notrace][-mode][batch][-product][zBuild]"
     "[-source][reports/all.tcl][-tclargs][opt_design]\n"
     "tarnel[-first][--second=2][-nolog][-nojournal][-notrace][-mode][batch][-product][zBuild]"
     "[-source][reports/all.tcl][-tclargs][route_design]\n"},
    // Nothing is escaped, in neither script.
    {"reports_windows",
     [](ReportScript& t) {
         t.addSteps({"place_design"}, HAXPTypes::FLOW_SYNTH);
         t.setTclFile("C:\\runs\\new \"all\".tcl");
         t.addReport("place_design");
     },
     {"place_design"},
     "tarnel[-nolog][-nojournal][-notrace][-mode][batch][-product][tarnel][-source]"
     "[C:runsnew][all.tcl][-tclargs][place_design]\n"},
};

class ReportScriptGoldenTest : public ReportScript,
                               public ::testing::WithParamInterface<ReportScriptCase> {
protected:
    void SetUp() override {
        ReportScript::SetUp();
        GetParam().prepare(*this);
    }
};

TEST_P(ReportScriptGoldenTest, IsWrittenByteForByte) {
    write();
    std::vector<std::string> expected;
    for (const std::string& step : GetParam().steps) {
        for (const char* ending : {"_reports.bat", "_reports.js", "_reports.sh"}) {
            EXPECT_EQ(read(step + ending), golden(GetParam().name, step + ending)) << step;
            expected.push_back(step + ending);
        }
    }
    EXPECT_EQ(files(), expected);
}

TEST_P(ReportScriptGoldenTest, CallsTheTool) {
    m_installation.addFile("scripts/ZUMWrapReports.sh", wrapper("ZUMWrapReports.sh"));
    write();
    for (const std::string& step : GetParam().steps)
        EXPECT_EQ(execute(step + "_reports.sh", {"/bin/sh"}), 0);
    EXPECT_EQ(words(), GetParam().words);
}

INSTANTIATE_TEST_SUITE_P(Runs, ReportScriptGoldenTest, ::testing::ValuesIn(kReportScriptCases),
                         [](const auto& row) { return std::string(row.param.name); });

// --- which steps have scripts ------------------------------------------------------

class ReportScriptTest : public ReportScript {
protected:
    /// A run of an implementation flow as it is made.
    void implement() {
        addSteps({"init_design", "opt_design", "place_design", "route_design", "write_bitstream"},
                 HAXPTypes::FLOW_ENTIRE_DESIGN);
    }
    /// The steps that have scripts after writing.
    std::vector<std::string> written() {
        write();
        std::vector<std::string> steps;
        const std::string ending = "_reports.sh";
        for (const std::string& file : files()) {
            const std::size_t at = file.find(ending);
            if (at != std::string::npos && at + ending.size() == file.size())
                steps.push_back(file.substr(0, at));
        }
        return steps;
    }
};

TEST_F(ReportScriptTest, IsWrittenForStepsThatNeedReportsAlone) {
    implement();
    addReport("opt_design");
    addReport("route_design");
    addReport("place_design").setEnabled(false, false);
    EXPECT_THAT(written(), ElementsAre("opt_design", "route_design"));
}

TEST_F(ReportScriptTest, IsNotWrittenWithoutReports) {
    implement();
    write();
    EXPECT_THAT(files(), ElementsAre());
}

TEST_F(ReportScriptTest, PassesOverTheFirstStepOfAnImplementation) {
    addSteps({"opt_design", "place_design"}, HAXPTypes::FLOW_ENTIRE_DESIGN);
    addReport("opt_design");
    write();
    EXPECT_THAT(files(), ElementsAre());
}

TEST_F(ReportScriptTest, PassesOverTheFirstStepOfAnImplementationUnseen) {
    addSteps({"first_design", "place_design"}, HAXPTypes::FLOW_ENTIRE_DESIGN);
    addReport("first_design");
    addReport("place_design");
    EXPECT_THAT(written(), ElementsAre("place_design"));
}

TEST_F(ReportScriptTest, CanDoWithAnImplementationWithoutSteps) {
    addSteps({}, HAXPTypes::FLOW_ENTIRE_DESIGN);
    EXPECT_THAT(written(), ElementsAre());
}

TEST_F(ReportScriptTest, IsWrittenForTheFirstStepOfAnyOtherFlow) {
    addSteps({"synth_design"}, HAXPTypes::FLOW_SYNTH);
    addReport("synth_design");
    write();
    EXPECT_THAT(files(), ElementsAre("synth_design_reports.bat", "synth_design_reports.js",
                                     "synth_design_reports.sh"));
    EXPECT_THAT(read("synth_design_reports.sh"), HasSubstr("\nMQ_LOG=synth_design_reports.log\n"));
}

TEST_F(ReportScriptTest, PassesOverTheBitstreamAndGoesOn) {
    addSteps({"init_design", "write_bitstream", "route_design"}, HAXPTypes::FLOW_ENTIRE_DESIGN);
    addReport("write_bitstream", "route_design");
    addReport("route_design");
    ASSERT_TRUE(run().step("write_bitstream")->isReportGenerationNeeded());
    EXPECT_THAT(written(), ElementsAre("route_design"));
}

TEST_F(ReportScriptTest, PassesOverADisabledStepAndGoesOn) {
    addSteps({"init_design", "odd_design", "place_design", "route_design"},
             HAXPTypes::FLOW_ENTIRE_DESIGN);
    for (const char* step : {"odd_design", "place_design", "route_design"})
        addReport(step);
    run().setEnabled("odd_design", false);
    run().setEnabled("place_design", false);
    EXPECT_THAT(written(), ElementsAre("route_design"));
}

TEST_F(ReportScriptTest, GoesOnBehindAnUnknownStepThatNeedsNoReports) {
    addSteps({"init_design", "odd_design", "route_design"}, HAXPTypes::FLOW_ENTIRE_DESIGN);
    addReport("route_design");
    EXPECT_THAT(written(), ElementsAre("route_design"));
}

TEST_F(ReportScriptTest, EndsAtAStepWithoutACheckpoint) {
    addSteps({"init_design", "opt_design", "odd_design", "route_design"},
             HAXPTypes::FLOW_ENTIRE_DESIGN);
    for (const char* step : {"opt_design", "odd_design", "route_design"})
        addReport(step);
    mark("route_design_reports.sh", "old");
    EXPECT_THAT(written(), ElementsAre("opt_design", "route_design"));
    EXPECT_EQ(read("route_design_reports.sh"), "old");
    EXPECT_THAT(takeMessages(), ElementsAre(kMessage + "(odd_design)"));
}

TEST_F(ReportScriptTest, EndsAtAKnownStepWhoseCheckpointHasNoName) {
    implement();
    addReport("opt_design");
    addReport("place_design");
    run().info().setFile(HAXPTypes::FILE_OPT_DCP, "");
    EXPECT_THAT(written(), ElementsAre());
    EXPECT_THAT(takeMessages(), ElementsAre(kMessage + "(opt_design)"));
}

TEST_F(ReportScriptTest, EndsAtTheFirstStepOfARunWithoutInformation) {
    addSteps({"synth_design"}, HAXPTypes::FLOW_SYNTH);
    addReport("synth_design");
    run().setExpInfoBase(nullptr);
    EXPECT_THAT(written(), ElementsAre());
    EXPECT_THAT(takeMessages(), ElementsAre(kMessage + "(synth_design)"));
}

// --- the files ---------------------------------------------------------------------

/// One step, "synth_design", that needs a report.
class SynthReportScriptTest : public ReportScriptTest {
protected:
    void SetUp() override {
        ReportScriptTest::SetUp();
        addSteps({"synth_design"}, HAXPTypes::FLOW_SYNTH);
        addReport("synth_design");
    }

    void addWrappers(const std::string& content) const {
        m_installation.addFile("scripts/ZUMWrapReports.sh", content);
        m_installation.addFile("scripts/ZUMWrapReports.js", content);
    }

    const std::vector<std::string> kFiles = {"synth_design_reports.sh", "synth_design_reports.js",
                                             "synth_design_reports.bat"};
};

TEST_F(SynthReportScriptTest, HasNoCheckpointInAnyFile) {
    write();
    for (const std::string& file : kFiles)
        EXPECT_THAT(read(file), Not(HasSubstr(".dcp"))) << file;
}

TEST_F(SynthReportScriptTest, EndsWithoutALineFeedInTheShellFormAlone) {
    write();
    EXPECT_THAT(read(kFiles[0]), EndsWith(" -tclargs synth_design"));
    EXPECT_THAT(read(kFiles[1]), EndsWith("\n}\n"));
    EXPECT_THAT(read(kFiles[2]), EndsWith("\\synth_design_reports.js\" %*\n"));
}

TEST_F(SynthReportScriptTest, HasLoaderArgumentsInTheirOrderBehindABlankEach) {
    setLoaderArgs({"-b", "-a x", "-b"});
    write();
    EXPECT_THAT(read(kFiles[0]), HasSubstr("\nEAStep tarnel -b -a x -b -nolog -nojournal"));
    EXPECT_THAT(read(kFiles[1]), HasSubstr("\n         \" -b -a x -b -nolog -nojournal"));
}

TEST_F(SynthReportScriptTest, HasTheLineAlsoWithoutATclFile) {
    setTclFile("");
    write();
    EXPECT_THAT(read(kFiles[0]), EndsWith(" -product tarnel -source  -tclargs synth_design"));
}

TEST_F(SynthReportScriptTest, KeepsPlaceholdersInValues) {
    setTclFile("@{step}.tcl");
    write();
    EXPECT_THAT(read(kFiles[0]), EndsWith(" -source @{step}.tcl -tclargs synth_design"));
}

TEST_F(SynthReportScriptTest, CopiesBothWrappersAnewEachTime) {
    addWrappers("one");
    write();
    addWrappers("two");
    mark("ZUMWrapReports.js", "spoilt");
    write();
    EXPECT_EQ(read("ZUMWrapReports.sh"), "two");
    EXPECT_EQ(read("ZUMWrapReports.js"), "two");
    EXPECT_TRUE(isExecutable("ZUMWrapReports.sh"));
    EXPECT_FALSE(isExecutable("ZUMWrapReports.js"));
}

TEST_F(SynthReportScriptTest, LeavesTheScriptsOfTheRunAlone) {
    m_installation.addFile("scripts/ZUMWrap.sh", "new");
    for (const char* file : {"ZUMWrap.sh", "runme.sh", "htr.txt", ".stop.rst"})
        mark(file, "kept");
    write();
    for (const char* file : {"ZUMWrap.sh", "runme.sh", "htr.txt", ".stop.rst"})
        EXPECT_EQ(read(file), "kept") << file;
}

TEST_F(SynthReportScriptTest, IsNotWrittenWithTheScriptsOfTheRun) {
    addWrappers("wrapper");
    HAXPScriptWriter(&run()).writeScript();
    EXPECT_THAT(files(), ElementsAre("htr.txt", "rundef.js", "runme.bat", "runme.sh"));
}

TEST_F(SynthReportScriptTest, CopiesTheWrappersWithoutAnyStep) {
    run().setCode("synth_design", 0);
    addWrappers("wrapper");
    write();
    EXPECT_THAT(files(), ElementsAre("ZUMWrapReports.js", "ZUMWrapReports.sh"));
}

TEST_F(SynthReportScriptTest, MakesTheShellFormAloneExecutable) {
    write();
    EXPECT_TRUE(isExecutable(kFiles[0]));
    EXPECT_FALSE(isExecutable(kFiles[1]));
    EXPECT_FALSE(isExecutable(kFiles[2]));
}

TEST_F(SynthReportScriptTest, LeavesNothingOfAnEarlierScript) {
    write();
    std::vector<std::string> fresh;
    for (const std::string& file : kFiles) {
        fresh.push_back(read(file));
        mark(file, std::string(9000, 'x'));
    }
    write();
    for (std::size_t i = 0; i < kFiles.size(); ++i)
        EXPECT_EQ(read(kFiles[i]), fresh[i]) << kFiles[i];
}

TEST_F(SynthReportScriptTest, MakesTheBatchFileANewOne) {
    write();
    fs::create_hard_link(pathOf(kFiles[2]), pathOf("kept.bat"));
    setTclFile("other.tcl");
    fs::permissions(pathOf(kFiles[2]), fs::perms(0755));
    write();
    EXPECT_FALSE(isExecutable(kFiles[2]));
    EXPECT_TRUE(isExecutable("kept.bat"));
}

TEST_F(SynthReportScriptTest, FollowsNoLink) {
    mark("precious", "precious");
    for (const std::string& file : kFiles)
        fs::create_symlink("precious", pathOf(file));
    write();
    EXPECT_EQ(read("precious"), "precious");
}

TEST_F(SynthReportScriptTest, PassesOverAFileThatCantBeOpened) {
    for (const std::string& blocked : kFiles) {
        m_folder.folder("a run & more/" + blocked + "/full");
        write();
        for (const std::string& file : kFiles) {
            EXPECT_EQ(fs::is_regular_file(pathOf(file)), file != blocked) << file;
            fs::remove_all(pathOf(file));
        }
    }
}

TEST_F(SynthReportScriptTest, MissesTheToolInOneWarningAndGoesOn) {
    addReport("synth_design");
    fs::remove(programs() + "/tarnel");
    write();
    EXPECT_THAT(takeMessages(), ElementsAre("runs CRITICAL WARNING 36-16(tarnel)"));
    EXPECT_THAT(read(kFiles[0]), EndsWith(" -tclargs synth_design"));
}

TEST_F(SynthReportScriptTest, MissesTheToolBeforeACheckpoint) {
    fs::remove(programs() + "/tarnel");
    run().info().setFile(HAXPTypes::FILE_KDS_DCP, "");
    write();
    EXPECT_THAT(takeMessages(), ElementsAre("runs CRITICAL WARNING 36-16(tarnel)",
                                            "runs ERROR 36-383(synth_design)"));
}

TEST_F(SynthReportScriptTest, RefusesARunWithoutADirectory) {
    run().setRunDir("", false);
    EXPECT_EQ(thrownText<HEXAlgException>([this] { write(); }),
              "run scripts need a run with a directory");
}

// --- executed ----------------------------------------------------------------------

/// A shell that executes the script.
struct Shell {
    const char* name;
    std::vector<std::string> words;
};

std::ostream& operator<<(std::ostream& os, const Shell& row) {
    return os << row.name;
}

class ReportScriptExecutionTest : public SynthReportScriptTest,
                                  public ::testing::WithParamInterface<Shell> {
protected:
    void SetUp() override {
        if (!fs::exists(GetParam().words.front()))
            GTEST_SKIP() << GetParam().words.front() << " is missing";
        SynthReportScriptTest::SetUp();
        addWrappers(wrapper("ZUMWrapReports.sh"));
    }

    int execute() const { return ScriptTest::execute(kFiles[0], GetParam().words); }

    std::string log() const { return read("synth_design_reports.log"); }
};

TEST_P(ReportScriptExecutionTest, CallsTheToolInTheRunDirectory) {
    addProgram("tarnel", "#!/bin/sh\npwd -P > here\n");
    write();
    EXPECT_EQ(execute(), 0);
    EXPECT_EQ(read("here"), fs::canonical(runDir()).string() + "\n");
}

TEST_P(ReportScriptExecutionTest, CallsTheToolOnceWithTheStepLast) {
    write();
    EXPECT_EQ(execute(), 0);
    EXPECT_THAT(words(), ::testing::StartsWith("tarnel[-nolog]"));
    EXPECT_THAT(words(), EndsWith("[-source][r_reports.tcl][-tclargs][synth_design]\n"));
    EXPECT_EQ(words().find('\n'), words().size() - 1);
}

TEST_P(ReportScriptExecutionTest, PassesABlankInTheTclFileAsTwoWords) {
    setTclFile("all reports.tcl");
    write();
    execute();
    EXPECT_THAT(words(), EndsWith("[-source][all][reports.tcl][-tclargs][synth_design]\n"));
}

TEST_P(ReportScriptExecutionTest, LeavesALogAndNoMarker) {
    for (const char* marker : {".synth_design.end.rst", ".tarnel.end.rst"})
        mark(marker, "kept");
    write();
    const std::vector<std::string> before = files();
    execute();
    std::vector<std::string> after = files();
    after.erase(std::remove(after.begin(), after.end(), "synth_design_reports.log"), after.end());
    EXPECT_EQ(after, before);
    EXPECT_EQ(log(), "");
    EXPECT_EQ(read(".tarnel.end.rst"), "kept");
}

TEST_P(ReportScriptExecutionTest, AddsToTheLogOfAnEarlierTime) {
    addProgram("tarnel", "#!/bin/sh\necho out\necho error >&2\n");
    write();
    execute();
    execute();
    EXPECT_EQ(log(), "out\nerror\nout\nerror\n");
}

/// The frame ends by a plain "exit" behind a test that held: the log tells of a failure.
TEST_P(ReportScriptExecutionTest, EndsWithZeroAndTellsAFailureInTheLog) {
    addProgram("tarnel", "#!/bin/sh\nexit 3\n");
    write();
    EXPECT_EQ(execute(), 0);
    EXPECT_EQ(log(), "ZUMWrapReports.sh: 'tarnel' ended with status 3\n");
}

TEST_P(ReportScriptExecutionTest, TellsAMissingToolInTheLog) {
    write();
    fs::remove(programs() + "/tarnel");
    EXPECT_EQ(execute(), 0);
    EXPECT_THAT(log(), EndsWith("ZUMWrapReports.sh: 'tarnel' ended with status 127: the program, "
                                "or one that it needs, was not found; check PATH\n"));
}

TEST_P(ReportScriptExecutionTest, MakesTheReportsWhileAStopOfTheRunStands) {
    mark(".stop.rst");
    write();
    execute();
    EXPECT_THAT(words(), HasSubstr("[-tclargs][synth_design]"));
    EXPECT_TRUE(has(".stop.rst"));
}

INSTANTIATE_TEST_SUITE_P(Under, ReportScriptExecutionTest,
                         ::testing::Values(Shell{"Dash", {"/bin/dash"}},
                                           Shell{"Busybox", {"/bin/busybox", "sh"}},
                                           Shell{"Bash", {"/bin/bash"}}),
                         [](const auto& row) { return std::string(row.param.name); });

}  // namespace
