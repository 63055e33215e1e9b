// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include <algorithm>
#include <cmath>
#include <cstring>
#include <optional>

#include <fmt/format.h>

#include "workbench/printable.h"
#include "workbench/routerLines.h"
#include "workbench/toolProgress.h"

namespace workbench {

/// What is at work, as a "Command:" line tells.
enum class ToolPart { kNone, kSynthesis, kPlacing, kRouting, kTiming, kReports, kPacking };

namespace {

/// A pass of yosys and the part of its time that has passed when it begins, as it was with
/// processors of a thousand lookup tables. `from` is what must have passed before: the same
/// pass comes earlier too.
struct Pass {
    const char* name;
    double from;
    double at;
};

constexpr Pass kPasses[] = {
    {"HIERARCHY", 0, 0.01},      {"PROC", 0, 0.015},      {"FLATTEN", 0, 0.02},
    {"FSM", 0, 0.045},           {"WREDUCE", 0, 0.065},   {"SHARE", 0, 0.07},
    {"ALUMACC", 0, 0.075},       {"MEMORY", 0, 0.08},     {"MEMORY_LIBMAP", 0, 0.1},
    {"ICE40_BRAMINIT", 0, 0.58}, {"MEMORY_MAP", 0, 0.6},  {"ICE40_WRAPCARRY", 0, 0.62},
    {"ICE40_OPT", 0, 0.67},      {"DFFLEGALIZE", 0, 0.7}, {"SIMPLEMAP", 0, 0.72},
    {"ABC", 0.7, 0.78},          {"ABC9", 0.7, 0.72},     {"OPT_LUT", 0.7, 0.93},
    {"AUTONAME", 0.9, 0.97},     {"CHECK", 0.9, 0.98},
};

/// How many iterations a placer takes when no earlier placement in the log tells.
constexpr double kUsualHeap = 32;
constexpr double kUsualRefinement = 21;
constexpr double kUsualAnnealing = 280;

/// The share of the placement in a step that places again and then routes.
double placementShare(bool isAnnealing, bool isRouter2) {
    if (isAnnealing)
        return isRouter2 ? 0.9 : 0.75;
    return isRouter2 ? 0.6 : 0.3;
}

bool startsWith(const std::string& text, const char* head) {
    return text.compare(0, std::strlen(head), head) == 0;
}

bool holds(const std::string& text, const char* part) {
    return text.find(part) != std::string::npos;
}

/// A heading of yosys: "4.19. Executing TECHMAP pass (map to technology primitives)."
struct Heading {
    int depth = 0;
    std::string name;
    std::string text;
};

std::optional<Heading> headingOf(const std::string& line) {
    const std::size_t end = line.find_first_not_of("0123456789.");
    if (end == 0 || end == std::string::npos || line[end - 1] != '.')
        return std::nullopt;
    const char kWord[] = " Executing ";
    if (line.compare(end, sizeof kWord - 1, kWord) != 0)
        return std::nullopt;
    Heading heading;
    heading.depth = static_cast<int>(
        std::count(line.begin(), line.begin() + static_cast<std::ptrdiff_t>(end), '.'));
    heading.text = line.substr(end + sizeof kWord - 1);
    while (!heading.text.empty() && heading.text.back() == '.')
        heading.text.pop_back();
    heading.name = heading.text.substr(0, heading.text.find(' '));
    return heading;
}

/// The name of the program that a "Command:" line starts.
std::string programOf(const std::string& command) {
    const std::string first = command.substr(0, command.find(' '));
    return first.substr(first.rfind('/') + 1);
}

ToolPart partOf(const std::string& program, const std::string& command) {
    if (program == "yosys")
        return ToolPart::kSynthesis;
    if (startsWith(program, "nextpnr"))
        return holds(command, " --no-route") ? ToolPart::kPlacing : ToolPart::kRouting;
    if (program == "icetime")
        return ToolPart::kTiming;
    return program == "icepack" ? ToolPart::kPacking : ToolPart::kReports;
}

/// The step whose log holds such a part.
std::string stepOf(ToolPart part) {
    switch (part) {
    case ToolPart::kSynthesis:
        return "synth_design";
    case ToolPart::kPlacing:
        return "place_design";
    case ToolPart::kRouting:
    case ToolPart::kTiming:
        return "route_design";
    case ToolPart::kPacking:
        return "write_bitstream";
    case ToolPart::kReports:
    case ToolPart::kNone:
        break;
    }
    return {};
}

/// The tool whose lines a log of `step` is full of.
ToolPart mainPartOf(const std::string& step) {
    for (const ToolPart part : {ToolPart::kSynthesis, ToolPart::kPlacing, ToolPart::kRouting}) {
        if (stepOf(part) == step)
            return part;
    }
    return ToolPart::kNone;
}

/// The part `part`, 0 to 1, of what lies between `from` and `to`.
double within(double from, double to, double part) {
    return from + (to - from) * std::clamp(part, 0.0, 1.0);
}

}  // namespace

/// What was read.
struct ToolLines::State {
    ToolPart part = ToolPart::kNone;
    /// The step that the part belongs to.
    std::string owner;
    std::size_t sections = 0;
    /// Whether the start wasn't seen.
    bool isHeadless = false;
    bool isAnnealing = false;
    bool isRouter2 = false;

    /// The stages of the placement: numbers of iterations, and those that the placement before
    /// took, which the step that routes repeats.
    enum class Stage { kPacking, kHeap, kRefinement, kAnnealing, kPlaced, kRouting, kRouted };
    Stage stage = Stage::kPacking;
    long iterations = 0;
    long heap = 0, refinement = 0, annealing = 0;
    long heapBefore = 0, refinementBefore = 0, annealingBefore = 0;

    long arcs = 0;
    long left = -1;
    long firstOverused = 0;
    long overused = -1;

    double passed = 0;
    std::string pass;

    void begin(const std::string& command);
    void readSynthesis(const std::string& line);
    void readPlacer(const std::string& line);
    void readRouter(const std::string& line);
    void iterated(long count);
    ToolProgress synthesis() const;
    ToolProgress placement() const;
    ToolProgress routing() const;
    ToolProgress routeStep() const;
};

void ToolLines::State::begin(const std::string& command) {
    const std::string program = programOf(command);
    State next;
    next.heapBefore = std::max(heap, heapBefore);
    next.refinementBefore = std::max(refinement, refinementBefore);
    next.annealingBefore = std::max(annealing, annealingBefore);
    next.part = partOf(program, command);
    // Whose reports are written is told by what ran before them.
    next.owner = next.part == ToolPart::kReports ? owner : stepOf(next.part);
    next.isAnnealing = holds(command, " --placer sa");
    next.isRouter2 = holds(command, " --router router2");
    next.sections = sections + (next.part == mainPartOf(next.owner) ? 1 : 0);
    *this = std::move(next);
}

void ToolLines::State::readSynthesis(const std::string& line) {
    const std::optional<Heading> heading = headingOf(line);
    // Passes within a pass change too fast to be read.
    if (!heading || heading->depth > 2)
        return;
    pass = printable(heading->text.substr(0, 80));
    if (startsWith(heading->text, "JSON backend"))
        passed = std::max(passed, 0.99);
    for (const Pass& known : kPasses) {
        if (heading->name == known.name && passed >= known.from)
            passed = std::max(passed, known.at);
    }
}

void ToolLines::State::iterated(long count) {
    iterations = count;
    if (stage == Stage::kHeap)
        heap = std::max(heap, count);
    else if (stage == Stage::kRefinement)
        refinement = std::max(refinement, count);
    else if (stage == Stage::kAnnealing)
        annealing = std::max(annealing, count);
}

void ToolLines::State::readPlacer(const std::string& line) {
    const auto enter = [this](Stage next) {
        stage = next;
        iterations = 0;
    };
    if (startsWith(line, "Creating initial analytic placement"))
        enter(Stage::kHeap);
    else if (startsWith(line, "Running simulated annealing placer for refinement"))
        enter(Stage::kRefinement);
    else if (startsWith(line, "Creating initial placement"))
        enter(Stage::kAnnealing);
    else if (startsWith(line, "SA placement time"))
        enter(Stage::kPlaced);
    else if (const std::optional<long> count = numberAfter(line, "at iteration #"))
        iterated(*count);
}

void ToolLines::State::readRouter(const std::string& line) {
    if (startsWith(line, "Routing..") || startsWith(line, "Running router2")) {
        stage = Stage::kRouting;
        left = -1;
    } else if (startsWith(line, "Routing complete") || startsWith(line, "Router2 time"))
        stage = Stage::kRouted;
    else if (startsWith(line, "Routing ") && holds(line, " arcs.")) {
        arcs = numberAfter(line, "Routing ").value_or(0);
        stage = Stage::kRouting;
    } else if (const std::optional<long> wires = numberAfter(line, " overused=")) {
        iterations = numberAfter(line, "iter=").value_or(0);
        overused = *wires;
        firstOverused = std::max(firstOverused, overused);
        stage = Stage::kRouting;
    } else if (const std::optional<long> count = arcsLeft(line)) {
        left = *count;
        stage = Stage::kRouting;
    }
}

ToolProgress ToolLines::State::synthesis() const {
    ToolProgress progress;
    progress.isKnown = true;
    progress.fraction = progress.atLeast = passed;
    for (const Pass& known : kPasses) {
        if (known.at > passed)
            progress.atMost = std::min(progress.atMost, known.at);
    }
    progress.text = pass.empty() ? "starting" : pass;
    return progress;
}

/// Of the placement alone. A number of iterations that was seen before is exact; the usual
/// one leaves room to both sides.
ToolProgress ToolLines::State::placement() const {
    struct Share {
        double from, to, usual;
        long before;
        const char* text;
    };
    ToolProgress progress;
    progress.isKnown = true;
    Share share{0, 0.05, 0, 0, "packing"};
    if (stage == Stage::kHeap)
        share = {0.05, 0.52, kUsualHeap, heapBefore, "placing"};
    else if (stage == Stage::kRefinement)
        share = {0.52, 1, kUsualRefinement, refinementBefore, "refining the placement"};
    else if (stage == Stage::kAnnealing)
        share = {0.02, 1, kUsualAnnealing, annealingBefore, "placing by annealing"};
    else if (stage != Stage::kPacking) {
        progress.fraction = progress.atLeast = 1;
        progress.text = "placed";
        return progress;
    }
    const double total = share.before > 0 ? static_cast<double>(share.before) : share.usual;
    const double slack = share.before > 0 ? 1.0 : 1.3;
    const auto done = static_cast<double>(iterations);
    progress.text = share.text;
    progress.atMost = share.to;
    progress.fraction = progress.atLeast = share.from;
    if (iterations == 0)
        return progress;
    progress.fraction = within(share.from, share.to, std::min(done / total, 0.97));
    progress.atLeast = within(share.from, share.to, std::min(done / (total * slack), 0.97));
    if (share.before > 0)
        progress.atMost = within(share.from, share.to, (done + 5) / total);
    progress.text += fmt::format(", iteration {}", iterations);
    if (share.before >= iterations)
        progress.text += fmt::format(" of {}", share.before);
    return progress;
}

ToolProgress ToolLines::State::routing() const {
    ToolProgress progress;
    progress.isKnown = true;
    progress.text = "routing";
    if (stage == Stage::kRouted) {
        progress.fraction = progress.atLeast = 1;
        progress.text = "routed";
    } else if (overused >= 0) {
        // Most wires come apart in the first iterations; the last few take many short ones.
        const double share =
            static_cast<double>(overused) / static_cast<double>(std::max(1L, firstOverused));
        progress.fraction = overused == 0 ? 0.98 : 1 - 0.63 * std::sqrt(share);
        progress.atLeast = progress.fraction * 0.8;
        progress.text = fmt::format("routing, iteration {}, {} {} overused", iterations, overused,
                                    overused == 1 ? "wire" : "wires");
    } else if (left >= 0 && arcs > 0) {
        progress.fraction =
            std::clamp(1 - static_cast<double>(left) / static_cast<double>(arcs), 0.0, 1.0);
        progress.atLeast = progress.fraction * 0.8;
        progress.atMost = std::min(1.0, progress.fraction + 0.2);
    }
    if (stage == Stage::kRouted)
        return progress;
    if (overused < 0 && left >= 0)
        progress.text = fmt::format("routing, {} {} left", left, left == 1 ? "arc" : "arcs");
    else if (overused < 0 && arcs > 0)
        progress.text = fmt::format("routing, {} arcs left", arcs);
    return progress;
}

ToolProgress ToolLines::State::routeStep() const {
    const double share = placementShare(isAnnealing, isRouter2);
    const bool isRouting = stage == Stage::kRouting || stage == Stage::kRouted;
    ToolProgress progress = isRouting ? routing() : placement();
    const double from = isRouting ? share : 0;
    const double to = isRouting ? 1 : share;
    for (double* value : {&progress.fraction, &progress.atLeast, &progress.atMost})
        *value = within(from, to, *value);
    if (!isRouting)
        progress.text += " again";
    return progress;
}

ToolLines::ToolLines() : m_state(std::make_unique<State>()) {}

ToolLines::~ToolLines() = default;

void ToolLines::reset() {
    *m_state = State();
}

std::size_t ToolLines::sections() const {
    return m_state->sections;
}

void ToolLines::read(const std::string& line, const std::string& step) {
    const char kCommand[] = "Command: ";
    if (startsWith(line, kCommand)) {
        m_state->begin(line.substr(sizeof kCommand - 1));
        return;
    }
    if (m_state->part == ToolPart::kNone) {
        m_state->part = mainPartOf(step);
        m_state->owner = step;
        m_state->isHeadless = true;
    }
    if (m_state->part == ToolPart::kSynthesis)
        m_state->readSynthesis(line);
    if (m_state->part != ToolPart::kPlacing && m_state->part != ToolPart::kRouting)
        return;
    std::size_t at = startsWith(line, "Info: ") ? 6 : std::string::npos;
    if (at == std::string::npos)
        return;
    at = line.find_first_not_of(' ', at);
    if (at == std::string::npos)
        return;
    const std::string text = line.substr(at);
    m_state->readPlacer(text);
    if (m_state->part == ToolPart::kRouting)
        m_state->readRouter(text);
}

ToolProgress ToolLines::progress(const std::string& step) const {
    const bool isToldNothing =
        m_state->isHeadless && m_state->stage == State::Stage::kPacking && m_state->pass.empty();
    if (m_state->owner != step || isToldNothing)
        return {};
    const auto scaled = [](ToolProgress progress) {
        // Behind the tool come its reports.
        for (double* value : {&progress.fraction, &progress.atLeast})
            *value *= 0.93;
        return progress;
    };
    const auto fixed = [](double fraction, const char* text) {
        return ToolProgress{true, fraction, fraction, 1, text};
    };
    switch (m_state->part) {
    case ToolPart::kSynthesis:
        return scaled(m_state->synthesis());
    case ToolPart::kPlacing:
        return scaled(m_state->placement());
    case ToolPart::kRouting:
        return scaled(m_state->routeStep());
    case ToolPart::kTiming:
        return fixed(0.93, "timing");
    case ToolPart::kReports:
        return fixed(0.96, "writing reports");
    case ToolPart::kPacking:
        return fixed(0.1, "packing the bitstream");
    case ToolPart::kNone:
        break;
    }
    return {};
}

}  // namespace workbench
