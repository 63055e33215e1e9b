// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include "environment/options/HATAttrSpec.h"

namespace options {

/// Refuses an operation on an option of the wrong kind, or with a value that it
/// can't hold: both are faults of the program.
/// @throws HEXAlgException always; the text names option, kind and operation.
[[noreturn]] void refuseKind(const HATAttrSpec& spec, const char* operation);
[[noreturn]] void refuseText(const HATAttrSpec& spec, const char* operation,
                             const std::string& text);

/// @throws HEXAlgException `spec` isn't of `type`.
inline void requireKind(const HATAttrSpec& spec, HATAttrTypes::AttrType type,
                        const char* operation) {
    if (spec.getAttrType() != type)
        refuseKind(spec, operation);
}

/// @throws HEXAlgException the string operations don't serve the kind of `spec`.
void requireText(const HATAttrSpec& spec, const char* operation);

/// Whether an enum option may hold the value text.
bool isAllowedEnum(const HATAttrSpec& spec, const std::string& value);

}  // namespace options
