// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <sys/stat.h>

#include <CLI/App.hpp>
#include <CLI/Config.hpp>
#include <CLI/Formatter.hpp>
#include <fmt/format.h>

#include "environment/errors/HEXUserException.h"
#include "environment/files/HUTFileUtils.h"
#include "environment/messages/ComMsgMgr.h"
#include "environment/messages/ComMsgMgrInstance.h"
#include "environment/strings/HSTStringUtils.h"
#include "shell/exitStatus.h"
#include "shell/note.h"
#include "shell/verb.h"
#include "workbench/DesignInputs.h"
#include "workbench/Project.h"
#include "workbench/ice40/devices.h"
#include "workbench/ice40/stepFailure.h"

namespace shell {

namespace {

/// @throws HEXUserException `path` is no file that can be read.
void requireFile(const std::string& path) {
    struct stat info {};
    const char* reason = nullptr;
    if (stat(path.c_str(), &info) != 0)
        reason = std::strerror(errno);
    else if (!S_ISREG(info.st_mode))
        reason = "it is no file";
    if (reason != nullptr)
        throw HEXUserException(
            ComMsgMgrInstance("workbench", ComMsgMgr::kError, "@60-17@%s%s", path, reason));
}

/// @throws CommandError the tools don't know the device, or it hasn't the package.
void requireDevice(const DesignInputs& inputs) {
    try {
        const ice40::Device& device = ice40::findDevice(inputs.device);
        const std::string folder = ice40::defaultDatabaseFolder();
        // Without the databases the package is checked when a run starts.
        struct stat info {};
        if (stat((folder + "/" + device.database).c_str(), &info) == 0)
            ice40::findPackage(ice40::readPackages(device, folder), device, inputs.package);
    } catch (const ice40::StepFailure& failure) {
        throw CommandError(kExitRefused, failure.what());
    }
}

/// @throws CommandError the text isn't a number of MHz above 0.
void requireFrequency(const std::string& text) {
    char* end = nullptr;
    const double value = std::strtod(text.c_str(), &end);
    if (text.empty() || *end != '\0' || !(value > 0 && value < 10000))
        throw CommandError(
            kExitUsage,
            fmt::format("The frequency '{}' is no number of MHz. Say for example --freq 12.",
                        text));
}

bool isConstraints(const std::string& path) {
    const std::string tail = ".pcf";
    return path.size() > tail.size() &&
           HSTStringUtils::iequals(path.substr(path.size() - tail.size()), tail);
}

std::string absolute(const std::string& path) {
    std::string full = path;
    HUTFileUtils::makeAbsolutePath(full);
    return full;
}

class NewVerb final : public Verb {
public:
    void declare(CLI::App& command) override {
        command.add_option("dir", m_dir, "Folder of the project; made if it isn't there")
            ->required();
        command.add_option("--top", m_inputs.top, "Top module")->required();
        command.add_option("--source", m_inputs.sources, "Verilog files")->required();
        command.add_option("--constraints", m_inputs.constraints,
                           "Pin constraints (.pcf); without them the placer chooses the pins");
        command.add_option("--device", m_inputs.device, "Device")->capture_default_str();
        command.add_option("--package", m_inputs.package, "Package")->capture_default_str();
        command.add_option("--freq", m_inputs.frequencyMhz, "Goal of every clock, in MHz")
            ->capture_default_str();
        command.add_option("--define", m_inputs.defines, "Macro NAME or NAME=VALUE")
            ->allow_extra_args(false);
        command.add_option("--include", m_inputs.includeDirs, "Folder of included files")
            ->allow_extra_args(false);
    }

    int run(const Session&) override {
        for (const std::string& source : m_inputs.sources)
            requireFile(source);
        if (!m_inputs.constraints.empty())
            requireFile(m_inputs.constraints);
        requireDevice(m_inputs);
        requireFrequency(m_inputs.frequencyMhz);
        const auto project = Project::create(m_dir, m_inputs);
        note("Project {} is made. Next: xp -C {} create synth_1 --flow synth", project->getName(),
             m_dir);
        return kExitDone;
    }

private:
    std::string m_dir;
    DesignInputs m_inputs;
};

class AddVerb final : public Verb {
public:
    void declare(CLI::App& command) override {
        command.add_option("files", m_files, "Verilog files; a .pcf file becomes the constraints")
            ->required();
    }

    int run(const Session& session) override {
        for (const std::string& file : m_files)
            requireFile(file);
        const auto project = Project::open(session.projectDir, Project::kChange);
        DesignInputs inputs = project->getInputs();
        for (const std::string& file : m_files)
            add_(absolute(file), inputs);
        project->setInputs(inputs);
        project->save();
        return kExitDone;
    }

private:
    static void add_(const std::string& path, DesignInputs& inputs) {
        auto& sources = inputs.sources;
        if (isConstraints(path)) {
            inputs.constraints = path;
            note("{} is the constraints file now", path);
        } else if (std::find(sources.begin(), sources.end(), path) != sources.end()) {
            note("{} is in the project already", path);
        } else {
            sources.push_back(path);
            note("{} is added", path);
        }
    }

    std::vector<std::string> m_files;
};

}  // namespace

std::unique_ptr<Verb> makeNewVerb() {
    return std::make_unique<NewVerb>();
}

std::unique_ptr<Verb> makeAddVerb() {
    return std::make_unique<AddVerb>();
}

}  // namespace shell
