// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
//
// The scripts of a run, byte for byte and as a shell executes them.

#include "runs/base/xperiment/HAXPScriptWriter.h"

#include <filesystem>
#include <ostream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "environment/options/HATOptGroup.h"
#include "runs/base/xperiment/HAXPExpRunStep.h"
#include "tests/unit/runs/xperiment/ScriptFixture.h"

namespace fs = std::filesystem;

using test::kDone;
using test::kFailed;

namespace {

class ScriptGolden : public test::ScriptTest {
public:
    using ScriptTest::addProgram;
    using ScriptTest::addStep;
    using ScriptTest::dataMgr;
    using ScriptTest::m_env;
    using ScriptTest::m_installation;
    using ScriptTest::m_messages;
    using ScriptTest::run;
    using ScriptTest::set;

protected:
    void write() { HAXPScriptWriter(&run()).writeScript(); }

    /// Runs "runme.sh" with the wrapper as it is shipped.
    int execute() const {
        mark("ZUMWrap.sh", wrapper("ZUMWrap.sh"));
        fs::permissions(pathOf("ZUMWrap.sh"), fs::perms(0755));
        return ScriptTest::execute("runme.sh", {"/bin/sh"});
    }
};

/// A run, and the words that its programs are called with.
struct ScriptCase {
    const char* name;
    void (*prepare)(ScriptGolden& test);
    const char* words;
};

std::ostream& operator<<(std::ostream& os, const ScriptCase& row) {
    return os << row.name;
}

constexpr ScriptCase kScriptCases[] = {
    {"nothing_set",
     [](ScriptGolden& t) {
         t.m_env.unset("KPX_BINROOT");
         t.addStep("synth");
     },
     "synth\n"},
    {"all_set",
     [](ScriptGolden& t) {
         t.m_env.set("KPX_PREPEND_PATH", "/opt/first/bin:/opt/second/bin");
         t.m_env.set("KPX_PREPEND_LD_LIBRARY_PATH", "/opt/first/lib");
         t.m_env.set("ORVANE_HLS", "/opt/hls");
         t.m_env.set("ORVANE_TARNEL_HLS", "/opt/tarnel_hls");
         t.addProgram("cscript.exe");
         t.addStep("synth");
         t.set("synth", "flag", "true");
         t.set("synth", "level", "7");
         t.set("synth", "part", "up 5k");
         t.set("synth", "define", "A=1 B=2");
         t.set("synth", "effort", "high");
         t.set("synth", "in", "top.v");
         t.set("synth", "source", "extra.v");
     },
     "synth[-flag][-level][7][-part][up][5k][-D][A=1][-D][B=2][-effort][high][-in][top.v]"
     "[extra.v]\n"},
    {"hls",
     [](ScriptGolden& t) {
         t.m_installation.setProductName("zBuild");
         t.m_env.set("ORVANE_HLS", "/opt/hls");
         t.m_env.set("ORVANE_TARNEL_HLS", "/opt/tarnel_hls");
         t.addStep("synth");
     },
     "synth\n"},
    {"hls_fallback",
     [](ScriptGolden& t) {
         t.m_installation.setProductName("K++");
         t.m_env.unset("KPX_BINROOT");
         t.m_env.set("ORVANE_HLS", "");
         t.m_env.set("ORVANE_TARNEL_HLS", "/opt/tarnel_hls");
         t.addStep("synth");
     },
     "synth\n"},
    {"hooks",
     [](ScriptGolden& t) {
         t.dataMgr().jsPre = "var First = 1;\nvar Second = 2;";
         t.dataMgr().shPre = "MQ_MARK=pre\nexport MQ_MARK";
         t.dataMgr().htrPre = "# set MQ_MARK first";
         t.dataMgr().jsPost = "var Last = First + Second;";
         t.dataMgr().shPost = "echo over >> $MQ_LOG";
         t.addStep("synth");
     },
     "synth\n"},
    {"htr_hook_only",
     [](ScriptGolden& t) {
         t.dataMgr().htrPre = "# needs a licence";
         t.addStep("synth");
     },
     "synth\n"},
    {"blanks",
     [](ScriptGolden& t) {
         t.addStep("first", "tool");
         t.addStep("second", "tool");
         t.addStep("third", "Other9");
         t.set("first", "in", "my source.v");
         t.set("first", "out", "plain.v");
         t.set("first", "source", "/the/other source.v");
         t.set("second", "in", "again here.v");
         t.set("third", "part", "two words");
         t.set("third", "in", " ");
     },
     "tool[-in][my source.v][-out][plain.v][/the/other source.v]\n"
     "tool[-in][again here.v]\n"
     "Other9[-part][two][words][-in][ ]\n"},
    {"quotes",
     [](ScriptGolden& t) {
         test::ScriptStep& tool = t.addStep("tool");
         tool.pre = "-mode \"a\\b\"";
         tool.post = "\"done\"";
         t.set("tool", "part", "\"up 5k\"");
         t.set("tool", "define", "N=\\\"1\\\"");
         t.set("tool", "in", "C:\\my files\\a.v");
         t.set("tool", "out", "C:\\a");
     },
     // The shell takes the one backslash outside quotes away.
     "tool[-mode][a\\b][-part][up 5k][-D][N=\"1\"][-in][C:\\my files\\a.v][-out][C:a][done]\n"},
    {"commented",
     [](ScriptGolden& t) {
         t.addStep("synth");
         t.addStep("place");
         t.addStep("route");
         t.run().setCode("synth", kDone);
         t.run().setCode("place", kFailed);
         t.set("place", "in", "a b.v");
     },
     "route\n"},
    {"no_options",
     [](ScriptGolden& t) {
         t.addStep("tool").setCmdLineOptions(false);
         test::ScriptStep& other = t.addStep("other");
         other.setCmdLineOptions(false);
         other.pre = "-a";
         other.post = "-z";
         t.set("tool", "level", "9");
         t.set("other", "in", "a b.v");
     },
     "tool\nother[-a][-z]\n"},
    {"all_done",
     [](ScriptGolden& t) {
         t.addStep("synth");
         t.addStep("place");
         t.run().setCode("synth", kDone);
         t.run().setCode("place", kDone);
     },
     ""},
    {"to_before_first",
     [](ScriptGolden& t) {
         t.addStep("synth");
         t.addStep("place");
         t.run().setCode("synth", kDone);
         t.run().setToStepId("synth");
     },
     ""},
    {"to_unwritten",
     [](ScriptGolden& t) {
         t.addStep("synth").writeToRunScript(false);
         t.addStep("place");
         t.addStep("route").writeToRunScript(false);
         t.addStep("bits");
         t.run().setToStepId("ROUTE");
     },
     "place\n"},
    {"disabled_step",
     [](ScriptGolden& t) {
         t.addStep("synth");
         t.addStep("place");
         t.addStep("route");
         t.run().setEnabled("place", false);
     },
     "synth\nplace\nroute\n"},
};

class ScriptGoldenTest : public ScriptGolden, public ::testing::WithParamInterface<ScriptCase> {
protected:
    void SetUp() override { GetParam().prepare(*this); }
};

TEST_P(ScriptGoldenTest, IsWrittenByteForByte) {
    write();
    for (const char* file : {"runme.sh", "rundef.js", "runme.bat", "htr.txt"})
        EXPECT_EQ(read(file), golden(GetParam().name, file)) << file;
}

TEST_P(ScriptGoldenTest, CallsThePrograms) {
    for (const fs::directory_entry& entry : fs::directory_iterator(programs()))
        addRecorder(entry.path().filename());
    write();
    EXPECT_EQ(execute(), 0);
    EXPECT_EQ(words(), GetParam().words);
}

INSTANTIATE_TEST_SUITE_P(Runs, ScriptGoldenTest, ::testing::ValuesIn(kScriptCases),
                         [](const auto& row) { return std::string(row.param.name); });

/// Three steps that record their words.
class ScriptExecutionTest : public ScriptGolden {
protected:
    void SetUp() override {
        for (const char* id : {"synth", "place", "route"}) {
            addStep(id);
            addRecorder(id);
        }
    }
};

TEST_F(ScriptExecutionTest, LeavesTheMarkersOfEachStepAndALog) {
    write();
    EXPECT_EQ(execute(), 0);
    for (const char* id : {"synth", "place", "route"}) {
        EXPECT_TRUE(has("." + std::string(id) + ".begin.rst")) << id;
        EXPECT_TRUE(has("." + std::string(id) + ".end.rst")) << id;
    }
    EXPECT_TRUE(has("runme.log"));
}

TEST_F(ScriptExecutionTest, IsReadBackAsDone) {
    write();
    execute();
    run().setRunMode(HAXPExpRunBase::kLaunched);
    run().updateStatus();
    EXPECT_EQ(run().getLastDoneStep(), run().step("route"));
}

TEST_F(ScriptExecutionTest, EndsWithZeroBehindAFailedStepAndRunsNoLaterOne) {
    addRecorder("place", 3);
    write();
    EXPECT_EQ(execute(), 0);
    EXPECT_EQ(words(), "synth\nplace\n");
    EXPECT_TRUE(has(".place.error.rst"));
    EXPECT_FALSE(has(".route.begin.rst"));
}

TEST_F(ScriptExecutionTest, GoesOnBehindTheStepsThatAreDone) {
    run().setCode("synth", kDone);
    write();
    execute();
    EXPECT_EQ(words(), "place\nroute\n");
}

TEST_F(ScriptExecutionTest, PutsWhatAStepPrintsIntoTheLog) {
    addProgram("synth", "#!/bin/sh\necho out\necho error >&2\n");
    write();
    execute();
    EXPECT_EQ(read("runme.log"), "out\nerror\n");
}

TEST_F(ScriptExecutionTest, RunsThePreCommandsAndThePostCommandsAroundTheSteps) {
    dataMgr().shPre = "echo before >> $MQ_LOG";
    dataMgr().shPost = "echo behind >> $MQ_LOG";
    addProgram("place", "#!/bin/sh\necho between\n");
    write();
    execute();
    EXPECT_EQ(read("runme.log"), "before\nbetween\nbehind\n");
}

TEST_F(ScriptExecutionTest, PassesByThePostCommandsBehindAFailedStep) {
    dataMgr().shPost = "echo behind >> $MQ_LOG";
    addProgram("place", "#!/bin/sh\nexit 1\n");
    write();
    execute();
    EXPECT_EQ(read("runme.log").find("behind"), std::string::npos);
}

TEST_F(ScriptExecutionTest, GivesTheStepsItsSearchPaths) {
    m_env.set("KPX_PREPEND_PATH", "/opt/first");
    m_env.set("KPX_PREPEND_LD_LIBRARY_PATH", "/opt/lib");
    addProgram("synth", "#!/bin/sh\necho \"$PATH\"\necho \"$LD_LIBRARY_PATH\"\n");
    write();
    execute();
    EXPECT_EQ(read("runme.log"),
              "/opt/first:/opt/tarnel/bin:" + programs() + ":/usr/bin:/bin\n/opt/lib\n");
}

}  // namespace
