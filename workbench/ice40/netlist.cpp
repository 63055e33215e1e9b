// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "workbench/ice40/netlist.h"

#include <fmt/format.h>
#include <fmt/ranges.h>
#include <nlohmann/json.hpp>

#include "workbench/ice40/blackBox.h"
#include "workbench/ice40/jsonNumbers.h"
#include "workbench/ice40/parseJson.h"

namespace ice40 {

namespace {

using nlohmann::json;

/// A module has ports and cells; a mark on it is text or number, depending on
/// the version of yosys.
bool isMarkedTop(const json& module) {
    const auto attributes = module.find("attributes");
    return attributes != module.end() && attributes->is_object() && attributes->contains("top");
}

std::vector<std::string> ownModules(const json& modules) {
    std::vector<std::string> names;
    for (const auto& item : modules.items())
        if (!isBlackBox(item.value()))
            names.push_back(item.key());
    return names;
}

std::string chooseTop(const json& modules) {
    for (const auto& item : modules.items())
        if (isMarkedTop(item.value()))
            return item.key();
    const std::vector<std::string> names = ownModules(modules);
    return names.size() == 1 ? names.front() : std::string();
}

int integerOr(const json& object, const char* key, int otherwise) {
    const auto found = object.find(key);
    if (found != object.end())
        getWhole(*found, otherwise);
    return otherwise;
}

/// Adds the bits of one port in the numbering of its declaration.
bool addPort(const std::string& name, const json& port, std::vector<PortBit>& ports) {
    const auto direction = port.find("direction");
    const auto bits = port.find("bits");
    if (direction == port.end() || !direction->is_string() || bits == port.end() ||
        !bits->is_array())
        return false;
    const int width = static_cast<int>(bits->size());
    const int offset = integerOr(port, "offset", 0);
    const bool upto = integerOr(port, "upto", 0) != 0;
    for (int i = 0; i < width; ++i) {
        PortBit bit;
        const long index = long{offset} + (upto ? width - 1 - i : i);
        const bool plain = width == 1 && offset == 0;
        bit.name = plain ? name : fmt::format("{}[{}]", name, index);
        bit.port = name;
        bit.direction = direction->get<std::string>();
        const json& net = (*bits)[static_cast<std::size_t>(i)];
        getWhole(net, bit.net);
        ports.push_back(bit);
    }
    return true;
}

bool takeModule(const std::string& top, const json& module, Netlist& netlist, std::string& reason) {
    const auto ports = module.find("ports");
    const auto cells = module.find("cells");
    if (ports == module.end() || !ports->is_object() || cells == module.end() ||
        !cells->is_object()) {
        reason = fmt::format("module '{}' has no ports or no cells", top);
        return false;
    }
    Netlist result;
    result.top = top;
    result.cells = static_cast<long>(cells->size());
    for (const auto& port : ports->items()) {
        if (!port.value().is_object() || !addPort(port.key(), port.value(), result.ports)) {
            reason = fmt::format("port '{}' of module '{}' has no direction or no bits", port.key(),
                                 top);
            return false;
        }
    }
    netlist = std::move(result);
    return true;
}

}  // namespace

bool parseNetlist(const std::string& text, const std::string& top, Netlist& netlist,
                  std::string& reason) {
    const json document = parseJson(text);
    if (document.is_discarded() || !document.is_object()) {
        reason = "it is not valid JSON; it may have been cut short";
        return false;
    }
    const auto modules = document.find("modules");
    if (modules == document.end() || !modules->is_object() || modules->empty()) {
        reason = "it holds no modules, so it is not a netlist of yosys";
        return false;
    }
    const std::string name = top.empty() ? chooseTop(*modules) : top;
    const auto module = modules->find(name);
    if (module == modules->end() || !module->is_object()) {
        reason = fmt::format("it holds no module '{}', but {}", name,
                             fmt::join(ownModules(*modules), ", "));
        return false;
    }
    return takeModule(name, *module, netlist, reason);
}

}  // namespace ice40
