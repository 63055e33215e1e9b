// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include <algorithm>
#include <tuple>

#include <fmt/format.h>

#include "workbench/ice40/stepFailure.h"
#include "workbench/reports/reportCommands.h"

namespace reports {

namespace {

/// One port bit with the constraint that places it, if there is one.
struct PlacedPort {
    const ice40::PortBit* port = nullptr;
    const ice40::PinConstraint* pin = nullptr;

    std::string pinName() const { return pin == nullptr ? std::string() : pin->pin; }
};

std::vector<PlacedPort> placePorts(const Design& design, const ice40::Constraints& constraints) {
    std::vector<PlacedPort> ports;
    for (const ice40::PortBit& port : design.ports) {
        const auto found =
            std::find_if(constraints.pins.begin(), constraints.pins.end(),
                         [&](const ice40::PinConstraint& pin) { return pin.port == port.name; });
        ports.push_back({&port, found == constraints.pins.end() ? nullptr : &*found});
    }
    return ports;
}

/// @throws StepFailure there is no such order.
void sortPorts(const std::string& order, std::vector<PlacedPort>& ports) {
    if (order.empty() || order == "port")
        return;
    if (order != "pin")
        throw ice40::StepFailure(fmt::format("report_io: option -sort can't be '{}'", order),
                                 "Use port or pin");
    std::stable_sort(ports.begin(), ports.end(), [](const PlacedPort& a, const PlacedPort& b) {
        return std::make_tuple(a.pin == nullptr, a.pinName()) <
               std::make_tuple(b.pin == nullptr, b.pinName());
    });
}

double asDouble(std::ptrdiff_t count) {
    return static_cast<double>(count);
}

void addSummary(const std::vector<PlacedPort>& ports, Report& report) {
    const auto isFree = [](const PlacedPort& one) { return one.pin == nullptr; };
    const std::ptrdiff_t bare = std::count_if(ports.begin(), ports.end(), isFree);
    const auto all = static_cast<std::ptrdiff_t>(ports.size());
    Section section{
        "Summary", {}, {{"Direction"}, {"Port bits", true}, {"Without a pin", true}}, {}};
    for (const char* direction : {"input", "output", "inout"}) {
        const auto matches = [&](const PlacedPort& one) {
            return one.port->direction == direction;
        };
        section.rows.push_back(
            {textCell(direction), countCell(std::count_if(ports.begin(), ports.end(), matches)),
             countCell(std::count_if(ports.begin(), ports.end(), [&](const PlacedPort& one) {
                 return matches(one) && isFree(one);
             }))});
    }
    section.lines.push_back(bare == 0 ? "Every port has a pin by constraint."
                                      : fmt::format("{} of {} port bits have no pin by constraint: "
                                                    "the placer chose one, which may be another "
                                                    "in the next run.",
                                                    bare, all));
    report.sections.push_back(section);
    report.figures.push_back({"ports", "Port bits", asDouble(all), "", Figure::kNeither});
    report.figures.push_back(
        {"ports_without_pin", "Port bits without a pin", asDouble(bare), "", Figure::kLower});
}

}  // namespace

void fillIo(const StepResults& results, const ReportOptions& options, Report& report) {
    const std::string file = results.fileOf(ice40::files::kConstraints);
    std::vector<PlacedPort> ports = placePorts(results.design(), results.constraints());
    sortPorts(options.text("sort"), ports);
    addSummary(ports, report);
    Section section{
        "Ports", {}, {{"Port"}, {"Direction"}, {"Pin"}, {"Constrained"}, {"Where"}}, {}};
    for (const PlacedPort& one : ports) {
        if (one.pin != nullptr && options.has("unconstrained_only"))
            continue;
        section.rows.push_back(
            {textCell(one.port->name), textCell(one.port->direction), textCell(one.pinName()),
             textCell(one.pin == nullptr ? "no" : "yes"),
             textCell(one.pin == nullptr ? "" : fmt::format("{}:{}", file, one.pin->line))});
    }
    report.sections.push_back(section);
}

}  // namespace reports
