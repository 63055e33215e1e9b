// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "workbench/Project.h"

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "environment/errors/HEXAlgException.h"
#include "environment/errors/HEXUserException.h"
#include "environment/options/HATOptGroup.h"
#include "runs/base/xperiment/HAXPExpRunStep.h"
#include "runs/base/xperiment/HAXPFlowStep.h"
#include "runs/base/xperiment/HAXPStrategy.h"
#include "runs/base/xperiment/HDGUIStatus.h"
#include "tests/support/thrownText.h"
#include "tests/unit/workbench/TestBench.h"
#include "workbench/HAXPExpRun.h"
#include "workbench/OpenRunInfo.h"
#include "workbench/RunReports.h"
#include "workbench/openFlows.h"

namespace {

/// A project in the folder "proj" beside its sources.
class ProjectTest : public ::testing::Test {
protected:
    ProjectTest() : m_project(Project::create(dir(), m_bench.inputs())) {}

    std::string dir() const { return m_bench.path("proj"); }
    HAXPExpRun& addSynthesis(const std::string& name = "synth_1") {
        return m_project->createRun(name, *OpenFlows::getSynthesis(), "Default", "");
    }
    HAXPExpRun& addImplementation(const std::string& name = "impl_1") {
        return m_project->createRun(name, *OpenFlows::getImplementation(), "Performance", "");
    }
    /// Saves, closes and opens anew.
    void reopen(Project::Access access = Project::kChange) {
        m_project->save();
        m_project.reset();
        m_project = Project::open(dir(), access);
    }
    template <class Action> static std::string refusal(Action action) {
        return test::thrownText<HEXUserException>(action);
    }

    test::TestBench m_bench;
    std::unique_ptr<Project> m_project;
};

std::string seedOf(const HAXPExpRun& run) {
    const HATOptGroup* group = run.getStrategy()->getOptions("place_design");
    return std::to_string(group->getIntVal(group->getAttrSpecByName("seed")));
}

TEST_F(ProjectTest, IsNamedAfterItsFolder) {
    EXPECT_EQ(m_project->getName(), "proj");
    EXPECT_EQ(m_project->getDir(), dir());
    EXPECT_EQ(m_project->getRunsDir(), dir() + "/runs");
}

TEST_F(ProjectTest, KeepsItsInputs) {
    DesignInputs inputs = m_bench.inputs();
    inputs.defines = {"N=3", "FAST"};
    inputs.includeDirs = {m_bench.path("inc"), dir()};
    inputs.device = "up5k";
    inputs.package = "sg48";
    inputs.frequencyMhz = "33.3";
    m_project->setInputs(inputs);
    reopen();
    const DesignInputs& read = m_project->getInputs();
    EXPECT_EQ(read.sources, inputs.sources);
    EXPECT_EQ(read.top, "blinky");
    EXPECT_EQ(read.constraints, inputs.constraints);
    EXPECT_EQ(read.defines, inputs.defines);
    EXPECT_EQ(read.includeDirs, inputs.includeDirs);
    EXPECT_EQ(read.device, "up5k");
    EXPECT_EQ(read.package, "sg48");
    EXPECT_EQ(read.frequencyMhz, "33.3");
}

TEST_F(ProjectTest, KeepsItsRunsInTheirOrder) {
    addSynthesis("b");
    addSynthesis("a");
    addImplementation();
    reopen();
    std::vector<std::string> names;
    for (const HAXPExpRun* run : m_project->getRuns())
        names.push_back(run->getName());
    EXPECT_EQ(names, (std::vector<std::string>{"b", "a", "impl_1"}));
    EXPECT_EQ(m_project->getSynthesisOf(m_project->getRun("impl_1")), m_project->findRun("b"));
    EXPECT_EQ(m_project->getSynthesisOf(m_project->getRun("b")), nullptr);
}

TEST_F(ProjectTest, KeepsStrategyOptionsAndLastStep) {
    addSynthesis();
    HAXPExpRun& run = addImplementation();
    m_project->setOption(run, "place_design.seed", "42");
    m_project->setToStep(run, "route");
    reopen();
    const HAXPExpRun& read = m_project->getRun("impl_1");
    EXPECT_EQ(read.getStrategy()->getName(), "Performance");
    EXPECT_EQ(seedOf(read), "42");
    EXPECT_EQ(read.getToStep()->getFlowStep()->getFlowStepId(), "route_design");
}

TEST_F(ProjectTest, KeepsALaunchWithItsSnapshot) {
    HAXPExpRun& run = addSynthesis();
    run.setRunDir(dir() + "/runs/synth_1", false);
    run.getInfo().setLaunch(123456, "synth");
    run.getInfo().setLaunchedInputs(run.getInfo().recordInputs());
    run.setRunMode(HAXPExpRun::kLaunched);
    const workbench::InputRecord record = run.getInfo().recordInputs();
    reopen();
    HAXPExpRun& read = m_project->getRun("synth_1");
    std::string runDir;
    read.getRunDir(runDir);
    EXPECT_EQ(runDir, dir() + "/runs/synth_1");
    EXPECT_EQ(read.getRunMode(), HAXPExpRun::kLaunched);
    EXPECT_EQ(read.getInfo().getLaunchTime(), 123456);
    EXPECT_EQ(read.getInfo().getLaunchedTo(), "synth");
    EXPECT_EQ(read.getInfo().getLaunchedInputs(), record);
}

TEST_F(ProjectTest, MovesWithItsFolder) {
    DesignInputs inputs = m_bench.inputs();
    m_bench.folder().mark("proj/inside.v");
    inputs.sources = {dir() + "/inside.v", m_bench.path("blinky.v")};
    m_project->setInputs(inputs);
    HAXPExpRun& run = addSynthesis();
    run.setRunDir(dir() + "/runs/synth_1", false);
    run.getInfo().setLaunch(123456, "synth");
    run.getInfo().setLaunchedInputs(run.getInfo().recordInputs());
    m_project->save();
    m_project.reset();
    std::filesystem::rename(dir(), m_bench.path("moved"));
    m_project = Project::open(m_bench.path("moved"), Project::kRead);
    EXPECT_EQ(m_project->getInputs().sources,
              (std::vector<std::string>{m_bench.path("moved/inside.v"), m_bench.path("blinky.v")}));
    HAXPExpRun& read = m_project->getRun("synth_1");
    std::string runDir;
    read.getRunDir(runDir);
    EXPECT_EQ(runDir, m_bench.path("moved/runs/synth_1"));
    EXPECT_EQ(read.getInfo().getLaunchedInputs(), read.getInfo().recordInputs());
}

TEST_F(ProjectTest, IsFoundFromAFolderBelow) {
    m_bench.folder().folder("proj/a/b");
    EXPECT_EQ(Project::open(dir() + "/a/b", Project::kRead)->getDir(), dir());
}

TEST_F(ProjectTest, IsNotFoundWhereThereIsNone) {
    EXPECT_EQ(refusal([&] { Project::open(m_bench.path("."), Project::kRead); }),
              "There is no project in " + m_bench.folder().path() +
                  ". Make one with \"xp new\", or go to a project's folder.");
}

TEST_F(ProjectTest, IsNotMadeTwice) {
    EXPECT_EQ(refusal([&] { Project::create(dir(), m_bench.inputs()); }),
              "The folder " + dir() +
                  " holds a project already; it was left as it is. Choose another folder, or work "
                  "on that project.");
}

TEST_F(ProjectTest, LeavesNoFolderBehindWhenItsInputsAreRefused) {
    DesignInputs inputs = m_bench.inputs();
    inputs.defines = {"N=$(reboot)"};
    EXPECT_NE(refusal([&] { Project::create(m_bench.path("other"), inputs); }), "nothing thrown");
    EXPECT_FALSE(m_bench.folder().has("other"));
}

TEST_F(ProjectTest, IsChangedByOneAtATimeAndReadByAny) {
    const std::string text = refusal([&] { Project::open(dir(), Project::kChange); });
    EXPECT_EQ(text.find("The project " + dir() + " is open in another process: process "), 0U)
        << text;
    EXPECT_NE(Project::open(dir(), Project::kRead), nullptr);
    m_project.reset();
    EXPECT_NE(Project::open(dir(), Project::kChange), nullptr);
}

TEST_F(ProjectTest, IsNotSavedWhenItIsOpenForReading) {
    reopen(Project::kRead);
    EXPECT_EQ(test::thrownText<HEXAlgException>([&] { m_project->save(); }),
              "the project is open for reading");
}

TEST_F(ProjectTest, LosesWhatIsNotSaved) {
    addSynthesis();
    m_project.reset();
    EXPECT_TRUE(Project::open(dir(), Project::kRead)->getRuns().empty());
}

TEST_F(ProjectTest, RefusesABadNameAndAKnownOne) {
    addSynthesis();
    EXPECT_NE(refusal([&] { addSynthesis("a/b"); }).find("can't be the name of a run"),
              std::string::npos);
    EXPECT_EQ(refusal([&] { addSynthesis("SYNTH_1"); }),
              "There is a run SYNTH_1 already. Choose another name.");
    EXPECT_EQ(m_project->getRuns().size(), 1U);
}

TEST_F(ProjectTest, RefusesAnUnknownStrategyAndNamesTheKnownOnes) {
    EXPECT_EQ(refusal([&] { m_project->createRun("r", *OpenFlows::getSynthesis(), "Fast", ""); }),
              "There is no strategy Fast for this flow. Choose one of: Default, Area, Hierarchy, "
              "Performance.");
    EXPECT_TRUE(m_project->getRuns().empty());
}

TEST_F(ProjectTest, RefusesAnImplementationWithoutASynthesis) {
    EXPECT_EQ(refusal([&] { addImplementation(); }),
              "The project has no synthesis run. Make one with \"xp create NAME --flow synth\" "
              "first.");
    addSynthesis();
    addImplementation();
    EXPECT_EQ(refusal([&] {
                  m_project->createRun("r", *OpenFlows::getImplementation(), "Default", "impl_1");
              }),
              "An implementation needs a synthesis run of the project, and impl_1 is none. Name "
              "one with --synth.");
}

TEST_F(ProjectTest, NamesItsRunsWhenOneIsNotThere) {
    EXPECT_EQ(refusal([&] { m_project->getRun("x"); }),
              "There is no run x. The project has: none.");
    addSynthesis();
    addImplementation();
    EXPECT_EQ(refusal([&] { m_project->getRun("x"); }),
              "There is no run x. The project has: synth_1, impl_1.");
    EXPECT_EQ(m_project->findRun("x"), nullptr);
}

TEST_F(ProjectTest, SetsAnOptionByItsNameAloneWhereOneStepHasIt) {
    addSynthesis();
    HAXPExpRun& run = addImplementation();
    m_project->setOption(run, "seed", "9");
    EXPECT_EQ(seedOf(run), "9");
}

TEST_F(ProjectTest, RefusesAnOptionThatIsNotThereOrIsMeantTwice) {
    addSynthesis();
    HAXPExpRun& run = addImplementation();
    const std::string unknown = refusal([&] { m_project->setOption(run, "sede", "9"); });
    EXPECT_EQ(unknown.find("There is no option sede. There are: init_design."), 0U) << unknown;
    EXPECT_EQ(refusal([&] { m_project->setOption(run, "seed", "many"); }),
              "Option place_design.seed can't be set: 'many' is no whole number.");
    EXPECT_EQ(seedOf(run), "1");
}

TEST_F(ProjectTest, RefusesAStepThatIsNotThere) {
    addSynthesis();
    HAXPExpRun& run = addImplementation();
    m_project->setToStep(run, "place");
    EXPECT_EQ(refusal([&] { m_project->setToStep(run, "nosuch"); }),
              "The run impl_1 has no step nosuch. It has: init, place, route, bitstream.");
    EXPECT_EQ(run.getToStep()->getFlowStep()->getFlowStepId(), "place_design");
    m_project->setToStep(run, "");
    EXPECT_EQ(run.getToStep()->getFlowStep()->getFlowStepId(), "write_bitstream");
}

TEST_F(ProjectTest, AppliesAStrategyInThePlaceOfAllOptions) {
    addSynthesis();
    HAXPExpRun& run = addImplementation();
    m_project->setOption(run, "seed", "9");
    m_project->applyStrategy(run, "Explore");
    EXPECT_EQ(run.getStrategy()->getName(), "Explore");
    EXPECT_EQ(seedOf(run), "3");
    const HATOptGroup* group = run.getStrategy()->getOptions("place_design");
    EXPECT_TRUE(group->isDefault(group->getAttrSpecByName("heap_critexp")));
}

TEST_F(ProjectTest, GivesAnImplementationTheNetlistOfItsSynthesis) {
    HAXPExpRun& synthesis = addSynthesis();
    HAXPExpRun& run = addImplementation();
    EXPECT_EQ(run.getInfo().getInputs().netlist, dir() + "/runs/synth_1/blinky.json");
    synthesis.setRunDir(m_bench.path("elsewhere"), false);
    m_project->setInputs(m_project->getInputs());
    EXPECT_EQ(run.getInfo().getInputs().netlist, m_bench.path("elsewhere/blinky.json"));
    EXPECT_EQ(synthesis.getInfo().getInputs().netlist, "");
}

TEST_F(ProjectTest, TellsOnlyWhatStartsFromARunOfItsNetlist) {
    HAXPExpRun& synthesis = addSynthesis();
    HAXPExpRun& run = addImplementation();
    synthesis.setRunDir(m_bench.path("elsewhere"), false);
    m_project->tellDependants(run);
    EXPECT_EQ(run.getInfo().getInputs().netlist, m_bench.path("elsewhere/blinky.json"))
        << "its own";
    synthesis.setRunDir(m_bench.path("another"), false);
    m_project->tellDependants(synthesis);
    EXPECT_EQ(run.getInfo().getInputs().netlist, m_bench.path("another/blinky.json"));
    synthesis.setRunDir(m_bench.path("third"), false);
    HAXPExpRun& other = m_project->createRun("synth_2", *OpenFlows::getSynthesis(), "", "");
    m_project->tellDependants(other);
    EXPECT_EQ(run.getInfo().getInputs().netlist, m_bench.path("another/blinky.json"));
}

TEST_F(ProjectTest, RefusesInputsThatScriptsCanNotCarry) {
    DesignInputs inputs = m_bench.inputs();
    inputs.sources = {"/it's.v"};
    EXPECT_NE(refusal([&] { m_project->setInputs(inputs); }).find("/it's.v"), std::string::npos);
    inputs = m_bench.inputs();
    inputs.top = "top; reboot";
    EXPECT_NE(refusal([&] { m_project->setInputs(inputs); }).find("option top"), std::string::npos);
    EXPECT_EQ(m_project->getInputs().top, "blinky");
    EXPECT_EQ(m_project->getInputs().sources, m_bench.inputs().sources);
}

TEST_F(ProjectTest, ReadsTheStatusOfItsRunsFromTheirDirectories) {
    HAXPExpRun& run = addSynthesis();
    run.setRunDir(dir() + "/runs/synth_1", false);
    run.getInfo().setLaunch(123456, "synth");
    run.setRunMode(HAXPExpRun::kLaunched);
    m_bench.folder().folder("proj/runs/synth_1");
    m_bench.folder().mark("proj/runs/synth_1/.ice40_synth.begin.rst",
                          test::TestBench::handleText());
    m_bench.folder().mark("proj/runs/synth_1/.ice40_synth.end.rst");
    reopen(Project::kRead);
    EXPECT_EQ(m_project->getRun("synth_1").getStatus()->getCode(), HDGUIStatus::statusDone);
}

TEST_F(ProjectTest, FindsRunsByNameWhateverTheCaseOfOthers) {
    addSynthesis();
    addImplementation();
    EXPECT_EQ(m_project->findRun("synth_1")->getName(), "synth_1");
    EXPECT_EQ(m_project->findRun("SYNTH_1"), nullptr);
    EXPECT_NE(refusal([&] { m_project->createRun("IMPL_1", *OpenFlows::getSynthesis(), "", ""); }),
              "");
    m_project->findRun("impl_1")->renameRun("other");
    EXPECT_EQ(m_project->findRun("impl_1"), nullptr);
    EXPECT_EQ(m_project->findRun("other")->getName(), "other");
    EXPECT_NE(refusal([&] { m_project->createRun("Other", *OpenFlows::getSynthesis(), "", ""); }),
              "");
}

TEST_F(ProjectTest, AnOverviewHasTheSameRunsWithoutReports) {
    addSynthesis();
    addImplementation();
    m_project->save();
    const auto whole = Project::open(dir(), Project::kRead);
    const auto overview = Project::open(dir(), Project::kOverview);
    ASSERT_EQ(overview->getRuns().size(), whole->getRuns().size());
    for (const HAXPExpRun* run : whole->getRuns()) {
        EXPECT_NE(RunReports(*whole->findRun(run->getName())).all().size(), 0U);
        HAXPExpRun& same = overview->getRun(run->getName());
        EXPECT_EQ(RunReports(same).all().size(), 0U);
        EXPECT_EQ(same.getStrategy()->getName(), run->getStrategy()->getName());
        EXPECT_EQ(same.getStatus()->getCode(), run->getStatus()->getCode());
    }
    EXPECT_THROW(overview->save(), HEXAlgException);
}

}  // namespace
