// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "shell/page/jsonWriter.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <system_error>
#include <utility>

#include <nlohmann/json.hpp>

namespace shell {

namespace {

/// Whether a text is written as it is.
bool isPlain(const std::string& text) {
    return std::all_of(text.begin(), text.end(), [](char c) {
        const auto byte = static_cast<unsigned char>(c);
        return byte >= 0x20 && byte < 0x7f && c != '"' && c != '\\';
    });
}

}  // namespace

std::string dumped(const nlohmann::json& value) {
    return value.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
}

void JsonWriter::name(const std::string& name) {
    text(name);
    m_text += ':';
    m_needsComma = false;
}

void JsonWriter::text(const std::string& text) {
    if (!isPlain(text)) {
        raw(dumped(text));
        return;
    }
    comma_();
    m_text += '"';
    m_text += text;
    m_text += '"';
}

void JsonWriter::number(double number) {
    // What people look at; the rest has a power of ten behind it.
    const double size = std::abs(number);
    if (number != 0 && !(size >= 1e-3 && size < 1e15)) {
        raw(dumped(number));
        return;
    }
    std::array<char, 64> digits{};
    const auto written = std::to_chars(digits.data(), digits.data() + digits.size(), number,
                                       std::chars_format::fixed);
    comma_();
    m_text.append(digits.data(), written.ptr);
    if (std::find(digits.data(), written.ptr, '.') == written.ptr)
        m_text += ".0";
}

void JsonWriter::number(long number) {
    raw(std::to_string(number));
}

void JsonWriter::raw(const std::string& json) {
    comma_();
    m_text += json;
}

void JsonWriter::member(const std::string& memberName, const std::vector<std::string>& texts) {
    name(memberName);
    beginArray();
    for (const std::string& one : texts)
        text(one);
    endArray();
}

std::string JsonWriter::take() {
    m_needsComma = false;
    return std::exchange(m_text, {});
}

void JsonWriter::comma_() {
    if (m_needsComma)
        m_text += ',';
    m_needsComma = true;
}

void JsonWriter::begin_(char bracket) {
    comma_();
    m_text += bracket;
    m_needsComma = false;
}

void JsonWriter::end_(char bracket) {
    m_text += bracket;
    m_needsComma = true;
}

}  // namespace shell
