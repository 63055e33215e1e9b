// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "tests/unit/runs/xperiment/ScriptFixture.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <utility>

#include "environment/options/HATAttrSpec.h"
#include "environment/options/HATOptGroup.h"
#include "environment/options/HATOptGroupSpec.h"
#include "environment/process/HUTFork.h"
#include "runs/base/xperiment/HAXPExpRunStep.h"

namespace fs = std::filesystem;

namespace test {

namespace {

const char* const kGoldens = XPERIMENT_SOURCE_DIR "/tests/golden/scripts/";
const char* const kWrappers = XPERIMENT_SOURCE_DIR "/data/scripts/";

std::string wholeFile(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    EXPECT_TRUE(file) << path;
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

std::string replaced(std::string text, const std::string& word, const std::string& value) {
    for (auto at = text.find(word); at != std::string::npos; at = text.find(word, at))
        text.replace(at, word.size(), value);
    return text;
}

HATAttrSpec& addOption(HATOptGroupSpec* group, HATAttrTypes::AttrType type, const std::string& name,
                       const std::string& invokeText) {
    auto spec = std::make_unique<HATAttrSpec>(type, HATAttrSpec::kOption);
    spec->setName(name);
    group->registerAttrSpec(spec.get(), name, invokeText);
    return *spec.release();
}

}  // namespace

ScriptStep::ScriptStep(const std::string& id, const std::string& program)
    : HAXPFlowStep(id, id, program.empty() ? id : program, id, "") {
    canDisable(true);
}

void ScriptStep::configOptions_(HATOptGroupSpec* optionsSpec) {
    addOption(optionsSpec, HATAttrTypes::kBool, "flag", "-flag");
    addOption(optionsSpec, HATAttrTypes::kInt, "level", "-level").setIntDefault(3);
    addOption(optionsSpec, HATAttrTypes::kString, "part", "-part");
    addOption(optionsSpec, HATAttrTypes::kStringList, "define", "-D").setAlwaysWrite(true);
    HATAttrSpec& effort = addOption(optionsSpec, HATAttrTypes::kEnum, "effort", "-effort");
    effort.addEnumRange("0", "low", "Little effort");
    effort.addEnumRange("1", "high", "Much effort");
    effort.setEnumDefault("low");
    addOption(optionsSpec, HATAttrTypes::kFile, "in", "-in");
    addOption(optionsSpec, HATAttrTypes::kFile, "out", "-out");
    addOption(optionsSpec, HATAttrTypes::kFile, "source", "");
}

void ScriptStep::writePrePostOpts_(std::string& preText, std::string& postText, HATOptGroup*,
                                   HAXPExpRunBase*) const {
    if (onPrePost)
        onPrePost();
    preText += pre;
    postText += post;
}

void ScriptDataMgr::scriptPreCmds_(HAXPExpRunBase*, std::string& jsCmds, std::string& shCmds,
                                   std::string& htrCmds) {
    if (onPre)
        onPre();
    jsCmds = jsPre;
    shCmds = shPre;
    htrCmds = htrPre;
}

void ScriptDataMgr::scriptPostCmds_(HAXPExpRunBase*, std::string& jsCmds, std::string& shCmds) {
    if (onPost)
        onPost();
    jsCmds = jsPost;
    shCmds = shPost;
}

bool ScriptDataMgr::filter_(const HATAttrSpec* spec, const HATOptGroup*, const HAXPExpRunBase*,
                            std::string& reason) {
    asked.push_back(spec->getName());
    reason = "it doesn't apply";
    return std::find(filtered.begin(), filtered.end(), spec->getName()) != filtered.end();
}

ScriptTest::ScriptTest() : m_flow(std::make_unique<HAXPFlow>("Flow", "1", "flow")) {
    m_folder.folder("programs");
    m_folder.folder("a run & more");
    m_env.set("PATH", programs());
    m_env.set("KPX_BINROOT", "/opt/tarnel/bin");
}

void ScriptTest::TearDown() {
    EXPECT_EQ(m_messages.summaries(), std::vector<std::string>());
}

ScriptStep& ScriptTest::addStep(const std::string& id, const std::string& program) {
    if (m_run != nullptr)
        throw std::logic_error("the run stands already");
    auto step = std::make_unique<ScriptStep>(id, program);
    addProgram(step->getInvokeStr());
    m_flow->addDefaultFlowStep(step.get());
    return *step.release();
}

ScriptDataMgr& ScriptTest::dataMgr() {
    if (m_dataMgr == nullptr) {
        auto dataMgr = std::make_unique<ScriptDataMgr>();
        m_flow->setDataMgr(dataMgr.get());
        m_dataMgr = dataMgr.release();
    }
    return *m_dataMgr;
}

TestRun& ScriptTest::run() {
    if (m_run == nullptr) {
        m_run = std::make_unique<TestRun>("r", m_flow.get());
        m_run->setRunDir(runDir(), false);
    }
    return *m_run;
}

HATOptGroup* ScriptTest::options(const std::string& step) {
    return run().step(step)->getOptions();
}

void ScriptTest::set(const std::string& step, const std::string& option, const std::string& text) {
    HATOptGroup* group = options(step);
    const HATAttrSpec* spec = group->getAttrSpecByName(option);
    if (spec == nullptr)
        throw std::logic_error("no option " + option);
    if (spec->getAttrType() == HATAttrTypes::kBool)
        group->setBoolVal(spec, text == "true", true);
    else if (spec->getAttrType() == HATAttrTypes::kInt)
        group->setIntVal(spec, std::stoi(text), true);
    else if (!group->setStrVal(spec, text, true))
        throw std::logic_error("the option " + option + " can't hold " + text);
}

void ScriptTest::addProgram(const std::string& name, const std::string& text) const {
    m_folder.mark("programs/" + name, text);
    fs::permissions(programs() + "/" + name, fs::perms(0755));
}

std::string ScriptTest::read(const std::string& file) const {
    return m_folder.read("a run & more/" + file);
}

std::vector<std::string> ScriptTest::files() const {
    std::vector<std::string> names;
    for (const fs::directory_entry& entry : fs::directory_iterator(runDir()))
        names.push_back(entry.path().filename());
    std::sort(names.begin(), names.end());
    return names;
}

bool ScriptTest::isExecutable(const std::string& file) const {
    return (fs::status(pathOf(file)).permissions() & fs::perms(0111)) != fs::perms::none;
}

std::vector<std::string> ScriptTest::takeMessages() {
    std::vector<std::string> summaries = m_messages.summaries();
    m_messages.clear();
    return summaries;
}

std::string ScriptTest::golden(const std::string& name, const std::string& file) const {
    return replaced(wholeFile(kGoldens + name + "/" + file), "@RUNDIR@", runDir());
}

std::string ScriptTest::wrapper(const std::string& name) {
    return wholeFile(kWrappers + name);
}

void ScriptTest::addRecorder(const std::string& name, int status) const {
    addProgram(name, "#!/bin/sh\n{ printf '%s' '" + name +
                         "'; for word; do printf '[%s]' \"$word\"; done; echo; } >> '" +
                         m_folder.path("words") + "'\nexit " + std::to_string(status) + "\n");
}

int ScriptTest::execute(const std::string& script, const std::vector<std::string>& shell) const {
    HUTFork fork;
    for (const std::string& word : shell)
        fork.addArg(word);
    fork.addArg(pathOf(script));
    fork.setEnvVar("PATH", programs() + ":/usr/bin:/bin");
    fork.setEnvVar("LD_LIBRARY_PATH", "");
    fork.setEnvVar("XPERIMENT_SKIP_STEPS", "");
    fork.setWorkingDir("/");
    return fork.launch(true, false, false, true);
}

void ScriptTest::mark(const std::string& file, const std::string& content) const {
    m_folder.mark("a run & more/" + file, content);
}

}  // namespace test
