// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "workbench/reports/pnrReport.h"

#include <cmath>
#include <limits>
#include <utility>

#include <nlohmann/json.hpp>

#include "workbench/ice40/parseJson.h"

namespace reports {

namespace {

using nlohmann::json;

bool refuse(std::string& reason, const char* why) {
    reason = why;
    return false;
}

bool getText(const json& object, const char* key, std::string& value) {
    const auto found = object.find(key);
    if (found == object.end() || !found->is_string())
        return false;
    value = found->get<std::string>();
    return true;
}

bool getNumber(const json& object, const char* key, double& value) {
    const auto found = object.find(key);
    if (found == object.end() || !found->is_number())
        return false;
    value = found->get<double>();
    return std::isfinite(value);
}

bool getCount(const json& object, const char* key, long& value) {
    constexpr double kMost = std::numeric_limits<int>::max();
    double number = 0;
    if (!getNumber(object, key, number) || number < 0 || number > kMost ||
        std::trunc(number) != number)
        return false;
    value = static_cast<long>(number);
    return true;
}

bool readUtilisation(const json& table, PnrReport& report) {
    for (const auto& item : table.items()) {
        Utilisation entry;
        entry.type = item.key();
        if (!item.value().is_object() || !getCount(item.value(), "used", entry.used) ||
            !getCount(item.value(), "available", entry.available))
            return false;
        report.utilisation.push_back(entry);
    }
    return true;
}

bool readClocks(const json& table, PnrReport& report) {
    for (const auto& item : table.items()) {
        ice40::ClockTiming clock;
        clock.name = item.key();
        if (!item.value().is_object() || !getNumber(item.value(), "achieved", clock.fmaxMhz) ||
            !getNumber(item.value(), "constraint", clock.targetMhz) || !(clock.fmaxMhz > 0) ||
            !(clock.targetMhz > 0))
            return false;
        report.clocks.push_back(clock);
    }
    return true;
}

bool readPoint(const json& hop, const char* key, PathPoint& point) {
    const auto found = hop.find(key);
    if (found == hop.end() || !found->is_object() || !getText(*found, "cell", point.cell) ||
        !getText(*found, "port", point.port))
        return false;
    const auto place = found->find("loc");
    if (place == found->end())
        return true;
    if (!place->is_array() || place->size() != 2 || !(*place)[0].is_number_integer() ||
        !(*place)[1].is_number_integer())
        return false;
    point.location = {(*place)[0].get<int>(), (*place)[1].get<int>()};
    return true;
}

bool readHop(const json& item, PathHop& hop) {
    if (!item.is_object() || !getText(item, "type", hop.kind) ||
        !getNumber(item, "delay", hop.delayNs) || !readPoint(item, "from", hop.from) ||
        !readPoint(item, "to", hop.to))
        return false;
    return !hop.isRouting() || getText(item, "net", hop.net);
}

bool readPath(const json& item, TimingPath& path) {
    if (!item.is_object() || !getText(item, "from", path.from) || !getText(item, "to", path.to))
        return false;
    const auto hops = item.find("path");
    if (hops == item.end() || !hops->is_array())
        return false;
    for (const json& one : *hops) {
        PathHop hop;
        if (!readHop(one, hop))
            return false;
        path.hops.push_back(std::move(hop));
    }
    return true;
}

bool readPaths(const json& list, PnrReport& report) {
    for (const json& item : list) {
        TimingPath path;
        if (!readPath(item, path))
            return false;
        report.paths.push_back(std::move(path));
    }
    return true;
}

bool readNet(const json& item, PnrReport& report) {
    NetDelay delay;
    if (!item.is_object() || !getText(item, "net", delay.net) ||
        !getText(item, "driver", delay.driver))
        return false;
    const auto ends = item.find("endpoints");
    if (ends == item.end() || !ends->is_array())
        return false;
    for (const json& end : *ends) {
        if (!end.is_object() || !getText(end, "cell", delay.cell) ||
            !getText(end, "port", delay.port) || !getNumber(end, "delay", delay.delayNs))
            return false;
        report.nets.push_back(delay);
    }
    return true;
}

bool readNets(const json& document, PnrReport& report) {
    const auto list = document.find("detailed_net_timings");
    if (list == document.end())
        return true;
    if (!list->is_array())
        return false;
    report.hasNets = true;
    for (const json& item : *list)
        if (!readNet(item, report))
            return false;
    return true;
}

bool endsWith(const std::string& text, const std::string& end) {
    return text.size() > end.size() && text.compare(text.size() - end.size(), end.size(), end) == 0;
}

}  // namespace

double TimingPath::delayNs() const {
    double sum = 0;
    for (const PathHop& hop : hops)
        sum += hop.delayNs;
    return sum;
}

double TimingPath::routingNs() const {
    double sum = 0;
    for (const PathHop& hop : hops)
        if (hop.isRouting())
            sum += hop.delayNs;
    return sum;
}

long TimingPath::levels() const {
    long count = 0;
    for (const PathHop& hop : hops)
        if (hop.kind == "logic")
            ++count;
    return count;
}

bool parsePnrDetails(const std::string& text, PnrReport& report, std::string& reason) {
    const json document = ice40::parseJson(text);
    if (document.is_discarded() || !document.is_object())
        return refuse(reason, "it is not valid JSON; it may have been cut short");
    const auto utilisation = document.find("utilization");
    const auto clocks = document.find("fmax");
    const auto paths = document.find("critical_paths");
    if (utilisation == document.end() || !utilisation->is_object() || clocks == document.end() ||
        !(clocks->is_object() || clocks->is_null()) || paths == document.end() ||
        !(paths->is_array() || paths->is_null()))
        return refuse(reason, "it holds no utilisation, no clock table or no paths");
    PnrReport result;
    if (!readUtilisation(*utilisation, result))
        return refuse(reason, "a utilisation of it is not a count");
    if (!readClocks(*clocks, result))
        return refuse(reason, "a clock of it has no frequency");
    if (!readPaths(*paths, result))
        return refuse(reason, "a path of it lacks a delay, a cell or a net");
    if (!readNets(document, result))
        return refuse(reason, "a net timing of it lacks a delay or a cell");
    report = std::move(result);
    return true;
}

std::string ClockEvent::shown() const {
    if (isAsync())
        return "no clock";
    return designName(clock) + (isFalling ? " (falling)" : " (rising)");
}

ClockEvent parseEvent(const std::string& text) {
    static const std::string kRising = "posedge ";
    static const std::string kFalling = "negedge ";
    ClockEvent event;
    if (text.rfind(kRising, 0) == 0)
        event.clock = text.substr(kRising.size());
    else if (text.rfind(kFalling, 0) == 0)
        event = {text.substr(kFalling.size()), true};
    return event;
}

std::string designName(const std::string& net) {
    std::string name = net;
    for (const char* end :
         {"_$glb_clk", "_$glb_sr", "_$glb_ce", "$SB_IO_IN", "$SB_IO_OUT", "$SB_IO_OE"})
        if (endsWith(name, end))
            name.erase(name.size() - std::string(end).size());
    return name;
}

}  // namespace reports
