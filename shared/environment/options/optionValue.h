// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <string>

#include "environment/containers/HSTSList.h"
#include "environment/options/HATAttrTypes.h"

/// What specs and groups share about values.
namespace options {

/// The value of an option of any kind. A kind that doesn't use a member leaves
/// it at its initial value, so that comparing all members compares values.
struct OptionValue {
    /// Of a bool, an int, a long.
    long number = 0;
    /// The text form of every kind but bool and int.
    std::string text;
    /// Of a string list.
    HSTSList<std::string> elements;

    bool operator==(const OptionValue& other) const {
        return number == other.number && text == other.text && elements == other.elements;
    }
};

OptionValue fromBool(bool value);
OptionValue fromInt(int value);
OptionValue fromLong(long value);
/// The text itself; for the kinds that are no more than a text.
OptionValue fromText(const std::string& text);
OptionValue fromElements(const HSTSList<std::string>& elements);

/// Reads `text` as a value of `type`. False, and `value` untouched, when the
/// kind can't hold it. The ranges of an enum are the caller's to check.
bool parseText(HATAttrTypes::AttrType type, const std::string& text, OptionValue& value);

/// The value of a kind before any default is set.
OptionValue initialValue(HATAttrTypes::AttrType type);

/// Whether the string operations serve the kind.
bool hasText(HATAttrTypes::AttrType type);

}  // namespace options
