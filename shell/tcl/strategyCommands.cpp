// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include <fmt/format.h>
#include <nlohmann/json.hpp>
#include <tcl.h>

#include "runs/base/xperiment/HAXPStrategy.h"
#include "runs/base/xpreport/HAXRReportStrategy.h"
#include "shell/reportStrategyActions.h"
#include "shell/strategyActions.h"
#include "shell/tcl/tclAction.h"
#include "shell/tcl/tclError.h"
#include "shell/tcl/tclValue.h"

namespace shell::tcl {

namespace {

constexpr OptionRule kReports{"-reports", "BOOL", "report strategies instead"};
constexpr OptionRule kDescription{"-description", "TEXT", "one line that says what it is for"};
constexpr OptionRule kSet{"-set", "DICT", "options and their values"};

/// Calls `work` of strategies, or of report strategies where the option says so.
template <template <class> class Work> Tcl_Obj* ofKind(Call& call) {
    return call.flag(kReports.name) ? Work<ReportStrategyKind>::work(call)
                                    : Work<StrategyKind>::work(call);
}

/// @throws HTCErrors::error `text` means none, or several.
template <class Kind> typename Kind::Strategy& strategyNamed(const std::string& text) {
    try {
        return chosenStrategy<Kind>(text);
    } catch (const CommandError& error) {
        fail(Code::kStrategyNotFound, {text}, error.what());
    }
}

template <class Kind> auto pairNamed(const std::string& first, const std::string& second) {
    try {
        return chosenPair<Kind>(first, second);
    } catch (const CommandError& error) {
        fail(Code::kStrategyNotFound, {first, second}, error.what());
    }
}

StrategyWishes wishesOf(const Call& call, std::vector<Setting> settings) {
    StrategyWishes wishes;
    wishes.settings = std::move(settings);
    if (call.has(kDescription.name))
        wishes.description = call.text(kDescription.name);
    return wishes;
}

template <class Strategy> Tcl_Obj* strategyName(const Strategy& strategy) {
    return newText(fullName(strategy));
}

template <class Kind> struct List {
    static Tcl_Obj* work(Call& call) {
        std::vector<std::string> names;
        for (const HAXPFlow* flow : allFlows()) {
            if (call.has("-flow") && &flowNamed(call.text("-flow")) != flow)
                continue;
            for (const auto* strategy : Kind::all(*flow))
                names.push_back(fullName(*strategy));
        }
        return newList(names);
    }
};

template <class Kind> struct Show {
    static Tcl_Obj* work(Call& call) {
        return newValue(strategyJson<Kind>(strategyNamed<Kind>(call.word(0)), true));
    }
};

template <class Kind> struct Create {
    static Tcl_Obj* work(Call& call) {
        const HAXPFlow& flow = flowNamed(call.required("-flow"));
        return strategyName(
            createStrategy<Kind>(call.word(0), flow, wishesOf(call, settingsOf(call, kSet.name))));
    }
};

template <class Kind> struct Copy {
    static Tcl_Obj* work(Call& call) {
        const std::string from = fullName(strategyNamed<Kind>(call.word(0)));
        return strategyName(
            copyStrategy<Kind>(from, call.word(1), wishesOf(call, settingsOf(call, kSet.name))));
    }
};

template <class Kind> struct Rename {
    static Tcl_Obj* work(Call& call) {
        const std::string from = fullName(strategyNamed<Kind>(call.word(0)));
        return strategyName(renameStrategy<Kind>(from, call.word(1)));
    }
};

template <class Kind> struct Delete {
    static Tcl_Obj* work(Call& call) {
        std::vector<std::string> names;
        for (const std::string& text : call.textsFrom(0))
            names.push_back(fullName(strategyNamed<Kind>(text)));
        deleteStrategies<Kind>(names, [](const DeletedStrategy&) {});
        return Tcl_NewObj();
    }
};

template <class Kind> struct Set {
    static Tcl_Obj* work(Call& call) {
        const StrategyWishes wishes = wishesOf(call, settingsOf(call, 1));
        if (wishes.isEmpty())
            call.failUsage();
        changeStrategy<Kind>(fullName(strategyNamed<Kind>(call.word(0))), wishes);
        return Tcl_NewObj();
    }
};

template <class Kind> struct Compare {
    static Tcl_Obj* work(Call& call) {
        const auto [first, second] = pairNamed<Kind>(call.word(0), call.word(1));
        if (first->getFlow() != second->getFlow())
            fail(Code::kRefused, {},
                 fmt::format("{} and {} are of different flows. Choose two of one flow.",
                             fullName(*first), fullName(*second)));
        nlohmann::json rows = nlohmann::json::array();
        for (const Difference& row : Kind::differences(*first, *second))
            rows.push_back({{"step", row.step},
                            {"option", row.name},
                            {"first", row.first},
                            {"second", row.second}});
        return newValue(rows);
    }
};

template <class Kind> struct Export {
    static Tcl_Obj* work(Call& call) {
        Kind::write(strategyNamed<Kind>(call.word(0)), call.word(1), call.flag("-force"));
        return Tcl_NewObj();
    }
};

template <class Kind> struct Import {
    static Tcl_Obj* work(Call& call) {
        std::optional<std::string> as;
        if (call.has("-as"))
            as = call.text("-as");
        std::vector<std::string> names;
        for (const auto* made : importStrategies<Kind>(call.word(0), as))
            names.push_back(fullName(*made));
        return newList(names);
    }
};

/// The report strategy `text` in full. @throws HTCErrors::error there is none, or several.
std::string reportStrategyNamed(const std::string& text) {
    return fullName(strategyNamed<ReportStrategyKind>(text));
}

Tcl_Obj* addReport(Call& call) {
    const WantedReport wanted{call.word(1), call.word(2), call.text("-version"), call.text("-name"),
                              settingsOf(call, kSet.name)};
    return newText(addStrategyReport(reportStrategyNamed(call.word(0)), wanted).name);
}

Tcl_Obj* removeReport(Call& call) {
    removeStrategyReport(reportStrategyNamed(call.word(0)), call.word(1), call.word(2));
    return Tcl_NewObj();
}

}  // namespace

// NOLINTNEXTLINE(readability-function-size): a table.
const Ensemble& strategyEnsemble() {
    static const Ensemble ensemble{
        "strategy",
        "named sets of options, or of reports",
        {
            {"list",
             "",
             "their names, as FLOW/NAME",
             0,
             0,
             {{"-flow", "FLOW", "only those of this flow"}, kReports},
             ofKind<List>},
            {"show", "NAME", "a dict: what it holds", 1, 1, {kReports}, ofKind<Show>},
            {"create",
             "NAME",
             "makes one; gives its name",
             1,
             1,
             {{"-flow", "FLOW", "synth or impl; needed"}, kSet, kDescription, kReports},
             ofKind<Create>},
            {"copy",
             "NAME NEW",
             "makes a copy; gives its name",
             2,
             2,
             {kSet, kDescription, kReports},
             ofKind<Copy>},
            {"rename",
             "NAME NEW",
             "gives one of yours another name",
             2,
             2,
             {kReports},
             ofKind<Rename>},
            {"delete",
             "NAME ?NAME ...?",
             "deletes some of yours, with their files",
             1,
             -1,
             {kReports},
             ofKind<Delete>},
            {"set",
             "NAME ?OPTION VALUE ...?",
             "changes one of yours",
             1,
             -1,
             {kDescription, kReports},
             ofKind<Set>,
             1},
            {"compare",
             "FIRST SECOND",
             "a list of dicts: what differs",
             2,
             2,
             {kReports},
             ofKind<Compare>},
            {"export",
             "NAME FILE",
             "writes one into a file",
             2,
             2,
             {{"-force", "BOOL", "replace a file that is there"}, kReports},
             ofKind<Export>},
            {"import",
             "FILE",
             "takes those of a file; gives their names",
             1,
             1,
             {{"-as", "NAME", "another name than that in the file"}, kReports},
             ofKind<Import>},
            {"addreport",
             "NAME STEP REPORT",
             "adds a report of the catalogue to a step of a report strategy; gives its name",
             3,
             3,
             {kSet,
              {"-name", "TEXT", "what it is shown as"},
              {"-version", "VERSION", "its version; the latest if unsaid"}},
             addReport},
            {"removereport",
             "NAME STEP REPORT",
             "removes a report from a step of a report strategy; the second one of a name is "
             "REPORT#2",
             3,
             3,
             {},
             removeReport},
        }};
    return ensemble;
}

}  // namespace shell::tcl
