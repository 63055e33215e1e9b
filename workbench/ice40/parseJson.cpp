// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "workbench/ice40/parseJson.h"

#include <cstdint>

#include <simdjson.h>

namespace ice40 {

namespace {

using nlohmann::json;
namespace dom = simdjson::dom;

json valueOf(const dom::element& element);

json arrayOf(const dom::array& array) {
    json::array_t values;
    values.reserve(array.size());
    for (const dom::element element : array)
        values.push_back(valueOf(element));
    return values;
}

/// The last of the members of one name.
json objectOf(const dom::object& object) {
    json::object_t members;
    for (const dom::key_value_pair member : object)
        members[std::string(member.key)] = valueOf(member.value);
    return members;
}

/// How deep it may go is bounded by the parser.
json valueOf(const dom::element& element) {
    switch (element.type()) {
    case dom::element_type::ARRAY:
        return arrayOf(dom::array(element));
    case dom::element_type::OBJECT:
        return objectOf(dom::object(element));
    case dom::element_type::INT64: {
        const std::int64_t number(element);
        return number < 0 ? json(number) : json(static_cast<std::uint64_t>(number));
    }
    case dom::element_type::UINT64:
        return std::uint64_t(element);
    case dom::element_type::DOUBLE:
        return double(element);
    case dom::element_type::STRING:
        return std::string(std::string_view(element));
    case dom::element_type::BOOL:
        return bool(element);
    default:
        return nullptr;
    }
}

}  // namespace

json parseJson(std::string_view text) {
    thread_local dom::parser s_parser;
    dom::element root;
    if (s_parser.parse(text.data(), text.size()).get(root) == simdjson::SUCCESS)
        return valueOf(root);
    // That one would take a zero byte for the end.
    if (text.find('\0') != std::string_view::npos)
        return json::value_t::discarded;
    // Also numbers too large for an integer, and what is nested deeper than it goes.
    return json::parse(text, nullptr, false);
}

}  // namespace ice40
