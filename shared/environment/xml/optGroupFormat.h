// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <cstddef>
#include <cstring>
#include <string>

class HATAttrSpec;
class HATOptGroup;

/// How an option group stands in an XML file; HXMLWriterBase shows it.
namespace xml {

/// Elements and attributes of the format.
constexpr char kIdAttr[] = "Id";
constexpr char kOptionElem[] = "Option";
constexpr char kItemElem[] = "Item";
constexpr char kValueAttr[] = "Value";

/// Whether `name` is the name `expected` of a format; it costs less than comparing the
/// texts, as those of a format differ in length more often than not.
template <std::size_t size> bool isNamed(const std::string& name, const char (&expected)[size]) {
    return name.size() == size - 1 && std::memcmp(name.data(), expected, size - 1) == 0;
}

/// Whether the option is a list, kept as items in place of a value.
bool isList(const HATAttrSpec& spec);

/// The value of an option that is no list, as files keep it.
std::string valueToText(const HATOptGroup& group, const HATAttrSpec& spec);

/// The reverse, told to the group's observers. False, with the value as it was,
/// when the option can't hold `text`.
bool textToValue(const std::string& text, HATOptGroup& group, const HATAttrSpec& spec);

}  // namespace xml
