// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include <fmt/format.h>
#include <nlohmann/json.hpp>
#include <tcl.h>

#include "shell/allChecks.h"
#include "shell/interrupt.h"
#include "shell/page/writePage.h"
#include "shell/projectInputs.h"
#include "shell/runDetails.h"
#include "shell/serve/pageServer.h"
#include "shell/tcl/tclAction.h"
#include "shell/tcl/tclError.h"
#include "shell/tcl/tclValue.h"
#include "workbench/DesignInputs.h"
#include "workbench/Project.h"

namespace shell::tcl {

namespace {

/// The project that a word names, or the current one without the word.
OpenProject& chosenProject(const Call& call) {
    return call.count() == 0 ? call.session().current() : call.session().get(call.word(0));
}

Tcl_Obj* folderValue(const OpenProject& open) {
    return newText(open.project->getDir());
}

Tcl_Obj* newProject(Call& call) {
    DesignInputs inputs;
    inputs.top = call.required("-top");
    call.required("-sources");
    inputs.sources = call.list("-sources");
    inputs.constraints = call.text("-constraints");
    inputs.device = call.text("-device", inputs.device);
    inputs.package = call.text("-package", inputs.package);
    inputs.frequencyMhz = call.text("-freq", inputs.frequencyMhz);
    inputs.defines = call.list("-defines");
    inputs.includeDirs = call.list("-includes");
    return folderValue(call.session().add(makeProject(call.word(0), inputs), false));
}

Tcl_Obj* openProject(Call& call) {
    const std::string dir = call.count() == 0 ? call.session().directory() : call.word(0);
    const bool isReadOnly = call.flag("-readonly");
    // Where the next project is: the library looks in the folders above, too.
    const std::string found = Project::open(dir, Project::kRead)->getDir();
    TclSession::requireNotOpen(found);
    return folderValue(call.session().add(
        Project::open(found, isReadOnly ? Project::kRead : Project::kChange), isReadOnly));
}

Tcl_Obj* closeProject(Call& call) {
    call.session().close(chosenProject(call));
    return Tcl_NewObj();
}

Tcl_Obj* currentProject(Call& call) {
    OpenProject& project = chosenProject(call);
    call.session().makeCurrent(project);
    return folderValue(project);
}

Tcl_Obj* listProjects(Call& call) {
    std::vector<std::string> dirs;
    for (const OpenProject* each : call.session().projects())
        dirs.push_back(each->project->getDir());
    return newList(dirs);
}

Tcl_Obj* describeProject(Call& call) {
    const OpenProject& open = chosenProject(call);
    nlohmann::json json = projectJson(*open.project);
    json["readonly"] = open.isReadOnly;
    json["address"] = open.server ? nlohmann::json(open.server->getAddress()) : nlohmann::json();
    return newValue(json);
}

Tcl_Obj* addSources(Call& call) {
    OpenProject& open = changeable(call.session().current());
    std::vector<std::string> paths;
    for (const AddedFile& file : addFiles(*open.project, call.textsFrom(0))) {
        if (file.kind != AddedFile::kKnown)
            paths.push_back(file.path);
    }
    return newList(paths);
}

/// The runs of the words, of the project that is current without any.
std::vector<HAXPExpRun*> runsToShow(const Call& call, OpenProject*& open) {
    std::vector<HAXPExpRun*> runs = call.session().runs(call.words(), open);
    TclSession::refresh(runs);
    return runs;
}

Tcl_Obj* writeHtml(Call& call) {
    OpenProject* open = nullptr;
    const std::vector<HAXPExpRun*> runs = runsToShow(call, open);
    if (call.flag("-data"))
        return newValue(nlohmann::json::parse(writtenPageData(*open->project, runs)));
    return newText(writePage(*open->project, runs, call.text("-file")));
}

Tcl_Obj* servePage(Call& call) {
    OpenProject* open = nullptr;
    call.session().runs(call.words(), open);
    const std::string& dir = open->project->getDir();
    if (open->server)
        fail(Code::kServeActive, {dir},
             fmt::format("The page of {} is served already, at {}. Stop that first with: project "
                         "unserve",
                         dir, open->server->getAddress()));
    call.session().serve(*open, call.textsFrom(0),
                         static_cast<int>(call.integer("-port", 1, 65535, 0)));
    return newText(open->server->getAddress());
}

Tcl_Obj* unservePage(Call& call) {
    chosenProject(call).server.reset();
    return Tcl_NewObj();
}

Tcl_Obj* checkHost(Call& call) {
    CheckRequest request;
    if (call.count() > 0)
        request.dir = call.word(0);
    else if (call.session().projects().empty())
        request.dir = call.session().directory();
    else
        request.dir = call.session().current().project->getDir();
    if (call.has("-sge") && call.has("-lsf"))
        fail(Code::kUsage, {}, "Either -sge or -lsf, not both.");
    request.sgeCommand = call.text("-sge");
    request.lsfCommand = call.text("-lsf");
    request.limitSec = call.integer("-wait", 1, 86400, request.limitSec);
    const Interrupt interrupt;
    const std::vector<Check> checks = checkAll(request, interrupt);
    if (interrupt.pause(0))
        fail(Code::kUsage, {}, "Interrupted.");
    return newValue(checksJson(checks));
}

}  // namespace

const Ensemble& projectEnsemble() {
    static const Ensemble ensemble{
        "project",
        "make, open and close projects",
        {
            {"new",
             "DIR",
             "makes a project and opens it; gives its folder",
             1,
             1,
             {{"-top", "MODULE", "top module; needed"},
              {"-sources", "LIST", "Verilog files; needed"},
              {"-constraints", "FILE", "pin constraints (.pcf)"},
              {"-device", "NAME", "device; hx8k if unsaid"},
              {"-package", "NAME", "package; ct256 if unsaid"},
              {"-freq", "MHZ", "goal of every clock; 12 if unsaid"},
              {"-defines", "LIST", "macros NAME or NAME=VALUE"},
              {"-includes", "LIST", "folders of included files"}},
             newProject},
            {"open",
             "?DIR?",
             "opens the project in DIR or a folder above, and makes it the current one",
             0,
             1,
             {{"-readonly", "BOOL", "look only: others may change it meanwhile"}},
             openProject},
            {"close",
             "?DIR?",
             "closes a project; handles on its runs are invalid then",
             0,
             1,
             {},
             closeProject},
            {"current",
             "?DIR?",
             "gives the current project, or makes one of those open current",
             0,
             1,
             {},
             currentProject},
            {"list", "", "the folders of all projects that are open", 0, 0, {}, listProjects},
            {"info", "?DIR?", "a dict: sources, device, goal, runs", 0, 1, {}, describeProject},
            {"add",
             "FILE ?FILE ...?",
             "adds Verilog sources, or a .pcf file as the constraints; gives what is new",
             1,
             -1,
             {},
             addSources},
            {"html",
             "?RUN ...?",
             "writes the page of the project, or of some of its runs, in one file; gives its path",
             0,
             -1,
             {{"-file", "FILE", "where to write it; xperiment.html in the project if unsaid"},
              {"-data", "BOOL", "give the data of the page as a dict instead"}},
             writeHtml},
            {"serve",
             "?RUN ...?",
             "shows the same page live on this host alone, while the event loop runs, until "
             "project unserve; gives its address",
             0,
             -1,
             {{"-port", "N", "the port; any free one if unsaid"}},
             servePage},
            {"unserve", "?DIR?", "ends what project serve began", 0, 1, {}, unservePage},
            {"doctor",
             "?DIR?",
             "a dict: whether tools, folder, Tcl, page and grid are fit, and what to do",
             0,
             1,
             {{"-sge", "COMMAND", "try the grid with this submit command, such as {qsub -q all.q}"},
              {"-lsf", "COMMAND", "the same for LSF"},
              {"-wait", "SECONDS", "how long to wait for the grid's job; 120 if unsaid"}},
             checkHost},
        }};
    return ensemble;
}

}  // namespace shell::tcl
