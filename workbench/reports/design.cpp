// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "workbench/reports/design.h"

#include <algorithm>
#include <cstdint>
#include <sstream>
#include <tuple>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "workbench/ice40/parseJson.h"
#include "workbench/reports/texts.h"

namespace reports {

namespace {

using nlohmann::json;

/// The number of a net, or what stands in its place; a number out of range
/// counts as nothing.
int netOf(const json& bit) {
    if (bit.is_number_unsigned() && bit.get<std::uint64_t>() <= 0x7fffffffU)
        return bit.get<int>();
    const std::string text = bit.is_string() ? bit.get<std::string>() : std::string();
    return text == "0" || text == "1" ? kConstantNet : kNoNet;
}

std::string sourceOf(const json& object) {
    const auto attributes = object.find("attributes");
    if (attributes == object.end() || !attributes->is_object() || !attributes->contains("src") ||
        !(*attributes)["src"].is_string())
        return {};
    return ownSource((*attributes)["src"].get<std::string>());
}

bool isHidden(const json& object) {
    const auto found = object.find("hide_name");
    return found != object.end() && found->is_number() && found->get<double>() != 0;
}

bool readPins(const json& connections, const json& directions, DesignCell& cell) {
    for (const auto& item : connections.items()) {
        if (!item.value().is_array())
            return false;
        const auto direction = directions.find(item.key());
        DesignPin pin;
        pin.port = item.key();
        const bool isTold = direction != directions.end() && direction->is_string();
        pin.isOutput = isTold && direction->get<std::string>() == "output";
        pin.isBoth = isTold && direction->get<std::string>() == "inout";
        for (const json& bit : item.value()) {
            pin.net = netOf(bit);
            cell.pins.push_back(pin);
        }
    }
    return true;
}

bool readCell(const std::string& name, const json& item, Design& design) {
    if (!item.is_object())
        return false;
    const auto type = item.find("type");
    const auto connections = item.find("connections");
    const auto directions = item.find("port_directions");
    if (type == item.end() || !type->is_string() || connections == item.end() ||
        !connections->is_object() || directions == item.end() || !directions->is_object())
        return false;
    DesignCell cell;
    cell.name = name;
    cell.type = type->get<std::string>();
    cell.source = sourceOf(item);
    if (!readPins(*connections, *directions, cell))
        return false;
    design.cells.push_back(std::move(cell));
    return true;
}

long numberIn(const json& object, const char* key) {
    const auto found = object.find(key);
    const bool isNumber = found != object.end() && found->is_number_integer();
    return isNumber ? found->get<long>() : 0;
}

bool readName(const std::string& name, const json& item, Design& design) {
    if (!item.is_object())
        return false;
    const auto bits = item.find("bits");
    if (bits == item.end() || !bits->is_array())
        return false;
    const long offset = numberIn(item, "offset");
    const bool isUpwards = numberIn(item, "upto") != 0;
    const auto width = static_cast<long>(bits->size());
    design.addSource(name, sourceOf(item));
    for (long i = 0; i < width; ++i) {
        const long index = offset + (isUpwards ? width - 1 - i : i);
        const bool isPlain = width == 1 && offset == 0;
        const int net = netOf((*bits)[static_cast<std::size_t>(i)]);
        if (net >= 0)
            design.addName(net, isPlain ? name : fmt::format("{}[{}]", name, index),
                           isHidden(item));
    }
    return true;
}

bool readModule(const json& module, Design& design, std::string& reason) {
    for (const auto& item : module["cells"].items())
        if (!readCell(item.key(), item.value(), design))
            return refuse(reason,
                          fmt::format("cell '{}' has no type or no connections", item.key()));
    const auto names = module.find("netnames");
    if (names == module.end() || !names->is_object())
        return refuse(reason, "it holds no names of nets");
    for (const auto& item : names->items())
        if (!readName(item.key(), item.value(), design))
            return refuse(reason, fmt::format("net '{}' has no bits", item.key()));
    design.indexCells();
    return true;
}

bool isLibrary(const std::string& path) {
    return path.find("/share/yosys/") != std::string::npos;
}

/// "dir/uart.v:37.5-39.29" as "uart.v:37".
std::string shortPlace(const std::string& place) {
    const std::size_t colon = place.rfind(':');
    if (colon == std::string::npos)
        return place;
    const std::size_t slash = place.rfind('/', colon);
    const std::size_t start = slash == std::string::npos ? 0 : slash + 1;
    const std::size_t end = place.find_first_of(".-", colon);
    return place.substr(start, end == std::string::npos ? end : end - start);
}

}  // namespace

int DesignCell::netOf(const std::string& port) const {
    const auto found = std::find_if(pins.begin(), pins.end(),
                                    [&](const DesignPin& pin) { return pin.port == port; });
    return found == pins.end() ? kNoNet : found->net;
}

std::string Design::netName(int net) const {
    const auto found = m_names.find(net);
    return found == m_names.end() ? fmt::format("net {}", net) : found->second.text;
}

std::string Design::netSource(const std::string& name) const {
    const auto whole = m_sources.find(name);
    if (whole != m_sources.end())
        return whole->second;
    const auto bus = m_sources.find(name.substr(0, name.rfind('[')));
    return bus == m_sources.end() ? std::string() : bus->second;
}

const DesignCell* Design::findCell(const std::string& name) const {
    const auto found = m_cells.find(name);
    return found == m_cells.end() ? nullptr : &cells[found->second];
}

std::string Design::placedSource(const std::string& name) const {
    for (const std::string& end : {std::string(), std::string("_DFFLC"), std::string("_LC")}) {
        const bool fits = name.size() > end.size() &&
                          name.compare(name.size() - end.size(), end.size(), end) == 0;
        const DesignCell* cell =
            fits ? findCell(name.substr(0, name.size() - end.size())) : nullptr;
        if (cell != nullptr)
            return cell->source;
    }
    return {};
}

void Design::addName(int net, const std::string& name, bool isNameHidden) {
    const auto rank = [](const std::string& text, bool hidden) {
        return std::make_tuple(hidden, std::count(text.begin(), text.end(), '.'), text.size());
    };
    Name& known = m_names[net];
    if (known.text.empty() || rank(name, isNameHidden) < rank(known.text, known.isHidden))
        known = {name, isNameHidden};
}

void Design::addSource(const std::string& name, const std::string& source) {
    if (!source.empty())
        m_sources[name] = source;
}

void Design::indexCells() {
    for (std::size_t i = 0; i < cells.size(); ++i)
        m_cells.emplace(cells[i].name, i);
}

bool parseDesign(const std::string& text, const std::string& top, Design& design,
                 std::string& reason) {
    ice40::Netlist netlist;
    if (!ice40::parseNetlist(text, top, netlist, reason))
        return false;
    const json document = ice40::parseJson(text);
    Design result;
    result.top = netlist.top;
    result.ports = netlist.ports;
    if (!readModule(document["modules"][netlist.top], result, reason))
        return false;
    design = std::move(result);
    return true;
}

std::string ownSource(const std::string& attribute) {
    std::istringstream places(attribute);
    for (std::string place; std::getline(places, place, '|');)
        if (!place.empty() && !isLibrary(place))
            return shortPlace(place);
    return {};
}

std::string instanceOf(const std::string& name) {
    const std::size_t dot = name.rfind('.');
    return dot == std::string::npos ? std::string() : name.substr(0, dot);
}

}  // namespace reports
