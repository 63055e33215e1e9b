// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "runs/base/xperiment/HAXPDataMgr.h"
#include "runs/base/xperiment/HAXPFlow.h"
#include "runs/base/xperiment/HAXPFlowStep.h"
#include "tests/support/FakeEnvironment.h"
#include "tests/support/MessageRecorder.h"
#include "tests/support/RunDir.h"
#include "tests/support/TestInstallation.h"
#include "tests/support/TestRun.h"

class HAXPExpRunStep;

namespace test {

/// A step of a run script: what it is called, what it runs, and what stands around its
/// options.
///
/// Its options, in order, with their invoke texts and defaults: flag "-flag" false,
/// level "-level" 3, part "-part" "", define (a string list, always written) "-D",
/// effort "-effort" "low" (or "high"), in "-in" "", out "-out" "", and source "", a
/// file without an invoke text. Names are database ids too.
class ScriptStep final : public HAXPFlowStep {
public:
    /// The step `id` runs the program of the same name unless told another.
    explicit ScriptStep(const std::string& id, const std::string& program = "");

    std::string pre;
    std::string post;
    /// Called for each writing of the step.
    mutable std::function<void()> onPrePost;

protected:
    void configOptions_(HATOptGroupSpec* optionsSpec) override;
    void configReports_() override {}
    void writePrePostOpts_(std::string& preText, std::string& postText, HATOptGroup* options,
                           HAXPExpRunBase* run) const override;
};

/// A data manager with the texts that a test sets.
class ScriptDataMgr final : public HAXPDataMgr {
public:
    std::string jsPre;
    std::string shPre;
    std::string htrPre;
    std::string jsPost;
    std::string shPost;
    /// Called before the texts are given.
    std::function<void()> onPre;
    std::function<void()> onPost;
    /// The names of the options that it holds back.
    std::vector<std::string> filtered;
    /// The options that it was asked about, in order.
    std::vector<std::string> asked;

protected:
    void scriptPreCmds_(HAXPExpRunBase* run, std::string& jsCmds, std::string& shCmds,
                        std::string& htrCmds) override;
    void scriptPostCmds_(HAXPExpRunBase* run, std::string& jsCmds, std::string& shCmds) override;
    bool filter_(const HATAttrSpec* spec, const HATOptGroup* group, const HAXPExpRunBase* run,
                 std::string& reason) override;
    void exportData_(HAXPExpRunBase*, HAXPLaunchOptions*, HDGUIStatus&) override {}
};

/// A run "r" of steps that a test names, an environment of its own whose search path is
/// one folder of programs, and the product "tarnel".
///
/// No message is expected.
class ScriptTest : public ::testing::Test {
protected:
    ScriptTest();
    void TearDown() override;

    /// Adds a step to the flow. All are added before the run is made.
    ScriptStep& addStep(const std::string& id, const std::string& program = "");
    /// The data manager of the flow; made at the first call.
    ScriptDataMgr& dataMgr();
    /// The run over the steps added; made at the first call.
    TestRun& run();
    HATOptGroup* options(const std::string& step);
    /// Sets an option of a step, of whatever kind, from its text.
    void set(const std::string& step, const std::string& option, const std::string& text);

    /// Makes an executable file in the folder of programs.
    void addProgram(const std::string& name, const std::string& text = "#!/bin/sh\n") const;
    std::string programs() const { return m_folder.path("programs"); }

    /// Its name has a blank and an ampersand in it.
    std::string runDir() const { return m_folder.path("a run & more"); }
    std::string pathOf(const std::string& file) const { return runDir() + "/" + file; }
    bool has(const std::string& file) const { return m_folder.has("a run & more/" + file); }
    std::string read(const std::string& file) const;
    void mark(const std::string& file, const std::string& content = "") const;
    /// The names in the run directory, sorted.
    std::vector<std::string> files() const;
    bool isExecutable(const std::string& file) const;
    /// The summaries of the messages so far, which are expected then.
    std::vector<std::string> takeMessages();

    /// What `file` of the case `name` has to hold.
    std::string golden(const std::string& name, const std::string& file) const;
    /// The wrapper `name` as it is shipped.
    static std::string wrapper(const std::string& name);
    /// A program that notes its name and each of its words in a line of "words".
    void addRecorder(const std::string& name, int status = 0) const;
    /// The lines that the programs noted.
    std::string words() const { return m_folder.has("words") ? m_folder.read("words") : ""; }
    /// Runs a script of the run directory by these words, the programs of this test ahead
    /// of the system's, and gives its status.
    int execute(const std::string& script, const std::vector<std::string>& shell) const;

    RunDir m_folder;
    TestInstallation m_installation;
    FakeEnvironment m_env;
    MessageRecorder m_messages;

private:
    std::unique_ptr<HAXPFlow> m_flow;
    ScriptDataMgr* m_dataMgr = nullptr;
    std::unique_ptr<TestRun> m_run;
};

}  // namespace test
