// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include <CLI/App.hpp>
#include <CLI/Config.hpp>
#include <CLI/Formatter.hpp>
#include <fmt/format.h>

#include "environment/files/HUTFileUtils.h"
#include "shell/exitStatus.h"
#include "shell/page/pageData.h"
#include "shell/page/pageFile.h"
#include "shell/runPlan.h"
#include "shell/runView.h"
#include "shell/verb.h"
#include "workbench/Project.h"

namespace shell {

namespace {

/// The page of the project, beside its project file.
const char kPageName[] = "xperiment.html";

class HtmlVerb final : public Verb {
public:
    void declare(CLI::App& command) override {
        command.add_option("runs", m_names,
                           "Names of runs, families or sweeps; all of the project if unsaid");
        command.add_option(
            "-o,--output", m_output,
            fmt::format("Where to write it; {} in the project if unsaid", kPageName));
        command.add_flag("--data", m_wantsData,
                         "For scripts: print the page's data as JSON instead");
    }

    int run(const Session& session) override {
        const auto project = Project::open(session.projectDir, Project::kRead);
        PageRequest request;
        request.runs = chosenRuns(*project, m_names);
        lookForLife(request.runs);
        if (m_wantsData) {
            fmt::print("{}\n", pageData(*project, request));
            return kExitDone;
        }
        std::string path = m_output.empty() ? project->getDir() + "/" + kPageName : m_output;
        HUTFileUtils::makeAbsolutePath(path);
        HUTFileUtils::replaceFile(path, pageWith(pageTemplate(), pageData(*project, request)));
        fmt::print("{}\n", path);
        return kExitDone;
    }

private:
    std::vector<std::string> m_names;
    std::string m_output;
    bool m_wantsData = false;
};

}  // namespace

std::unique_ptr<Verb> makeHtmlVerb() {
    return std::make_unique<HtmlVerb>();
}

}  // namespace shell
