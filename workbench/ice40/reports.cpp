// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "workbench/ice40/reports.h"

#include <algorithm>
#include <locale>
#include <sstream>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "workbench/ice40/jsonNumbers.h"
#include "workbench/ice40/parseJson.h"

namespace ice40 {

namespace {

using nlohmann::json;

bool refuse(std::string& reason, const char* why) {
    reason = why;
    return false;
}

constexpr const char* kNoJson = "it is not valid JSON; it may have been cut short";

/// A number as the tools write it, whatever the user's locale.
bool readNumber(std::istream& stream, double& value) {
    stream.imbue(std::locale::classic());
    return static_cast<bool>(stream >> value);
}

struct Resource {
    const char* name;       ///< in nextpnr's report
    const char* used;       ///< in the metrics
    const char* available;  ///< in the metrics; null where nobody asks
};

constexpr Resource kResources[] = {
    {"ICESTORM_LC", counts::kLogicCells, counts::kLogicCellsAvailable},
    {"ICESTORM_RAM", counts::kBlockRams, counts::kBlockRamsAvailable},
    {"SB_IO", counts::kIos, nullptr},
    {"SB_GB", counts::kGlobalBuffers, nullptr},
    {"ICESTORM_PLL", counts::kPlls, nullptr},
    {"ICESTORM_DSP", counts::kDsps, nullptr},
    {"ICESTORM_SPRAM", counts::kSprams, nullptr},
};

bool takeResource(const json& utilization, const Resource& resource, StepMetrics& metrics) {
    const auto found = utilization.find(resource.name);
    if (found == utilization.end())
        return true;
    const auto used = found->find("used");
    const auto available = found->find("available");
    long count = 0;
    if (available == found->end() || !getCount(*available, count))
        return false;
    if (resource.available != nullptr)
        metrics.counts[resource.available] = count;
    if (used == found->end() || !getCount(*used, count))
        return false;
    metrics.counts[resource.used] = count;
    return true;
}

bool takeClock(const std::string& name, const json& entry, StepMetrics& metrics) {
    const auto achieved = entry.find("achieved");
    const auto constraint = entry.find("constraint");
    if (achieved == entry.end() || !achieved->is_number() || constraint == entry.end() ||
        !constraint->is_number())
        return false;
    ClockTiming clock{name, achieved->get<double>(), constraint->get<double>()};
    if (!isFrequency(clock.fmaxMhz) || !isFrequency(clock.targetMhz))
        return false;
    metrics.clocks.push_back(clock);
    return true;
}

constexpr const char* kLutOnly = "LUT4 only";
constexpr const char* kLutAndDff = "LUT4 and DFF";
constexpr const char* kDffOnly = "DFF only";

}  // namespace

long CellCounts::startingWith(const std::string& prefix) const {
    long sum = 0;
    for (auto at = byType.lower_bound(prefix);
         at != byType.end() && at->first.compare(0, prefix.size(), prefix) == 0; ++at)
        sum += at->second;
    return sum;
}

bool parseStatReport(const std::string& text, CellCounts& counts, std::string& reason) {
    const json document = parseJson(text);
    if (document.is_discarded() || !document.is_object())
        return refuse(reason, kNoJson);
    CellCounts result;
    const auto design = document.find("design");
    if (design == document.end() || !design->is_object() || !design->contains("num_cells") ||
        !getCount((*design)["num_cells"], result.cells) || !design->contains("num_cells_by_type") ||
        !(*design)["num_cells_by_type"].is_object())
        return refuse(reason, "it holds no cell counts of a design");
    result.creator = document.contains("creator") && document["creator"].is_string()
                         ? document["creator"].get<std::string>()
                         : std::string();
    for (const auto& item : (*design)["num_cells_by_type"].items()) {
        if (!getCount(item.value(), result.byType[item.key()]))
            return refuse(reason, "a cell count of it is not a number");
    }
    counts = std::move(result);
    return true;
}

void addCounts(const CellCounts& cells, StepMetrics& metrics) {
    metrics.counts[counts::kCells] = cells.cells;
    metrics.counts[counts::kLuts] = cells.startingWith("SB_LUT4");
    metrics.counts[counts::kFlipFlops] = cells.startingWith("SB_DFF");
    metrics.counts[counts::kCarries] = cells.startingWith("SB_CARRY");
    metrics.counts[counts::kBlockRams] = cells.startingWith("SB_RAM40_4K");
    metrics.counts[counts::kDsps] = cells.startingWith("SB_MAC16");
    metrics.counts[counts::kSprams] = cells.startingWith("SB_SPRAM256KA");
}

bool parsePnrReport(const std::string& text, StepMetrics& metrics, std::string& reason) {
    const json document = parseJson(text);
    if (document.is_discarded() || !document.is_object())
        return refuse(reason, kNoJson);
    const auto utilization = document.find("utilization");
    const auto fmax = document.find("fmax");
    if (utilization == document.end() || !utilization->is_object() || fmax == document.end() ||
        !(fmax->is_object() || fmax->is_null()))
        return refuse(reason, "it holds no utilisation or no clock table");
    StepMetrics result = metrics;
    result.clocks.clear();
    for (const Resource& resource : kResources)
        if (!takeResource(*utilization, resource, result))
            return refuse(reason, "a utilisation of it is not a number");
    for (const auto& item : fmax->items())
        if (!item.value().is_object() || !takeClock(item.key(), item.value(), result))
            return refuse(reason, "a clock of it has no frequency");
    metrics = std::move(result);
    return true;
}

void PnrLog::readLine(const std::string& line) {
    static const std::string kChecksum = "Info: Checksum: ";
    static const std::string kClock = "Max frequency for clock ";
    const std::size_t clock = line.find(kClock);
    if (line.rfind(kChecksum, 0) == 0)
        m_checksums.push_back(line.substr(kChecksum.size()));
    else if (clock != std::string::npos)
        readClock_(line, clock + kClock.size());
    else if (line.find(" LCs used as ") != std::string::npos)
        readPacking_(line);
}

void PnrLog::readClock_(const std::string& line, std::size_t at) {
    const std::size_t open = line.find('\'', at);
    const std::size_t close = line.rfind("': ");
    if (open == std::string::npos || close == std::string::npos || close <= open)
        return;
    ClockTiming clock;
    clock.name = line.substr(open + 1, close - open - 1);
    std::istringstream rest(line.substr(close + 3));
    std::string unit;
    std::string verdict;
    std::string preposition;
    if (!readNumber(rest, clock.fmaxMhz) || !(rest >> unit >> verdict >> preposition) ||
        !readNumber(rest, clock.targetMhz) || !isFrequency(clock.fmaxMhz) ||
        !isFrequency(clock.targetMhz))
        return;
    const auto isSame = [&](const ClockTiming& known) { return known.name == clock.name; };
    const auto known = std::find_if(m_clocks.begin(), m_clocks.end(), isSame);
    if (known == m_clocks.end())
        m_clocks.push_back(clock);
    else
        *known = clock;
}

void PnrLog::readPacking_(const std::string& line) {
    std::istringstream words(line);
    std::string info;
    long count = 0;
    std::string rest;
    words >> info >> count;
    std::getline(words, rest);
    static const std::string kUse = " LCs used as ";
    if (words && isCount(count) && rest.rfind(kUse, 0) == 0)
        m_packed[rest.substr(kUse.size())] = count;
}

void PnrLog::addCounts(StepMetrics& metrics) const {
    const auto lutOnly = m_packed.find(kLutOnly);
    const auto both = m_packed.find(kLutAndDff);
    const auto dffOnly = m_packed.find(kDffOnly);
    if (lutOnly == m_packed.end() || both == m_packed.end() || dffOnly == m_packed.end())
        return;
    metrics.counts[counts::kLuts] = lutOnly->second + both->second;
    metrics.counts[counts::kFlipFlops] = both->second + dffOnly->second;
}

std::optional<double> parseIcetimeLine(const std::string& line) {
    static const std::string kStart = "// Timing estimate: ";
    const std::size_t bracket = line.find('(');
    if (line.rfind(kStart, 0) != 0 || bracket == std::string::npos)
        return std::nullopt;
    std::istringstream rest(line.substr(bracket + 1));
    double mhz = 0;
    std::string unit;
    if (!readNumber(rest, mhz) || !(rest >> unit) || unit != "MHz)" || !isFrequency(mhz))
        return std::nullopt;
    return mhz;
}

}  // namespace ice40
