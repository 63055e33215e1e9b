// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "workbench/failures/netlistPlaces.h"

#include <nlohmann/json.hpp>

namespace workbench {

namespace {

using nlohmann::json;

/// The member `key` of an object; null when there is none.
const json* memberOf(const json* object, const std::string& key) {
    if (object == nullptr || !object->is_object())
        return nullptr;
    const auto found = object->find(key);
    return found == object->end() ? nullptr : &*found;
}

bool placeOf(const json* item, SourcePlace& place) {
    const json* source = memberOf(memberOf(item, "attributes"), "src");
    return source != nullptr && source->is_string() &&
           readPlace(source->get_ref<const std::string&>(), place);
}

bool placeInModules(const json& modules, const std::string& name, SourcePlace& place) {
    for (const auto& module : modules) {
        for (const char* kind : {"netnames", "cells"})
            if (placeOf(memberOf(memberOf(&module, kind), name), place))
                return true;
    }
    return false;
}

/// `name` without its last part behind '$' or '_'; empty when there is none.
std::string shortened(const std::string& name) {
    const std::size_t sign = name.find_last_of("$_");
    return sign == std::string::npos ? std::string() : name.substr(0, sign);
}

}  // namespace

bool findNetlistPlace(const std::string& text, const std::string& name, SourcePlace& place) {
    const json netlist = json::parse(text, nullptr, false);
    const json* modules = netlist.is_discarded() ? nullptr : memberOf(&netlist, "modules");
    if (modules == nullptr || !modules->is_object())
        return false;
    for (std::string part = name; !part.empty(); part = shortened(part))
        if (placeInModules(*modules, part, place))
            return true;
    return false;
}

}  // namespace workbench
