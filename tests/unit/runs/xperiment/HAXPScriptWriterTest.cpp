// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "runs/base/xperiment/HAXPScriptWriter.h"

#include <filesystem>
#include <map>
#include <memory>
#include <ostream>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "environment/errors/HEXAlgException.h"
#include "environment/options/HATAttrSpec.h"
#include "environment/options/HATOptGroupSpec.h"
#include "runs/base/xperiment/HAXPExpRunStep.h"
#include "runs/base/xperiment/HAXPTypes.h"
#include "runs/base/xperiment/HDGUIStatus.h"
#include "tests/support/thrownText.h"
#include "tests/unit/runs/xperiment/ScriptFixture.h"

namespace fs = std::filesystem;

using test::kDone;
using test::thrownText;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::Not;

namespace {

const char* const kScripts[] = {"runme.sh", "rundef.js", "runme.bat", "htr.txt"};

/// A run of the steps "synth" and "place".
class ScriptWriterTest : public test::ScriptTest {
protected:
    void SetUp() override {
        m_synth = &addStep("synth");
        m_place = &addStep("place");
    }

    void write() { HAXPScriptWriter(&run()).writeScript(); }

    void addWrappers(const std::string& content) const {
        m_installation.addFile("scripts/ZUMWrap.sh", content);
        m_installation.addFile("scripts/ZUMWrap.js", content);
    }

    test::ScriptStep* m_synth = nullptr;
    test::ScriptStep* m_place = nullptr;
};

TEST_F(ScriptWriterTest, MakesFourScriptsAndTwoWrappers) {
    addWrappers("wrapper");
    write();
    EXPECT_THAT(files(), ElementsAre("ZUMWrap.js", "ZUMWrap.sh", "htr.txt", "rundef.js",
                                     "runme.bat", "runme.sh"));
}

TEST_F(ScriptWriterTest, MakesTheShellScriptAloneExecutable) {
    addWrappers("wrapper");
    write();
    EXPECT_TRUE(isExecutable("runme.sh"));
    EXPECT_TRUE(isExecutable("ZUMWrap.sh"));
    for (const char* file : {"rundef.js", "htr.txt", "runme.bat", "ZUMWrap.js"})
        EXPECT_FALSE(isExecutable(file)) << file;
}

TEST_F(ScriptWriterTest, CopiesTheWrappersAnewEachTime) {
    addWrappers("one");
    write();
    addWrappers("two");
    mark("ZUMWrap.js", "spoilt");
    write();
    EXPECT_EQ(read("ZUMWrap.sh"), "two");
    EXPECT_EQ(read("ZUMWrap.js"), "two");
    EXPECT_TRUE(isExecutable("ZUMWrap.sh"));
}

TEST_F(ScriptWriterTest, TakesEachWrapperFromTheFirstRootThatHasIt) {
    m_installation.addFile("scripts/ZUMWrap.sh", "first root");
    const std::string second = m_installation.addRoot("second");
    m_installation.addFile("../second/scripts/ZUMWrap.js", "second root");
    m_installation.addFile("../second/scripts/ZUMWrap.sh", "hidden by the first");
    write();
    EXPECT_EQ(read("ZUMWrap.sh"), "first root");
    EXPECT_EQ(read("ZUMWrap.js"), "second root");
}

TEST_F(ScriptWriterTest, GoesOnWithoutTheWrappers) {
    write();
    EXPECT_THAT(files(), ElementsAre("htr.txt", "rundef.js", "runme.bat", "runme.sh"));
}

TEST_F(ScriptWriterTest, GoesThroughItsPartsInOrder) {
    addWrappers("wrapper");
    mark(".stop.rst");
    std::vector<std::string> seen;
    const auto note = [this, &seen](const std::string& part) {
        seen.push_back(part + (has("ZUMWrap.sh") && has("ZUMWrap.js") ? " wrappers" : "") +
                       (has("runme.bat") ? " batch" : "") + (has(".stop.rst") ? " stop" : ""));
    };
    dataMgr().onPre = [&note] { note("pre"); };
    m_synth->onPrePost = [&note] { note("synth"); };
    m_place->onPrePost = [&note] { note("place"); };
    dataMgr().onPost = [&note] { note("post"); };
    write();
    EXPECT_THAT(seen, ElementsAre("pre wrappers batch stop", "synth wrappers batch",
                                  "place wrappers batch", "post wrappers batch"));
}

TEST_F(ScriptWriterTest, TakesBackAStopEachTime) {
    for (int i = 0; i < 2; ++i) {
        mark(".stop.rst");
        write();
        EXPECT_FALSE(has(".stop.rst"));
    }
}

TEST_F(ScriptWriterTest, LeavesOtherFilesOfTheDirectory) {
    mark(".stop.stp", "kept");
    mark("runme.log", "kept");
    write();
    EXPECT_EQ(read(".stop.stp"), "kept");
    EXPECT_EQ(read("runme.log"), "kept");
}

TEST_F(ScriptWriterTest, HasNoTitlesWithoutCommands) {
    dataMgr().htrPre = "for a person";
    write();
    EXPECT_THAT(read("runme.sh"), Not(HasSubstr("-commands")));
    EXPECT_THAT(read("rundef.js"), Not(HasSubstr("-commands")));
    EXPECT_THAT(read("htr.txt"), HasSubstr("\n\nfor a person\nsynth \n"));
}

TEST_F(ScriptWriterTest, GoesToTheLastStepWithoutOneToStopAt) {
    run().setToStepId("unknown");
    write();
    EXPECT_THAT(read("htr.txt"), HasSubstr("synth \nplace \n"));
}

TEST_F(ScriptWriterTest, StopsAtTheChosenStep) {
    run().setToStepId("Synth");
    write();
    EXPECT_THAT(read("htr.txt"), HasSubstr("synth \n"));
    EXPECT_THAT(read("htr.txt"), Not(HasSubstr("place")));
}

TEST_F(ScriptWriterTest, KeepsPlaceholdersInValues) {
    set("synth", "part", "@{product} @{runDir}");
    write();
    EXPECT_THAT(read("runme.sh"), HasSubstr("EAStep synth -part @{product} @{runDir}\n"));
}

TEST_F(ScriptWriterTest, PutsLineFeedsOfValuesInAsTheyAre) {
    set("synth", "part", "one\ntwo");
    write();
    EXPECT_THAT(read("runme.sh"), HasSubstr("EAStep synth -part one\ntwo\n"));
    EXPECT_THAT(read("rundef.js"), HasSubstr("\"-part one\ntwo\" );\n"));
}

TEST_F(ScriptWriterTest, HasNoCarriageReturn) {
    write();
    for (const char* file : kScripts)
        EXPECT_THAT(read(file), Not(HasSubstr("\r"))) << file;
}

TEST_F(ScriptWriterTest, WritesAnUnsetPathAsAnEmptyOne) {
    m_env.unset("KPX_BINROOT");
    write();
    const std::string unset = read("rundef.js") + read("runme.sh");
    for (const char* name : {"KPX_BINROOT", "KPX_PREPEND_PATH", "KPX_PREPEND_LD_LIBRARY_PATH"})
        m_env.set(name, "");
    write();
    EXPECT_EQ(read("rundef.js") + read("runme.sh"), unset);
}

TEST_F(ScriptWriterTest, ListsOptionsAnewForThePerson) {
    set("synth", "level", "7");
    set("synth", "in", "a.v");
    dataMgr();
    write();
    EXPECT_THAT(dataMgr().asked, ElementsAre("level", "in", "level", "in"));
}

TEST_F(ScriptWriterTest, LeavesOutWhatTheDataManagerFilters) {
    dataMgr().filtered = {"level"};
    set("synth", "level", "7");
    set("synth", "in", "a.v");
    write();
    EXPECT_THAT(read("runme.sh"), HasSubstr("EAStep synth -in a.v\n"));
    EXPECT_THAT(read("htr.txt"), HasSubstr("synth -in a.v\n"));
    const std::string message = "runs INFO 36-46(synth, level, r, it doesn't apply)";
    EXPECT_THAT(takeMessages(), ElementsAre(message, message));
}

TEST_F(ScriptWriterTest, AsksForNoOptionsThatDontGoOnTheCommandLine) {
    m_synth->setCmdLineOptions(false);
    set("synth", "level", "7");
    dataMgr();
    write();
    EXPECT_THAT(dataMgr().asked, ElementsAre());
}

// --- writing again ------------------------------------------------------------------

TEST_F(ScriptWriterTest, LeavesNothingOfAnEarlierScript) {
    write();
    std::map<std::string, std::string> fresh;
    for (const char* file : kScripts) {
        fresh[file] = read(file);
        mark(file, std::string(9000, 'x'));
    }
    write();
    for (const char* file : kScripts)
        EXPECT_EQ(read(file), fresh[file]) << file;
}

TEST_F(ScriptWriterTest, WritesWhatHasChanged) {
    HAXPScriptWriter writer(&run());
    writer.writeScript();
    set("synth", "part", "a longer command line");
    writer.writeScript();
    EXPECT_THAT(read("runme.sh"), HasSubstr("EAStep synth -part a longer command line\n"));
    set("synth", "part", "");
    writer.writeScript();
    EXPECT_THAT(read("runme.sh"), HasSubstr("EAStep synth \n"));
}

TEST_F(ScriptWriterTest, MakesAnEarlierShellScriptExecutable) {
    mark("runme.sh", "old");
    write();
    EXPECT_TRUE(isExecutable("runme.sh"));
}

TEST_F(ScriptWriterTest, MakesTheBatchFileANewOne) {
    write();
    fs::permissions(pathOf("runme.bat"), fs::perms(0755));
    fs::create_hard_link(pathOf("runme.bat"), pathOf("kept.bat"));
    write();
    EXPECT_FALSE(isExecutable("runme.bat"));
    EXPECT_TRUE(isExecutable("kept.bat"));
}

TEST_F(ScriptWriterTest, FollowsNoLink) {
    addWrappers("wrapper");
    mark("precious", "precious");
    const std::vector<std::string> all = {"runme.sh", "rundef.js",  "runme.bat",
                                          "htr.txt",  "ZUMWrap.sh", "ZUMWrap.js"};
    for (const std::string& file : all)
        fs::create_symlink("precious", pathOf(file));
    write();
    EXPECT_EQ(read("precious"), "precious");
    for (const std::string& file : all)
        EXPECT_TRUE(fs::is_regular_file(fs::symlink_status(pathOf(file)))) << file;
}

// --- what goes wrong ----------------------------------------------------------------

class UnopenableScriptTest : public ScriptWriterTest,
                             public ::testing::WithParamInterface<const char*> {};

TEST_P(UnopenableScriptTest, IsPassedOverSilently) {
    m_folder.folder("a run & more/" + std::string(GetParam()));
    write();
    for (const std::string file : kScripts)
        EXPECT_EQ(fs::is_regular_file(pathOf(file)), file != GetParam()) << file;
}

INSTANTIATE_TEST_SUITE_P(Each, UnopenableScriptTest, ::testing::ValuesIn(kScripts),
                         [](const auto& row) {
                             const std::string name = row.param;
                             return name.substr(0, name.find('.')) +
                                    name.substr(name.find('.') + 1);
                         });

TEST_F(ScriptWriterTest, MakesNoDirectory) {
    fs::remove(runDir());
    write();
    EXPECT_FALSE(fs::exists(runDir()));
}

TEST_F(ScriptWriterTest, RefusesARunWithoutADirectory) {
    run().setRunDir("", false);
    HAXPScriptWriter writer(&run());
    const std::string text = "run scripts need a run with a directory";
    EXPECT_EQ(thrownText<HEXAlgException>([&writer] { writer.writeScript(); }), text);
    EXPECT_EQ(thrownText<HEXAlgException>([&writer] { writer.openOstrs(); }), text);
    EXPECT_EQ(thrownText<HEXAlgException>([&writer] { writer.copyHelperScripts(); }), text);
    EXPECT_EQ(thrownText<HEXAlgException>([] { HAXPScriptWriter(nullptr).writeScript(); }), text);
}

TEST_F(ScriptWriterTest, RefusesToWriteOutsideItsFiles) {
    HAXPScriptWriter writer(&run());
    const auto refusal = [](auto action) { return thrownText<HEXAlgException>(action); };
    const std::string text = "the run scripts aren't open";
    EXPECT_EQ(refusal([&] { writer.writeHeader(); }), text);
    EXPECT_EQ(refusal([&] { writer.writePreCmds(); }), text);
    EXPECT_EQ(refusal([&] { writer.writeStep(run().step("synth"), true); }), text);
    EXPECT_EQ(refusal([&] { writer.writePostCmds(); }), text);
    EXPECT_EQ(refusal([&] { writer.writeFooter(); }), text);
    writer.closeOstrs();
    EXPECT_THAT(files(), ElementsAre());
}

/// The second step has an option of a kind that no command line knows.
class BrokenScriptTest : public ScriptWriterTest {
protected:
    void SetUp() override {
        ScriptWriterTest::SetUp();
        auto spec = std::make_unique<HATAttrSpec>(HATAttrTypes::kLong, HATAttrSpec::kOption);
        m_place->getOptionsSpec()->registerAttrSpec(spec.get(), "size", "-size");
        static_cast<void>(spec.release());
    }
};

TEST_F(BrokenScriptTest, PassesTheFailureOn) {
    EXPECT_EQ(thrownText<HEXAlgException>([this] { write(); }), "unexpected attrType in HAXPUtils");
}

TEST_F(BrokenScriptTest, LeavesWhatWasWrittenUntilThen) {
    thrownText<HEXAlgException>([this] { write(); });
    EXPECT_THAT(read("runme.sh"), ::testing::EndsWith("}\n\nEAStep synth \n"));
    EXPECT_THAT(read("rundef.js"),
                ::testing::EndsWith("\n\n\nZUMStep( \"synth\",\n         \"\" );\n"));
    EXPECT_THAT(read("htr.txt"), ::testing::EndsWith("#\n\nsynth \n"));
}

TEST_F(BrokenScriptTest, CanBeWrittenAgainByTheSameWriter) {
    HAXPScriptWriter writer(&run());
    thrownText<HEXAlgException>([&writer] { writer.writeScript(); });
    m_place->setCmdLineOptions(false);
    writer.writeScript();
    EXPECT_THAT(read("runme.sh"), ::testing::EndsWith("}\n\nEAStep synth \nEAStep place \n"));
}

TEST_F(ScriptWriterTest, PassesOnWhatADataManagerThrows) {
    mark(".stop.rst");
    dataMgr().onPre = [] { throw HEXAlgException("no licence"); };
    EXPECT_EQ(thrownText<HEXAlgException>([this] { write(); }), "no licence");
    EXPECT_TRUE(has(".stop.rst"));
}

// --- the programs of the steps --------------------------------------------------------

/// The one step left, "place", has no program in the search path.
class ScriptToolTest : public ScriptWriterTest {
protected:
    void SetUp() override {
        ScriptWriterTest::SetUp();
        run().setCode("synth", kDone);
        fs::remove(programs() + "/place");
        m_folder.folder("more");
    }

    void addElsewhere(const std::string& folder) const {
        m_folder.folder(folder);
        fs::copy(programs() + "/synth", m_folder.path(folder) + "/place");
    }
};

TEST_F(ScriptToolTest, IsMissedInAWarning) {
    write();
    EXPECT_THAT(takeMessages(), ElementsAre("runs CRITICAL WARNING 36-16(place)"));
    EXPECT_THAT(read("runme.sh"), HasSubstr("EAStep place \n"));
}

TEST_F(ScriptToolTest, IsMissedInTheStepThatIsWrittenAsAComment) {
    run().setCode("place", HDGUIStatus::statusError);
    write();
    EXPECT_THAT(takeMessages(), ElementsAre("runs CRITICAL WARNING 36-16(place)"));
    EXPECT_THAT(read("runme.sh"), HasSubstr("# EAStep place \n"));
}

TEST_F(ScriptToolTest, IsFoundInTheBinariesOfTheProduct) {
    addElsewhere("bin");
    m_env.set("KPX_BINROOT", m_folder.path("bin"));
    write();
}

TEST_F(ScriptToolTest, IsFoundInAPrependedFolder) {
    addElsewhere("second");
    m_env.set("KPX_PREPEND_PATH",
              m_folder.path("more") + "::" + m_folder.path("second") + ":/nowhere");
    write();
}

TEST_F(ScriptToolTest, IsNoFolderAndNoPlainFile) {
    m_folder.folder("programs/place");
    m_folder.mark("more/place");
    m_env.set("KPX_BINROOT", m_folder.path("more"));
    write();
    EXPECT_THAT(takeMessages(), ElementsAre("runs CRITICAL WARNING 36-16(place)"));
}

/// Notes what is looked up.
class CountingEnvironment final : public test::FakeEnvironment {
public:
    const char* find(const char* name) const override {
        ++counts[name];
        return FakeEnvironment::find(name);
    }
    mutable std::map<std::string, int> counts;
};

TEST(ScriptToolSearchTest, LooksForEachProgramOncePerGeneration) {
    class Fixture : public test::ScriptTest {
    public:
        Fixture() {
            for (const char* id : {"one", "two", "three"})
                addStep(id, "tool");
            addStep("four", "other");
        }
        ~Fixture() override { m_messages.clear(); }
        void TestBody() override {}
        using ScriptTest::programs;
        using ScriptTest::run;
    } fixture;
    CountingEnvironment environment;
    environment.set("PATH", fixture.programs());
    HAXPScriptWriter writer(&fixture.run());
    writer.writeScript();
    // For two programs and the host of the JScript.
    EXPECT_EQ(environment.counts["PATH"], 3);
    writer.writeScript();
    EXPECT_EQ(environment.counts["PATH"], 6);
}

// --- checkpoints ------------------------------------------------------------------------

struct Checkpoint {
    std::string stepId;
    HAXPTypes::FileType type;
};

std::ostream& operator<<(std::ostream& os, const Checkpoint& row) {
    return os << row.stepId;
}

class ScriptCheckpointTest : public test::ScriptTest,
                             public ::testing::WithParamInterface<Checkpoint> {
protected:
    std::string outputOf(const std::string& id, const std::string& before) {
        addStep(id);
        run().getExpInfoBase()->setFile(GetParam().type, "checkpoint.dcp");
        std::string dcp = before;
        HAXPScriptWriter(&run()).getOutputDcp(run().step(id), dcp);
        return dcp;
    }
};

TEST_P(ScriptCheckpointTest, IsTheFileOfItsKind) {
    EXPECT_EQ(outputOf(GetParam().stepId, "before"), "checkpoint.dcp");
}

TEST_P(ScriptCheckpointTest, IsKnownByTheIdInThisCaseAlone) {
    EXPECT_EQ(outputOf("S" + GetParam().stepId.substr(1), "before"), "before");
}

INSTANTIATE_TEST_SUITE_P(
    Each, ScriptCheckpointTest,
    ::testing::Values(
        Checkpoint{"synth_design", HAXPTypes::FILE_KDS_DCP},
        Checkpoint{"opt_design", HAXPTypes::FILE_OPT_DCP},
        Checkpoint{"power_opt_design", HAXPTypes::FILE_PWROPT_DCP},
        Checkpoint{"place_design", HAXPTypes::FILE_PLACE_DCP},
        Checkpoint{"post_place_power_opt_design", HAXPTypes::FILE_POSTPLACE_PWROPT_DCP},
        Checkpoint{"phys_opt_design", HAXPTypes::FILE_PHYSOPT_DCP},
        Checkpoint{"post_route_phys_opt_design", HAXPTypes::FILE_POSTROUTE_PHYSOPT_DCP},
        Checkpoint{"route_design", HAXPTypes::FILE_ROUTE_DCP}),
    [](const auto& row) { return row.param.stepId; });

using RunWithoutInfoTest = test::ScriptTest;

TEST_F(RunWithoutInfoTest, HasNoCheckpoint) {
    addStep("route_design");
    run().setExpInfoBase(nullptr);
    std::string dcp = "before";
    HAXPScriptWriter(&run()).getOutputDcp(run().step("route_design"), dcp);
    EXPECT_EQ(dcp, "before");
}

TEST_F(ScriptWriterTest, HasNoCheckpointOfAnyOtherStep) {
    std::string dcp;
    HAXPScriptWriter(&run()).getOutputDcp(run().step("synth"), dcp);
    EXPECT_EQ(dcp, "");
}

}  // namespace
