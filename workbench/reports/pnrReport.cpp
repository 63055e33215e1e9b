// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "workbench/reports/pnrReport.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <map>
#include <optional>
#include <string_view>
#include <utility>

#include "workbench/ice40/jsonView.h"
#include "workbench/reports/texts.h"

namespace reports {

namespace {

using ice40::findMember;
using ice40::getMember;
using ice40::JsonArray;
using ice40::JsonObject;
using ice40::JsonValue;

bool getCount(const JsonObject& object, const char* key, long& value) {
    constexpr double kMost = std::numeric_limits<int>::max();
    double number = 0;
    if (!getMember(object, key, number) || number < 0 || number > kMost ||
        std::trunc(number) != number)
        return false;
    value = static_cast<long>(number);
    return true;
}

/// Hands the members of `object`, in the order of their names and each once, to `take` as
/// objects, until that is false or one isn't an object.
template <class Take> bool forEachObject(const JsonObject& object, Take take) {
    std::map<std::string_view, JsonValue> members;
    for (const auto member : object)
        members[member.key] = member.value;
    return std::all_of(members.begin(), members.end(), [&take](const auto& member) {
        JsonObject value;
        return member.second.get(value) == simdjson::SUCCESS &&
               take(std::string(member.first), value);
    });
}

/// The same of the items of `list`.
template <class Take> bool forEachObject(const JsonArray& list, Take take) {
    for (const JsonValue item : list) {
        JsonObject value;
        if (item.get(value) != simdjson::SUCCESS || !take(value))
            return false;
    }
    return true;
}

bool readUtilisation(const JsonObject& table, PnrReport& report) {
    return forEachObject(table, [&report](const std::string& type, const JsonObject& item) {
        Utilisation entry;
        entry.type = type;
        if (!getCount(item, "used", entry.used) || !getCount(item, "available", entry.available))
            return false;
        report.utilisation.push_back(entry);
        return true;
    });
}

bool readClocks(const JsonObject& table, PnrReport& report) {
    return forEachObject(table, [&report](const std::string& name, const JsonObject& item) {
        ice40::ClockTiming clock;
        clock.name = name;
        if (!getMember(item, "achieved", clock.fmaxMhz) ||
            !getMember(item, "constraint", clock.targetMhz) || !(clock.fmaxMhz > 0) ||
            !(clock.targetMhz > 0))
            return false;
        report.clocks.push_back(clock);
        return true;
    });
}

bool readPoint(const JsonObject& hop, const char* key, PathPoint& point) {
    JsonObject found;
    JsonValue place;
    if (!getMember(hop, key, found) || !getMember(found, "cell", point.cell) ||
        !getMember(found, "port", point.port))
        return false;
    if (!findMember(found, "loc", place))
        return true;
    JsonArray pair;
    std::int64_t x = 0;
    std::int64_t y = 0;
    if (place.get(pair) != simdjson::SUCCESS || pair.size() != 2 ||
        pair.at(0).get(x) != simdjson::SUCCESS || pair.at(1).get(y) != simdjson::SUCCESS)
        return false;
    point.location = {static_cast<int>(x), static_cast<int>(y)};
    return true;
}

bool readHop(const JsonObject& item, PathHop& hop) {
    if (!getMember(item, "type", hop.kind) || !getMember(item, "delay", hop.delayNs) ||
        !readPoint(item, "from", hop.from) || !readPoint(item, "to", hop.to))
        return false;
    return !hop.isRouting() || getMember(item, "net", hop.net);
}

bool readPath(const JsonObject& item, TimingPath& path) {
    JsonArray hops;
    return getMember(item, "from", path.from) && getMember(item, "to", path.to) &&
           getMember(item, "path", hops) && forEachObject(hops, [&path](const JsonObject& one) {
               PathHop hop;
               if (!readHop(one, hop))
                   return false;
               path.hops.push_back(std::move(hop));
               return true;
           });
}

bool readPaths(const JsonArray& list, PnrReport& report) {
    return forEachObject(list, [&report](const JsonObject& item) {
        report.paths.emplace_back();
        return readPath(item, report.paths.back());
    });
}

bool readNet(const JsonObject& item, PnrReport& report) {
    NetDelay delay;
    JsonArray ends;
    return getMember(item, "net", delay.net) && getMember(item, "driver", delay.driver) &&
           getMember(item, "endpoints", ends) && forEachObject(ends, [&](const JsonObject& end) {
               if (!getMember(end, "cell", delay.cell) || !getMember(end, "port", delay.port) ||
                   !getMember(end, "delay", delay.delayNs))
                   return false;
               report.nets.push_back(delay);
               return true;
           });
}

bool readNets(const JsonObject& document, PnrReport& report) {
    JsonValue found;
    JsonArray list;
    if (!findMember(document, "detailed_net_timings", found))
        return true;
    report.hasNets = found.get(list) == simdjson::SUCCESS;
    return report.hasNets &&
           forEachObject(list, [&report](const JsonObject& item) { return readNet(item, report); });
}

/// Takes a member that is a `Value`, or null for nothing.
template <class Value>
bool getOrNull(const JsonObject& object, const char* key, std::optional<Value>& value) {
    JsonValue found;
    Value taken;
    if (!findMember(object, key, found))
        return false;
    if (found.is_null())
        return true;
    if (found.get(taken) != simdjson::SUCCESS)
        return false;
    value = taken;
    return true;
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
    JsonObject document;
    JsonObject utilisation;
    std::optional<JsonObject> clocks;
    std::optional<JsonArray> paths;
    if (!ice40::viewJson(text, document))
        return refuse(reason, "it is not valid JSON; it may have been cut short");
    if (!getMember(document, "utilization", utilisation) || !getOrNull(document, "fmax", clocks) ||
        !getOrNull(document, "critical_paths", paths))
        return refuse(reason, "it holds no utilisation, no clock table or no paths");
    PnrReport result;
    if (!readUtilisation(utilisation, result))
        return refuse(reason, "a utilisation of it is not a count");
    if (clocks && !readClocks(*clocks, result))
        return refuse(reason, "a clock of it has no frequency");
    if (paths && !readPaths(*paths, result))
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
