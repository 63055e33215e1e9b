// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <string>
#include <type_traits>

#include "environment/EnvironmentExport.h"

/// One argument of a message: a text (%s) or a whole number (%d).
///
/// Made from what a caller passes; a null text counts as empty. A bool, a
/// floating-point number or a pointer is no argument: word it first.
class ENVIRONMENT_API ComMsgMgrArg {
public:
    enum Kind { kText = 's', kNumber = 'd' };

    explicit ComMsgMgrArg(const std::string& text) : m_kind(kText), m_text(text) {}
    explicit ComMsgMgrArg(const char* text) : m_kind(kText), m_text(text == nullptr ? "" : text) {}

    template <class Number, class = std::enable_if_t<std::is_integral<Number>::value &&
                                                     !std::is_same<Number, bool>::value &&
                                                     !std::is_same<Number, char>::value>>
    explicit ComMsgMgrArg(Number number) : m_kind(kNumber), m_text(std::to_string(number)) {}

    Kind getKind() const noexcept { return m_kind; }

    /// The argument as it stands in the message; a number in decimal.
    const std::string& getText() const noexcept { return m_text; }

private:
    Kind m_kind;
    std::string m_text;
};
