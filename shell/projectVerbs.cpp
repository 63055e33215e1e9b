// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include <cstdio>
#include <filesystem>

#include <CLI/App.hpp>
#include <fmt/format.h>

#include "shell/exitStatus.h"
#include "shell/note.h"
#include "shell/projectInputs.h"
#include "shell/verb.h"
#include "workbench/DesignInputs.h"
#include "workbench/Project.h"

namespace shell {

namespace {

class NewVerb final : public Verb {
public:
    void declare(CLI::App& command) override {
        command
            .add_option("dir", m_dir,
                        "Folder of the project, seen from that of -C; made if it isn't there")
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

    int run(const Session& session) override {
        // -C tells where the project is, as for every verb: files are those of the current folder.
        const std::filesystem::path dir = std::filesystem::path(session.projectDir) / m_dir;
        const std::string place = dir.lexically_normal().string();
        const auto project = makeProject(place, m_inputs);
        note("Project {} is made. Next: xp -C {} create synth_1 --flow synth", project->getName(),
             place);
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
        const auto project = Project::open(session.projectDir, Project::kChange);
        for (const AddedFile& file : addFiles(*project, m_files))
            note("{} is {}", file.path, becameText_(file.kind));
        return kExitDone;
    }

private:
    static const char* becameText_(AddedFile::Kind kind) {
        switch (kind) {
        case AddedFile::kConstraints:
            return "the constraints file now";
        case AddedFile::kKnown:
            return "in the project already";
        default:
            return "added";
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
