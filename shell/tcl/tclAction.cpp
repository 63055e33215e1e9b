// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "shell/tcl/tclAction.h"

#include <fmt/format.h>
#include <tcl.h>

#include "environment/tcl/native_cache.h"
#include "runs/base/xperiment/HAXPExpRunBase.h"
#include "shell/strategyNames.h"
#include "shell/tcl/tclError.h"
#include "workbench/HAXPExpRun.h"
#include "workbench/Project.h"

namespace shell::tcl {

Tcl_Obj* handleOf(HAXPExpRun& run) {
    return mqi::tcltasks::native_cache<HAXPExpRunBase*>::get_obj(&run, run.getName());
}

Tcl_Obj* handlesOf(const std::vector<HAXPExpRun*>& runs) {
    Tcl_Obj* list = Tcl_NewListObj(0, nullptr);
    for (HAXPExpRun* run : runs)
        Tcl_ListObjAppendElement(nullptr, list, handleOf(*run));
    return list;
}

OpenProject& changeable(OpenProject& project) {
    if (project.isReadOnly) {
        const std::string& dir = project.project->getDir();
        fail(Code::kProjectReadOnly, {dir},
             fmt::format("The project in {} is open for reading only. Close it, and open it "
                         "without -readonly.",
                         dir));
    }
    return project;
}

RunOfProject changeableRun(Call& call, std::size_t word) {
    const RunOfProject found = call.session().run(call.words().at(word));
    changeable(*found.project);
    return found;
}

const HAXPFlow& flowNamed(const std::string& word) {
    const HAXPFlow* flow = findFlow(word);
    if (flow == nullptr)
        fail(Code::kFlowNotFound, {word},
             fmt::format("There is no flow '{}'. It is one of synth, impl.", word));
    return *flow;
}

std::vector<Setting> settingsOf(const Call& call, std::size_t first) {
    std::vector<Setting> settings;
    const std::vector<std::string> words = call.textsFrom(first);
    for (std::size_t i = 0; i + 1 < words.size(); i += 2)
        settings.push_back({words[i], words[i + 1]});
    return settings;
}

std::vector<Setting> settingsOf(const Call& call, const char* option) {
    std::vector<Setting> settings;
    for (const auto& [name, value] : call.dict(option))
        settings.push_back({name, value});
    return settings;
}

}  // namespace shell::tcl
