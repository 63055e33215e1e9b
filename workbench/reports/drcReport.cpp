// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include <algorithm>
#include <sstream>

#include <fmt/format.h>

#include "workbench/ice40/stepFailure.h"
#include "workbench/reports/combinationalLoops.h"
#include "workbench/reports/designNets.h"
#include "workbench/reports/reportCommands.h"

namespace reports {

namespace {

using ice40::StepFailure;

enum class Severity { kError, kWarning, kAdvice };

std::string severityText(Severity severity) {
    switch (severity) {
    case Severity::kError:
        return "error";
    case Severity::kWarning:
        return "warning";
    default:
        return "advice";
    }
}

/// What the rules look at, gathered once.
struct Subject {
    explicit Subject(const StepResults& all)
        : results(all), design(all.design()), uses(findUses(design)),
          clocks(findClocks(design, uses)) {}

    const StepResults& results;
    const Design& design;
    std::map<int, NetUse> uses;
    std::vector<DesignClock> clocks;
};

using Findings = std::vector<std::string>;

/// One rule: what it looks for, and in the results of which steps.
struct Rule {
    const char* id;
    Severity severity;
    const char* title;
    bool needsPlacement;
    void (*find)(const Subject& subject, Findings& findings);
};

std::string readersText(const NetUse& use) {
    const long count = use.loads + (use.output != nullptr ? 1 : 0);
    return counted(count, "pin") + (count == 1 ? " reads" : " read");
}

void findUndriven(const Subject& subject, Findings& findings) {
    for (const auto& entry : subject.uses)
        if (!entry.second.isDriven() && entry.second.isRead())
            findings.push_back(fmt::format("Nothing drives {}; {} it.",
                                           subject.design.netName(entry.first),
                                           readersText(entry.second)));
}

void findSeveralDrivers(const Subject& subject, Findings& findings) {
    for (const auto& entry : subject.uses) {
        const auto isHard = [](const DesignCell* cell) { return cell->type != "$_TBUF_"; };
        const auto& drivers = entry.second.drivers;
        const bool isPort =
            entry.second.input != nullptr && entry.second.input->direction == "input";
        const std::ptrdiff_t count =
            std::count_if(drivers.begin(), drivers.end(), isHard) + (isPort ? 1 : 0);
        if (count > 1)
            findings.push_back(fmt::format("{} has {} drivers, {} among them.",
                                           subject.design.netName(entry.first), count,
                                           driverText(entry.second)));
    }
}

void findLoops(const Subject& subject, Findings& findings) {
    for (const std::vector<const DesignCell*>& loop : findCombinationalLoops(subject.design)) {
        const std::string& source = loop.front()->source;
        findings.push_back(fmt::format("{} in a loop without a flip-flop, {}{} among "
                                       "them.",
                                       counted(static_cast<long>(loop.size()), "cell"),
                                       loop.front()->name,
                                       source.empty() ? "" : " (" + source + ")"));
    }
}

void findConstantOutputs(const Subject& subject, Findings& findings) {
    for (const ice40::PortBit& port : subject.design.ports)
        if (port.direction == "output" && port.net < 0)
            findings.push_back(
                fmt::format("Output {} never changes: it is constant or undriven.", port.name));
}

void findUnreadInputs(const Subject& subject, Findings& findings) {
    for (const ice40::PortBit& port : subject.design.ports) {
        const auto use = subject.uses.find(port.net);
        if (port.direction == "input" && (use == subject.uses.end() || !use->second.isRead()))
            findings.push_back(fmt::format("Nothing reads input {}.", port.name));
    }
}

void findLogicClocks(const Subject& subject, Findings& findings) {
    for (const DesignClock& clock : subject.clocks)
        if (clock.isFromLogic)
            findings.push_back(fmt::format("{} clocks {} and comes from {}: its edges may "
                                           "glitch and skew. Use an enable instead.",
                                           clock.name, counted(clock.loads(), "load"),
                                           clock.source));
}

void findFullResources(const Subject& subject, Findings& findings) {
    for (const Utilisation& entry : subject.results.pnrReport().utilisation)
        if (entry.available > 1 && 10 * entry.used > 9 * entry.available)
            findings.push_back(fmt::format("{} of {} {} are used: little is left for changes.",
                                           entry.used, entry.available, entry.type));
}

void findFreePorts(const Subject& subject, Findings& findings) {
    const auto& pins = subject.results.constraints().pins;
    for (const ice40::PortBit& port : subject.design.ports) {
        const auto isOfPort = [&](const ice40::PinConstraint& pin) {
            return pin.port == port.name;
        };
        if (std::none_of(pins.begin(), pins.end(), isOfPort))
            findings.push_back(fmt::format("Port {} has no pin by constraint.", port.name));
    }
}

void findUnusedConstraints(const Subject& subject, Findings& findings) {
    const auto& ports = subject.design.ports;
    for (const ice40::PinConstraint& pin : subject.results.constraints().pins) {
        const auto isNamed = [&](const ice40::PortBit& port) { return port.name == pin.port; };
        if (std::none_of(ports.begin(), ports.end(), isNamed))
            findings.push_back(fmt::format("Line {} of the constraints names port {}, which the "
                                           "design lacks.",
                                           pin.line, pin.port));
    }
}

bool isOfClock(const ice40::ClockConstraint& constraint, const ice40::ClockTiming& clock) {
    return constraint.net == clock.name || constraint.net == designName(clock.name);
}

void findMissedClocks(const Subject& subject, Findings& findings) {
    for (const ice40::ClockTiming& clock : subject.results.metrics().clocks)
        if (clock.slackNs() < 0)
            findings.push_back(fmt::format("Clock {} reaches {:.2f} MHz of {:.2f} MHz, slack "
                                           "{:.3f} ns.",
                                           designName(clock.name), clock.fmaxMhz, clock.targetMhz,
                                           clock.slackNs()));
}

void findFreeClocks(const Subject& subject, Findings& findings) {
    const auto& constraints = subject.results.constraints().clocks;
    for (const ice40::ClockTiming& clock : subject.results.metrics().clocks) {
        const auto isOf = [&](const ice40::ClockConstraint& one) { return isOfClock(one, clock); };
        if (std::none_of(constraints.begin(), constraints.end(), isOf))
            findings.push_back(fmt::format("Clock {} has no set_frequency of its own: {:.2f} MHz "
                                           "is the target of the whole run.",
                                           designName(clock.name), clock.targetMhz));
    }
}

void findClocklessConstraints(const Subject& subject, Findings& findings) {
    const auto& clocks = subject.results.metrics().clocks;
    for (const ice40::ClockConstraint& constraint : subject.results.constraints().clocks) {
        const auto isOf = [&](const ice40::ClockTiming& one) { return isOfClock(constraint, one); };
        if (std::none_of(clocks.begin(), clocks.end(), isOf))
            findings.push_back(fmt::format("Line {} of the constraints sets the frequency of {}, "
                                           "and no clock of the design has that name.",
                                           constraint.line, constraint.net));
    }
}

void findCrossings(const Subject& subject, Findings& findings) {
    for (const TimingPath& path : subject.results.pnrReport().paths) {
        const ClockEvent from = parseEvent(path.from);
        const ClockEvent to = parseEvent(path.to);
        if (from.isAsync() || to.isAsync() || from.clock == to.clock)
            continue;
        findings.push_back(fmt::format("Signals pass from {} to {}; no timing is checked between "
                                       "them. Look whether they are synchronised.",
                                       from.shown(), to.shown()));
    }
}

const Rule kRules[] = {
    {"NET-1", Severity::kError, "Nets that nothing drives", false, findUndriven},
    {"NET-2", Severity::kError, "Nets with several drivers", false, findSeveralDrivers},
    {"LOOP-1", Severity::kWarning, "Combinational loops", false, findLoops},
    {"PORT-1", Severity::kWarning, "Outputs that never change", false, findConstantOutputs},
    {"PORT-2", Severity::kWarning, "Inputs that nothing reads", false, findUnreadInputs},
    {"PORT-3", Severity::kWarning, "Ports without a pin", true, findFreePorts},
    {"PORT-4", Severity::kAdvice, "Pin constraints without a port", true, findUnusedConstraints},
    {"CLK-1", Severity::kError, "Clocks that miss their target", true, findMissedClocks},
    {"CLK-2", Severity::kAdvice, "Clocks without a frequency of their own", true, findFreeClocks},
    {"CLK-3", Severity::kWarning, "Frequencies of no clock", true, findClocklessConstraints},
    {"CLK-4", Severity::kWarning, "Clocks from logic", false, findLogicClocks},
    {"CDC-1", Severity::kWarning, "Crossings between clocks", true, findCrossings},
    {"UTIL-1", Severity::kWarning, "Resources that are nearly used up", true, findFullResources},
};

std::string ruleIds() {
    std::string ids;
    for (const Rule& rule : kRules)
        ids += (ids.empty() ? "" : ", ") + std::string(rule.id);
    return ids;
}

/// The rules that `text` names, with blanks or commas between them; all for an
/// empty text. @throws StepFailure there is no such rule.
std::vector<const Rule*> chooseRules(std::string text) {
    std::replace(text.begin(), text.end(), ',', ' ');
    std::istringstream words(text);
    std::vector<const Rule*> chosen;
    for (std::string word; words >> word;) {
        const auto* found = std::find_if(std::begin(kRules), std::end(kRules),
                                         [&](const Rule& rule) { return word == rule.id; });
        if (found == std::end(kRules))
            throw StepFailure(fmt::format("report_drc: there is no check '{}'", word),
                              fmt::format("Use {}", ruleIds()));
        chosen.push_back(found);
    }
    if (chosen.empty())
        for (const Rule& rule : kRules)
            chosen.push_back(&rule);
    return chosen;
}

/// @throws StepFailure there is no such severity.
Severity leastSeverity(const std::string& text) {
    for (const Severity severity : {Severity::kError, Severity::kWarning, Severity::kAdvice})
        if (text == severityText(severity))
            return severity;
    if (text.empty())
        return Severity::kAdvice;
    throw StepFailure(fmt::format("report_drc: option -severity can't be '{}'", text),
                      "Use error, warning or advice");
}

/// Counts and rows of all rules together.
class DrcTables {
public:
    DrcTables(const ReportOptions& options, Report& report)
        : m_most(static_cast<std::size_t>(options.number("max_messages"))),
          m_isLoud(options.has("messages")), m_report(report) {}

    void addRule(const Rule& rule, const Findings& findings) {
        m_summary.rows.push_back({textCell(rule.id), textCell(severityText(rule.severity)),
                                  countCell(static_cast<long>(findings.size())),
                                  textCell(rule.title)});
        m_counts[rule.severity] += static_cast<long>(findings.size());
        for (const std::string& finding : findings)
            addFinding_(rule, finding);
    }

    void skipRule(const Rule& rule) {
        m_summary.rows.push_back(
            {textCell(rule.id), textCell(severityText(rule.severity)), noCell(),
             textCell(std::string(rule.title) + " (told after place_design)")});
    }

    void finish() {
        m_summary.lines.push_back(
            fmt::format("Errors: {}, warnings: {}, advice: {}.", m_counts[Severity::kError],
                        m_counts[Severity::kWarning], m_counts[Severity::kAdvice]));
        if (m_left > 0)
            m_details.lines.push_back(fmt::format("{} more findings aren't shown.", m_left));
        m_report.sections.push_back(m_summary);
        m_report.sections.push_back(m_details);
        addFigure_("drc_errors", "DRC errors", Severity::kError);
        addFigure_("drc_warnings", "DRC warnings", Severity::kWarning);
    }

private:
    void addFinding_(const Rule& rule, const std::string& finding) {
        if (m_isLoud && rule.severity != Severity::kAdvice)
            m_report.warnings.push_back(fmt::format("{}: {}", rule.id, finding));
        if (m_details.rows.size() >= m_most) {
            ++m_left;
            return;
        }
        m_details.rows.push_back(
            {textCell(rule.id), textCell(severityText(rule.severity)), textCell(finding)});
    }

    void addFigure_(const char* name, const char* label, Severity severity) {
        m_report.figures.push_back(
            {name, label, static_cast<double>(m_counts[severity]), "", Figure::kLower});
    }

    std::size_t m_most;
    bool m_isLoud;
    Report& m_report;
    std::map<Severity, long> m_counts;
    std::size_t m_left = 0;
    Section m_summary{
        "Checks", {}, {{"Check"}, {"Severity"}, {"Findings", true}, {"What it finds"}}, {}};
    Section m_details{"Findings", {}, {{"Check"}, {"Severity"}, {"Finding"}}, {}};
};

}  // namespace

void fillDrc(const StepResults& results, const ReportOptions& options, Report& report) {
    const std::vector<const Rule*> rules = chooseRules(options.text("checks"));
    const Severity least = leastSeverity(options.text("severity"));
    const Subject subject(results);
    DrcTables tables(options, report);
    for (const Rule* rule : rules) {
        if (rule->severity > least)
            continue;
        if (rule->needsPlacement && results.isSynthesis()) {
            tables.skipRule(*rule);
            continue;
        }
        Findings findings;
        rule->find(subject, findings);
        tables.addRule(*rule, findings);
    }
    tables.finish();
}

}  // namespace reports
