// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include <cstdio>
#include <optional>

#include <CLI/App.hpp>
#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "runs/base/xperiment/HAXPFlow.h"
#include "runs/base/xperiment/HAXPStrategy.h"
#include "runs/base/xpreport/HAXRReportStrategy.h"
#include "shell/exitStatus.h"
#include "shell/jsonOutput.h"
#include "shell/note.h"
#include "shell/reportStrategyActions.h"
#include "shell/runView.h"
#include "shell/setting.h"
#include "shell/strategyActions.h"
#include "shell/strategyKinds.h"
#include "shell/strategyNames.h"
#include "shell/textTable.h"
#include "shell/verb.h"
#include "workbench/entryRules.h"
#include "workbench/printable.h"
#include "workbench/strategies.h"

namespace shell {

namespace {

using workbench::printable;

template <class Strategy> std::string shownName(const Strategy& strategy) {
    return printable(fullName(strategy));
}

std::string ownerWord(bool isShipped) {
    return isShipped ? "shipped" : "yours";
}

template <class Kind> class StrategyListVerb final : public Verb {
public:
    void declare(CLI::App& command) override {
        command.add_option("--flow", m_flow, "synth or impl; both if unsaid");
        addJsonFlag(command, m_json);
    }

    int run(const Session&) override {
        nlohmann::json all = nlohmann::json::array();
        TextTable table({{"Flow"}, {Kind::kTitle}, {"Whose"}, {Kind::kContents}, {"What it is"}});
        for (const HAXPFlow* flow : allFlows()) {
            if (!m_flow.empty() && &flowOf(m_flow) != flow)
                continue;
            for (const auto* strategy : Kind::all(*flow)) {
                table.addRow({flowWord(*flow), strategy->getName(),
                              ownerWord(!strategy->isUserDefined()), Kind::summary(*strategy),
                              strategy->getDescription()});
                all.push_back(strategyJson<Kind>(*strategy, false));
            }
        }
        if (m_json)
            printJson(all);
        else
            fmt::print("{}", table.text());
        return kExitDone;
    }

private:
    std::string m_flow;
    bool m_json = false;
};

template <class Kind> class StrategyShowVerb final : public Verb {
public:
    void declare(CLI::App& command) override {
        command.add_option("strategy", m_name, "NAME, or FLOW/NAME")->required();
        addJsonFlag(command, m_json);
    }

    int run(const Session&) override {
        const typename Kind::Strategy& strategy = chosenStrategy<Kind>(m_name);
        if (m_json) {
            printJson(strategyJson<Kind>(strategy, true));
            return kExitDone;
        }
        fmt::print("Name         {}\nWhose        {}\nFile         {}\nDescription  {}\n\n",
                   shownName(strategy), ownerWord(!strategy.isUserDefined()),
                   printable(strategy.getFilename()), shown_(strategy.getDescription()));
        const Rows rows = Kind::rows(strategy);
        std::vector<TextTable::Column> columns;
        for (const std::string& title : rows.titles)
            columns.push_back({title});
        TextTable table(columns);
        for (const auto& row : rows.rows)
            table.addRow(row);
        fmt::print("{}\n* differs from the default\n", table.text());
        return kExitDone;
    }

private:
    static std::string shown_(const std::string& text) {
        return text.empty() ? "-" : printable(text);
    }

    std::string m_name;
    bool m_json = false;
};

/// What create, copy and set have in common: a description and settings.
class Wishes {
public:
    void declare(CLI::App& command, const char* settings) {
        m_describe = command.add_option("--description", m_description,
                                        "One line that says "
                                        "what it is for");
        command
            .add_option(settings, m_settings,
                        "step.option=value, or step.report.option=value; may be repeated")
            ->allow_extra_args(settings[0] != '-');
    }

    StrategyWishes read() const {
        StrategyWishes wishes;
        wishes.settings = readSettings(m_settings);
        if (m_describe->count() > 0)
            wishes.description = m_description;
        return wishes;
    }

private:
    CLI::Option* m_describe = nullptr;
    std::string m_description;
    std::vector<std::string> m_settings;
};

template <class Kind> void tellMade(const typename Kind::Strategy& made) {
    sayNote(fmt::format("{} {} is made: {}", Kind::kTitle, shownName(made),
                        printable(made.getFilename())));
}

template <class Kind> class StrategyCreateVerb final : public Verb {
public:
    void declare(CLI::App& command) override {
        command.add_option("name", m_name, "Name of the new one")->required();
        command.add_option("--flow", m_flow, "synth or impl")->required();
        m_wishes.declare(command, "--set");
    }

    int run(const Session&) override {
        tellMade<Kind>(createStrategy<Kind>(m_name, flowOf(m_flow), m_wishes.read()));
        return kExitDone;
    }

private:
    std::string m_name;
    std::string m_flow;
    Wishes m_wishes;
};

template <class Kind> class StrategyCopyVerb final : public Verb {
public:
    void declare(CLI::App& command) override {
        command.add_option("strategy", m_source, "NAME, or FLOW/NAME")->required();
        command.add_option("name", m_name, "Name of the copy")->required();
        m_wishes.declare(command, "--set");
    }

    int run(const Session&) override {
        tellMade<Kind>(copyStrategy<Kind>(m_source, m_name, m_wishes.read()));
        return kExitDone;
    }

private:
    std::string m_source;
    std::string m_name;
    Wishes m_wishes;
};

template <class Kind> class StrategyRenameVerb final : public Verb {
public:
    void declare(CLI::App& command) override {
        command.add_option("strategy", m_old, "NAME, or FLOW/NAME")->required();
        command.add_option("name", m_name, "New name")->required();
    }

    int run(const Session&) override {
        const auto& strategy = renameStrategy<Kind>(m_old, m_name);
        sayNote(fmt::format("{} {} is {} now: {}", Kind::kTitle,
                            printable(flowWord(*strategy.getFlow()) + "/" + oldName_()),
                            shownName(strategy), printable(strategy.getFilename())));
        return kExitDone;
    }

private:
    std::string oldName_() const {
        const StrategyReference reference = readReference(m_old);
        return reference.flow == nullptr ? m_old : reference.name;
    }

    std::string m_old;
    std::string m_name;
};

template <class Kind> class StrategyDeleteVerb final : public Verb {
public:
    void declare(CLI::App& command) override {
        command.add_option("strategies", m_names, "NAME, or FLOW/NAME")->required();
    }

    int run(const Session&) override {
        deleteStrategies<Kind>(m_names, [](const DeletedStrategy& deleted) {
            sayNote(fmt::format("{} {} is deleted, with its file {}", Kind::kTitle,
                                printable(deleted.fullName), printable(deleted.file)));
        });
        return kExitDone;
    }

private:
    std::vector<std::string> m_names;
};

template <class Kind> class StrategySetVerb final : public Verb {
public:
    void declare(CLI::App& command) override {
        command.add_option("strategy", m_name, "NAME, or FLOW/NAME")->required();
        m_wishes.declare(command, "settings");
    }

    int run(const Session&) override {
        const StrategyWishes wishes = m_wishes.read();
        if (wishes.isEmpty())
            throw CommandError(kExitUsage, "There is nothing to set. Say step.option=value, or "
                                           "--description.");
        changeStrategy<Kind>(m_name, wishes);
        return kExitDone;
    }

private:
    std::string m_name;
    Wishes m_wishes;
};

template <class Kind> class StrategyCompareVerb final : public Verb {
public:
    void declare(CLI::App& command) override {
        command.add_option("first", m_first, "NAME, or FLOW/NAME")->required();
        command.add_option("second", m_second, "NAME, or FLOW/NAME")->required();
        addJsonFlag(command, m_json);
    }

    int run(const Session&) override {
        const auto [first, second] = chosenPair<Kind>(m_first, m_second);
        if (first->getFlow() != second->getFlow())
            throw CommandError(kExitRefused,
                               fmt::format("{} and {} are of different flows and have no options "
                                           "in common. Choose two of one flow.",
                                           fullName(*first), fullName(*second)));
        const std::vector<Difference> found = Kind::differences(*first, *second);
        if (m_json)
            printJson(json_(found, fullName(*first), fullName(*second)));
        else if (found.empty())
            sayNote(fmt::format("{} and {} don't differ", shownName(*first), shownName(*second)));
        else
            fmt::print("{}", table_(found, first->getName(), second->getName()));
        return kExitDone;
    }

private:
    static nlohmann::json json_(const std::vector<Difference>& found, const std::string& first,
                                const std::string& second) {
        nlohmann::json rows = nlohmann::json::array();
        for (const Difference& row : found)
            rows.push_back({{"step", row.step},
                            {"option", row.name},
                            {"first", row.first},
                            {"second", row.second}});
        return {{"first", first}, {"second", second}, {"differences", rows}};
    }

    static std::string table_(const std::vector<Difference>& found, const std::string& first,
                              const std::string& second) {
        TextTable table({{"Step"}, {"Option"}, {printable(first)}, {printable(second)}});
        for (const Difference& row : found)
            table.addRow({row.step, row.name, row.first, row.second});
        return table.text();
    }

    std::string m_first;
    std::string m_second;
    bool m_json = false;
};

template <class Kind> class StrategyExportVerb final : public Verb {
public:
    void declare(CLI::App& command) override {
        command.add_option("strategy", m_name, "NAME, or FLOW/NAME")->required();
        command.add_option("file", m_file, "File to write, as a rule NAME.psg")->required();
        command.add_flag("--force", m_force, "Replace a file that is there");
    }

    int run(const Session&) override {
        typename Kind::Strategy& strategy = chosenStrategy<Kind>(m_name);
        Kind::write(strategy, m_file, m_force);
        sayNote(fmt::format("{} {} is written to {}", Kind::kTitle, shownName(strategy),
                            printable(m_file)));
        return kExitDone;
    }

private:
    std::string m_name;
    std::string m_file;
    bool m_force = false;
};

template <class Kind> class StrategyImportVerb final : public Verb {
public:
    void declare(CLI::App& command) override {
        command.add_option("file", m_file, "File to read")->required();
        m_as = command.add_option("--as", m_name, "Another name than that in the file");
    }

    int run(const Session&) override {
        std::optional<std::string> as;
        if (m_as->count() > 0)
            as = m_name;
        for (const auto* made : importStrategies<Kind>(m_file, as))
            tellMade<Kind>(*made);
        return kExitDone;
    }

private:
    std::string m_file;
    std::string m_name;
    CLI::Option* m_as = nullptr;
};

/// Where a report stands.
struct ReportPlace {
    std::string strategy;
    std::string step;
    std::string report;

    void declare(CLI::App& command, const char* whatReport) {
        command.add_option("strategy", strategy, "NAME, or FLOW/NAME")->required();
        command.add_option("step", step, "Step of its flow")->required();
        command.add_option("report", report, whatReport)->required();
    }
};

class AddReportVerb final : public Verb {
public:
    void declare(CLI::App& command) override {
        m_place.declare(command, "Report of the catalogue");
        command.add_option("settings", m_settings, "option=value");
        command.add_option("--version", m_version, "Its version; the latest if unsaid");
        command.add_option("--name", m_displayName, "What it is shown as");
    }

    int run(const Session&) override {
        const AddedReport added =
            addStrategyReport(m_place.strategy, {m_place.step, m_place.report, m_version,
                                                 m_displayName, readSettings(m_settings)});
        sayNote(fmt::format("{} of {} is in {}", printable(added.name), m_place.step,
                            shownName(*added.strategy)));
        return kExitDone;
    }

private:
    ReportPlace m_place;
    std::vector<std::string> m_settings;
    std::string m_version;
    std::string m_displayName;
};

class RemoveReportVerb final : public Verb {
public:
    void declare(CLI::App& command) override {
        m_place.declare(command, "Report of the step; the second one of a name is NAME#2");
    }

    int run(const Session&) override {
        const HAXRReportStrategy& strategy =
            removeStrategyReport(m_place.strategy, m_place.step, m_place.report);
        sayNote(fmt::format("{} of {} is removed from {}", printable(m_place.report), m_place.step,
                            shownName(strategy)));
        return kExitDone;
    }

private:
    ReportPlace m_place;
};

}  // namespace

const std::vector<VerbEntry>& reportStrategyVerbs() {
    using Kind = ReportStrategyKind;
    static const std::vector<VerbEntry> all{
        {"list", "list the report strategies: those that come with xp, and yours",
         "xp reportstrategy list\nxp reportstrategy list --flow impl --json",
         makeVerb<StrategyListVerb<Kind>>},
        {"show", "show the reports of a report strategy and their options",
         "xp reportstrategy show Daily\nxp reportstrategy show Daily --json",
         makeVerb<StrategyShowVerb<Kind>>},
        {"create", "make a report strategy without reports",
         "xp reportstrategy create Daily --flow impl --description 'What I look at each day'",
         makeVerb<StrategyCreateVerb<Kind>>},
        {"copy", "make a report strategy from another one",
         "xp reportstrategy copy 'Tarnel Implementation Default Reports' Daily",
         makeVerb<StrategyCopyVerb<Kind>>},
        {"rename", "give a report strategy of yours another name",
         "xp reportstrategy rename Daily Weekly", makeVerb<StrategyRenameVerb<Kind>>},
        {"delete", "delete report strategies of yours, with their files",
         "xp reportstrategy delete Daily", makeVerb<StrategyDeleteVerb<Kind>>},
        {"add", "add a report to a step",
         "xp reportstrategy add Daily route_design report_timing max_paths=20\n"
         "xp reportstrategy add Daily route_design report_timing --name 'Worst path'",
         makeVerb<AddReportVerb>},
        {"remove", "remove a report from a step",
         "xp reportstrategy remove Daily route_design report_timing\n"
         "xp reportstrategy remove Daily route_design report_timing#2",
         makeVerb<RemoveReportVerb>},
        {"set", "change options of the reports of a report strategy of yours",
         "xp reportstrategy set Daily route_design.report_timing.max_paths=10",
         makeVerb<StrategySetVerb<Kind>>},
        {"compare", "show the reports and options in which two report strategies differ",
         "xp reportstrategy compare Daily Weekly\nxp reportstrategy compare Daily Weekly --json",
         makeVerb<StrategyCompareVerb<Kind>>},
        {"export", "write a report strategy into a file, for others",
         "xp reportstrategy export Daily daily.psg", makeVerb<StrategyExportVerb<Kind>>},
        {"import", "take report strategies from a file",
         "xp reportstrategy import daily.psg\nxp reportstrategy import daily.psg --as Theirs",
         makeVerb<StrategyImportVerb<Kind>>},
    };
    return all;
}

const std::vector<VerbEntry>& strategyVerbs() {
    using Kind = StrategyKind;
    static const std::vector<VerbEntry> all{
        {"list", "list the strategies: those that come with xp, and yours",
         "xp strategy list\nxp strategy list --flow impl --json", makeVerb<StrategyListVerb<Kind>>},
        {"show", "show all options of a strategy, and which differ from the defaults",
         "xp strategy show impl/Performance\nxp strategy show Annealing --json",
         makeVerb<StrategyShowVerb<Kind>>},
        {"create", "make a strategy from the defaults",
         "xp strategy create Fast --flow impl --set place_design.seed=7\n"
         "xp strategy create Small --flow synth --set abc2=true --description 'Few LUTs'",
         makeVerb<StrategyCreateVerb<Kind>>},
        {"copy", "make a strategy from another one",
         "xp strategy copy impl/Performance Fast\n"
         "xp strategy copy Annealing Seed7 --set place_design.seed=7",
         makeVerb<StrategyCopyVerb<Kind>>},
        {"rename", "give a strategy of yours another name", "xp strategy rename Fast Faster",
         makeVerb<StrategyRenameVerb<Kind>>},
        {"delete", "delete strategies of yours, with their files", "xp strategy delete Fast",
         makeVerb<StrategyDeleteVerb<Kind>>},
        {"set", "change options of a strategy of yours",
         "xp strategy set Fast place_design.seed=7 router=router2\n"
         "xp strategy set Fast --description 'Another seed and router'",
         makeVerb<StrategySetVerb<Kind>>},
        {"compare", "show the options in which two strategies differ",
         "xp strategy compare Default Annealing\nxp strategy compare Fast impl/Performance --json",
         makeVerb<StrategyCompareVerb<Kind>>},
        {"export", "write a strategy into a file, for others", "xp strategy export Fast fast.psg",
         makeVerb<StrategyExportVerb<Kind>>},
        {"import", "take a strategy from a file",
         "xp strategy import fast.psg\nxp strategy import fast.psg --as Theirs",
         makeVerb<StrategyImportVerb<Kind>>},
    };
    return all;
}

}  // namespace shell
