// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "workbench/RunLauncher.h"

#include <cerrno>
#include <cstdio>
#include <memory>
#include <string>

#include <gtest/gtest.h>

#include "environment/errors/HEXError.h"
#include "environment/files/HUTFile.h"
#include "runs/base/xperiment/HDGUIStatus.h"
#include "tests/support/FaultyDisk.h"
#include "tests/support/thrownText.h"
#include "tests/unit/workbench/TestBench.h"
#include "workbench/HAXPExpRun.h"
#include "workbench/OpenRunInfo.h"
#include "workbench/Project.h"
#include "workbench/launchLease.h"
#include "workbench/openFlows.h"

namespace {

/// A project with a synthesis and an implementation, neither of them launched.
class LaunchRefusalTest : public ::testing::Test {
protected:
    LaunchRefusalTest()
        : m_project(Project::create(m_bench.path("proj"), m_bench.inputs())),
          m_synthesis(m_project->createRun("synth_1", *OpenFlows::getSynthesis(), "Default", "")),
          m_implementation(
              m_project->createRun("impl_1", *OpenFlows::getImplementation(), "Default", "")) {
        m_project->save();
        m_saved = file();
    }
    /// What is refused leaves the project's file as it is.
    void TearDown() override { EXPECT_EQ(file(), m_saved); }

    std::string file() const { return m_bench.folder().read("proj/project.xml"); }
    std::string runDir() const { return m_bench.path("proj/runs/synth_1"); }
    std::string refusal(HAXPExpRun& run) {
        return test::thrownText<HEXError>([&] { RunLauncher(*m_project).launch(run); });
    }

    test::TestBench m_bench;
    std::unique_ptr<Project> m_project;
    HAXPExpRun& m_synthesis;
    HAXPExpRun& m_implementation;
    std::string m_saved;
};

TEST_F(LaunchRefusalTest, AnImplementationWaitsForItsSynthesis) {
    EXPECT_EQ(refusal(m_implementation), "Run impl_1 isn't launched: its synthesis synth_1 isn't "
                                         "done. Launch that one first.");
}

TEST_F(LaunchRefusalTest, ASourceMustBeThere) {
    DesignInputs inputs = m_bench.inputs();
    inputs.sources.push_back(m_bench.path("gone.v"));
    m_project->setInputs(inputs);
    EXPECT_EQ(refusal(m_synthesis), "Run synth_1 isn't launched: its source " +
                                        m_bench.path("gone.v") +
                                        " doesn't exist. Bring the file back, or take it out of "
                                        "the project.");
}

TEST_F(LaunchRefusalTest, ASynthesisNeedsASource) {
    DesignInputs inputs = m_bench.inputs();
    inputs.sources.clear();
    m_project->setInputs(inputs);
    EXPECT_EQ(refusal(m_synthesis), "The project has no Verilog source. Add one with \"xp add\".");
}

TEST_F(LaunchRefusalTest, ARunAtWorkIsNotLaunchedAgain) {
    m_bench.folder().folder("proj/runs/synth_1");
    m_synthesis.setRunDir(runDir(), false);
    m_synthesis.setRunMode(HAXPExpRun::kLaunched);
    m_synthesis.getInfo().setLaunch(1000, "synth");
    const test::HeldRunLock lock(runDir());
    EXPECT_EQ(refusal(m_synthesis), "Run synth_1 isn't launched: it is running already. Wait for "
                                    "it with \"xp wait\".");
}

TEST_F(LaunchRefusalTest, AMarkerThatCanNotBeRemoved) {
    m_bench.folder().folder("proj/runs/synth_1");
    m_bench.folder().mark("proj/runs/synth_1/.ice40_synth.begin.rst",
                          test::TestBench::handleText());
    m_bench.folder().mark("proj/runs/synth_1/.ice40_synth.error.rst");
    m_synthesis.setRunDir(runDir(), false);
    m_synthesis.setRunMode(HAXPExpRun::kLaunched);
    m_synthesis.getInfo().setLaunch(1000, "synth");
    // They can't be moved aside, either.
    m_bench.folder().mark("proj/.xperiment");
    test::FaultyDisk disk;
    disk.failAll("unlinkAt", EROFS);
    EXPECT_EQ(refusal(m_synthesis), "Run synth_1 isn't launched: the markers of an earlier launch "
                                    "in " +
                                        runDir() +
                                        " can't be removed. Check the rights of that folder.");
    EXPECT_TRUE(disk.hasFailed());
}

TEST_F(LaunchRefusalTest, AFileInThePlaceOfTheRunDirectory) {
    m_bench.folder().mark("proj/runs", "text");
    EXPECT_NE(refusal(m_synthesis).find(runDir()), std::string::npos);
    EXPECT_EQ(m_bench.folder().read("proj/runs"), "text");
}

TEST_F(LaunchRefusalTest, AScriptThatCanNotBeWritten) {
    m_bench.folder().folder("proj/runs/synth_1/runme.sh");
    EXPECT_EQ(refusal(m_synthesis),
              "Run synth_1 isn't launched: its scripts in the run directory could not be written "
              "whole. Check that you may write to " +
                  runDir() + " and that it has room, then launch again.");
    EXPECT_EQ(m_synthesis.getRunMode(), HAXPExpRun::kNotLaunched);
}

TEST_F(LaunchRefusalTest, AProjectThatCanNotBeSavedLeavesTheRunUnqueued) {
    const std::string file = m_bench.path("proj/project.xml");
    ASSERT_EQ(std::rename(file.c_str(), (file + ".away").c_str()), 0);
    m_bench.folder().folder("proj/project.xml/in the way");
    EXPECT_NE(refusal(m_synthesis).find("can't be saved"), std::string::npos);
    EXPECT_FALSE(HUTFile::exists(m_synthesis.queueMarkerPath()));
    EXPECT_EQ(m_synthesis.getRunMode(), HAXPExpRun::kNotLaunched);
    EXPECT_TRUE(HUTFile::exists(m_synthesis.pathOf(workbench::kLeaseName)));
    ASSERT_TRUE(HUTFile(file).rmRecursive());
    ASSERT_EQ(std::rename((file + ".away").c_str(), file.c_str()), 0);
}

TEST_F(LaunchRefusalTest, AWrapperThatCanNotBeCopied) {
    m_bench.folder().folder("proj/runs/synth_1/ZUMWrap.sh");
    EXPECT_NE(refusal(m_synthesis).find("could not be written whole"), std::string::npos);
}

}  // namespace
