// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "workbench/reports/stepResults.h"

#include <algorithm>
#include <optional>

#include <fmt/format.h>
#include <unistd.h>

#include "workbench/ice40/stepFailure.h"
#include "workbench/ice40/stepFiles.h"

namespace reports {

namespace {

using ice40::StepFailure;

constexpr const char* kSynthesis = "synth_design";
constexpr const char* kPlacement = "place_design";
constexpr const char* kRouting = "route_design";

/// What no result of a step on these devices comes near.
constexpr std::size_t kLargestResult = std::size_t{64} << 20;

std::string again(const std::string& step) {
    return fmt::format("Run step {} again", step);
}

/// @throws StepFailure
std::string readFile(const std::string& what, const std::string& path, const std::string& step) {
    std::string text;
    std::string reason;
    if (!ice40::readText(path, text, reason, kLargestResult))
        throw StepFailure(fmt::format("{} '{}' can't be read: {}", what, path, reason),
                          again(step));
    return text;
}

[[noreturn]] void failUse(const std::string& what, const std::string& path,
                          const std::string& reason, const std::string& step) {
    throw StepFailure(fmt::format("{} '{}' can't be used: {}", what, path, reason), again(step));
}

}  // namespace

struct StepResults::Data {
    std::string step;
    std::optional<ice40::StepMetrics> metrics;
    std::optional<ice40::CellCounts> counts;
    std::optional<PnrReport> report;
    std::optional<ice40::Placement> placement;
    std::optional<Design> design;
    std::optional<ice40::Constraints> constraints;
    std::optional<RoutedNets> nets;
    std::optional<IcetimeReport> icetime;

    /// @throws StepFailure the step is none of `steps`.
    void needStep(const char* what, std::initializer_list<const char*> steps) const {
        if (std::find(steps.begin(), steps.end(), step) != steps.end())
            return;
        throw StepFailure(fmt::format("step {} leaves no {}", step, what),
                          fmt::format("Make the report for step {}", *steps.begin()));
    }

    /// @throws StepFailure the metrics name no such file.
    std::string needFile(const char* what, const char* kind) const {
        std::string name = metrics->file(kind);
        if (name.empty())
            throw StepFailure(fmt::format("'{}' doesn't name the {} of the step",
                                          ice40::metricsFileName(step), what),
                              again(step));
        return name;
    }
};

StepResults::StepResults(const std::string& step) : m_data(std::make_unique<Data>()) {
    m_data->step = step;
}

StepResults::~StepResults() = default;

const std::string& StepResults::step() const {
    return m_data->step;
}

bool StepResults::isSynthesis() const {
    return m_data->step == kSynthesis;
}

bool StepResults::isPlacement() const {
    return m_data->step == kPlacement;
}

bool StepResults::isRouting() const {
    return m_data->step == kRouting;
}

const ice40::StepMetrics& StepResults::metrics() const {
    if (m_data->metrics)
        return *m_data->metrics;
    const std::string path = ice40::metricsFileName(m_data->step);
    if (::access(path.c_str(), F_OK) != 0)
        throw StepFailure(
            fmt::format("step {} has left no results here: there is no '{}'", m_data->step, path),
            fmt::format("Run step {} first", m_data->step));
    ice40::StepMetrics metrics;
    std::string reason;
    if (!ice40::readMetrics(path, metrics, reason))
        throw StepFailure(reason, again(m_data->step));
    if (metrics.step != m_data->step)
        failUse("the file", path, fmt::format("it is of step {}", metrics.step), m_data->step);
    m_data->metrics = std::move(metrics);
    return *m_data->metrics;
}

const ice40::CellCounts& StepResults::cellCounts() const {
    if (m_data->counts)
        return *m_data->counts;
    m_data->needStep("cell counts", {kSynthesis});
    metrics();
    const std::string path = m_data->needFile("cell counts", ice40::files::kStat);
    ice40::CellCounts counts;
    std::string reason;
    if (!ice40::parseStatReport(readFile("cell counts", path, m_data->step), counts, reason))
        failUse("cell counts", path, reason, m_data->step);
    m_data->counts = std::move(counts);
    return *m_data->counts;
}

const PnrReport& StepResults::pnrReport() const {
    if (m_data->report)
        return *m_data->report;
    m_data->needStep("report of place and route", {kPlacement, kRouting});
    metrics();
    const std::string path = m_data->needFile("report of nextpnr-ice40", ice40::files::kReport);
    PnrReport report;
    std::string reason;
    if (!parsePnrDetails(readFile("nextpnr's report", path, m_data->step), report, reason))
        failUse("nextpnr's report", path, reason, m_data->step);
    m_data->report = std::move(report);
    return *m_data->report;
}

const ice40::Placement& StepResults::placement() const {
    if (m_data->placement)
        return *m_data->placement;
    m_data->needStep("placement", {kPlacement, kRouting});
    metrics();
    const std::string path = m_data->needFile("placement record", ice40::files::kPlacement);
    ice40::Placement placement;
    std::string reason;
    if (!ice40::parsePlacement(readFile("placement record", path, kPlacement), placement, reason))
        failUse("placement record", path, reason, kPlacement);
    m_data->placement = std::move(placement);
    return *m_data->placement;
}

const Design& StepResults::design() const {
    if (m_data->design)
        return *m_data->design;
    metrics();
    const std::string path = m_data->needFile("netlist", ice40::files::kNetlist);
    std::string top;
    if (!isSynthesis()) {
        const ice40::Placement& placed = placement();
        if (ice40::fingerprintInputs(placed.netlist, placed.constraints) != placed.inputs)
            throw StepFailure(
                fmt::format("netlist '{}' or its constraints changed since it was placed", path),
                again(kPlacement));
        top = placed.top;
    }
    Design design;
    std::string reason;
    if (!parseDesign(readFile("netlist", path, kSynthesis), top, design, reason))
        failUse("netlist", path, reason, kSynthesis);
    m_data->design = std::move(design);
    return *m_data->design;
}

const ice40::Constraints& StepResults::constraints() const {
    if (m_data->constraints)
        return *m_data->constraints;
    const std::string path = placement().constraints;
    std::vector<ice40::PcfProblem> problems;
    ice40::Constraints constraints;
    if (!path.empty())
        constraints = ice40::parsePcf(readFile("constraints", path, kPlacement), problems);
    if (!problems.empty())
        failUse("constraints", path, fmt::format("line {}: {}", problems[0].line, problems[0].text),
                kPlacement);
    m_data->constraints = std::move(constraints);
    return *m_data->constraints;
}

const RoutedNets& StepResults::routedNets() const {
    if (m_data->nets)
        return *m_data->nets;
    m_data->needStep("routed design", {kRouting});
    metrics();
    const std::string path = m_data->needFile("routed design", ice40::files::kRouted);
    RoutedNets nets;
    std::string reason;
    if (!parseRoutedNets(readFile("routed design", path, m_data->step), nets, reason))
        failUse("routed design", path, reason, m_data->step);
    m_data->nets = std::move(nets);
    return *m_data->nets;
}

const IcetimeReport* StepResults::icetime() const {
    if (m_data->icetime)
        return &*m_data->icetime;
    m_data->needStep("report of icetime", {kRouting});
    const std::string path = metrics().file(ice40::files::kTiming);
    if (path.empty())
        return nullptr;
    IcetimeReport report;
    std::string reason;
    if (!parseIcetime(readFile("icetime's report", path, m_data->step), report, reason))
        failUse("icetime's report", path, reason, m_data->step);
    m_data->icetime = report;
    return &*m_data->icetime;
}

std::string StepResults::fileOf(const char* kind) const {
    return metrics().file(kind);
}

bool isReportStep(const std::string& step) {
    return step == kSynthesis || step == kPlacement || step == kRouting;
}

std::string reportSteps() {
    return fmt::format("{}, {}, {}", kSynthesis, kPlacement, kRouting);
}

}  // namespace reports
