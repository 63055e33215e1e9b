// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include <cstdio>

#include <CLI/App.hpp>
#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "shell/bestFamily.h"
#include "shell/bestRun.h"
#include "shell/bestView.h"
#include "shell/comparedRuns.h"
#include "shell/familyOptions.h"
#include "shell/familyView.h"
#include "shell/jsonOutput.h"
#include "shell/verb.h"
#include "workbench/Project.h"
#include "workbench/printable.h"

namespace shell {

namespace {

class BestVerb final : public Verb {
public:
    void declare(CLI::App& command) override {
        command.add_option("runs", m_names,
                           "Names of runs, families or sweeps; all implementations if unsaid");
        command
            .add_option("--by", m_by,
                        "METRIC [max|min] [TOLERANCE]: what decides, such as 'fmax max 1%'")
            ->capture_default_str();
        command
            .add_option("--then", m_then, "The same for those that are as good; may be repeated")
            ->allow_extra_args(false);
        command
            .add_option("--require", m_require,
                        "What must hold, such as 'slack >= 0'; may be repeated")
            ->allow_extra_args(false);
        command.add_flag("--families", m_wantsFamilies,
                         "Choose the best family by its medians, and say whether it really is");
        m_families.declare(command);
        addJsonFlag(command, m_json);
    }

    int run(const Session& session) override {
        const auto project = Project::open(session.projectDir, Project::kRead);
        const std::vector<ComparedRun> runs = comparedRuns(
            *project, runsToCompare(*project, m_names), FigureSource::kReportsAndSteps);
        std::vector<std::string> rules{m_by};
        rules.insert(rules.end(), m_then.begin(), m_then.end());
        if (!m_wantsFamilies)
            return show_(chooseBy(runs, m_require, rules));
        const std::vector<ComparedFamily> families = familiesOf(runs);
        return show_(chooseFamily(families, m_require, rules, m_families.question()));
    }

private:
    int show_(const Choice& choice) const {
        if (m_json)
            printJson(choiceJson(choice));
        else
            printLines_(choice);
        return exitStatusOf(choice);
    }

    int show_(const FamilyChoice& chosen) const {
        if (m_json) {
            printJson(familyChoiceJson(chosen));
            return exitStatusOf(chosen.choice);
        }
        printLines_(chosen.choice);
        for (const FamilyPair& pair : chosen.pairs) {
            for (const FamilyRow& row : pair.rows)
                fmt::print("{}\n", verdictLine(pair, row));
        }
        return exitStatusOf(chosen.choice);
    }

    static void printLines_(const Choice& choice) {
        for (const std::string& line : choiceLines(choice))
            fmt::print("{}\n", workbench::printable(line));
    }

    std::vector<std::string> m_names;
    std::string m_by = "fmax max";
    std::vector<std::string> m_then;
    std::vector<std::string> m_require;
    FamilyOptions m_families;
    bool m_wantsFamilies = false;
    bool m_json = false;
};

}  // namespace

std::unique_ptr<Verb> makeBestVerb() {
    return std::make_unique<BestVerb>();
}

}  // namespace shell
