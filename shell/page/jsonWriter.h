// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <optional>
#include <string>
#include <type_traits>
#include <vector>

#include <nlohmann/json_fwd.hpp>

namespace shell {

/// `value` without blanks. Bytes that aren't UTF-8 become U+FFFD.
std::string dumped(const nlohmann::json& value);

/// Writes JSON without blanks, value by value: for data of which there is so much that no tree
/// of it is made first. It puts the commas; that each member has one value, and that what begins
/// ends, is up to the caller. Bytes that aren't UTF-8 become U+FFFD.
class JsonWriter {
public:
    void beginObject() { begin_('{'); }
    void endObject() { end_('}'); }
    void beginArray() { begin_('['); }
    void endArray() { end_(']'); }

    /// The name of a member; its value is what is written next.
    void name(const std::string& name);

    void text(const std::string& text);
    /// null for what isn't finite.
    void number(double number);
    void number(long number);
    void boolean(bool value) { raw(value ? "true" : "false"); }
    void null() { raw("null"); }
    /// A value that is JSON already.
    void raw(const std::string& json);

    /// A member and its value at once.
    void member(const std::string& memberName, const std::string& value) {
        name(memberName);
        text(value);
    }
    /// A literal is no flag.
    void member(const std::string& memberName, const char* value) {
        member(memberName, std::string(value));
    }
    template <class Value, class = std::enable_if_t<std::is_arithmetic_v<Value>>>
    void member(const std::string& memberName, Value value) {
        name(memberName);
        if constexpr (std::is_same_v<Value, bool>)
            boolean(value);
        else if constexpr (std::is_floating_point_v<Value>)
            number(static_cast<double>(value));
        else
            number(static_cast<long>(value));
    }
    /// null for nothing.
    template <class Value>
    void member(const std::string& memberName, const std::optional<Value>& value) {
        if (value) {
            member(memberName, *value);
            return;
        }
        name(memberName);
        null();
    }
    void member(const std::string& memberName, const std::vector<std::string>& texts);

    /// What is written so far.
    const std::string& str() const { return m_text; }
    std::string take();

private:
    void comma_();
    void begin_(char bracket);
    void end_(char bracket);

    std::string m_text;
    bool m_needsComma = false;
};

}  // namespace shell
