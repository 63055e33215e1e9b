// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include <simdjson.h>

/// JSON that is read once, where it stands: no tree of it is made. For the small files of which
/// a list or a page reads thousands; what is kept and changed is for parseJson().
namespace ice40 {

using JsonObject = simdjson::dom::object;
using JsonArray = simdjson::dom::array;
using JsonValue = simdjson::dom::element;

/// Takes the object that `text` is in JSON, in UTF-8. False where it is anything else, is cut
/// short, is nested more than a thousand deep or holds a number that no 64 bits do. The object
/// and all in it hold until this thread calls it again.
bool viewJson(std::string_view text, JsonObject& root);

/// Takes the member `name`, the last one of that name; false when there is none.
bool findMember(const JsonObject& object, std::string_view name, JsonValue& value);

/// The same of a member that is a `Value`: JsonObject, JsonArray, std::string_view, double (also
/// of a whole number) or std::int64_t. False, with `value` as it was, for anything else.
template <class Value>
bool getMember(const JsonObject& object, std::string_view name, Value& value) {
    JsonValue found;
    return findMember(object, name, found) && found.get(value) == simdjson::SUCCESS;
}

inline bool getMember(const JsonObject& object, std::string_view name, std::string& value) {
    std::string_view text;
    if (!getMember(object, name, text))
        return false;
    value = text;
    return true;
}

}  // namespace ice40
