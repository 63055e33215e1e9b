// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "shell/tcl/tclValue.h"

#include <fmt/format.h>
#include <nlohmann/json.hpp>
#include <tcl.h>

#include "shell/tcl/tclError.h"

namespace shell::tcl {

namespace {

/// Tcl's own texts are nearly UTF-8: zero bytes and characters beyond the first plane differ.
Tcl_Encoding utf8() {
    static Tcl_Encoding encoding = Tcl_GetEncoding(nullptr, "utf-8");
    return encoding;
}

/// Room for a converted text.
class Buffer {
public:
    Buffer() { Tcl_DStringInit(&m_text); }
    ~Buffer() { Tcl_DStringFree(&m_text); }
    Buffer(const Buffer&) = delete;
    Buffer& operator=(const Buffer&) = delete;

    Tcl_DString* get() { return &m_text; }
    const char* data() const { return Tcl_DStringValue(&m_text); }
    int size() const { return Tcl_DStringLength(&m_text); }

private:
    Tcl_DString m_text{};
};

/// @throws HTCErrors::error always.
[[noreturn]] void failValue(Tcl_Obj* value, const std::string& what, const std::string& wanted) {
    const std::string text = textOf(value);
    fail(Code::kValueBad, {what, text},
         fmt::format("The value '{}' of {} is {}.", text.substr(0, 200), what, wanted));
}

Tcl_Obj* newDict(const nlohmann::json& json) {
    Tcl_Obj* dict = Tcl_NewDictObj();
    for (const auto& [key, value] : json.items())
        Tcl_DictObjPut(nullptr, dict, newText(key), newValue(value));
    return dict;
}

Tcl_Obj* newArray(const nlohmann::json& json) {
    Tcl_Obj* list = Tcl_NewListObj(0, nullptr);
    for (const nlohmann::json& element : json)
        Tcl_ListObjAppendElement(nullptr, list, newValue(element));
    return list;
}

}  // namespace

ValueRef::ValueRef(Tcl_Obj* value) : m_value(value) {
    Tcl_IncrRefCount(m_value);
}

ValueRef::~ValueRef() {
    Tcl_DecrRefCount(m_value);
}

ValueRef::ValueRef(const ValueRef& other) : ValueRef(other.m_value) {}

ValueRef& ValueRef::operator=(const ValueRef& other) {
    ValueRef copy(other);
    std::swap(m_value, copy.m_value);
    return *this;
}

std::string textOf(Tcl_Obj* value) {
    int length = 0;
    const char* bytes = Tcl_GetStringFromObj(value, &length);
    Buffer buffer;
    Tcl_UtfToExternalDString(utf8(), bytes, length, buffer.get());
    std::string text(buffer.data(), static_cast<std::size_t>(buffer.size()));
    if (text.find('\0') != std::string::npos)
        fail(Code::kValueZeroByte, {},
             "A text holds a zero byte, which no name and no option can hold. Leave it out.");
    return text;
}

Tcl_Obj* newText(const std::string& text) {
    Buffer buffer;
    Tcl_ExternalToUtfDString(utf8(), text.data(), static_cast<int>(text.size()), buffer.get());
    return Tcl_NewStringObj(buffer.data(), buffer.size());
}

Tcl_Obj* newList(const std::vector<std::string>& texts) {
    Tcl_Obj* list = Tcl_NewListObj(0, nullptr);
    for (const std::string& text : texts)
        Tcl_ListObjAppendElement(nullptr, list, newText(text));
    return list;
}

Tcl_Obj* newValue(const nlohmann::json& json) {
    switch (json.type()) {
    case nlohmann::json::value_t::object:
        return newDict(json);
    case nlohmann::json::value_t::array:
        return newArray(json);
    case nlohmann::json::value_t::string:
        return newText(json.get_ref<const std::string&>());
    case nlohmann::json::value_t::boolean:
        return Tcl_NewBooleanObj(json.get<bool>() ? 1 : 0);
    case nlohmann::json::value_t::number_integer:
    case nlohmann::json::value_t::number_unsigned:
        return Tcl_NewWideIntObj(json.get<Tcl_WideInt>());
    case nlohmann::json::value_t::number_float:
        return Tcl_NewDoubleObj(json.get<double>());
    default:
        return Tcl_NewObj();
    }
}

std::vector<std::string> listOf(Tcl_Obj* value, const std::string& what) {
    int count = 0;
    Tcl_Obj** elements = nullptr;
    if (Tcl_ListObjGetElements(nullptr, value, &count, &elements) != TCL_OK)
        failValue(value, what, "no list");
    std::vector<std::string> texts;
    texts.reserve(static_cast<std::size_t>(count));
    for (int i = 0; i < count; ++i)
        texts.push_back(textOf(elements[i]));
    return texts;
}

std::vector<std::pair<std::string, std::string>> dictOf(Tcl_Obj* value, const std::string& what) {
    // As a list: an entry that stands twice is told, and the order stays.
    const std::vector<std::string> words = listOf(value, what);
    if (words.size() % 2 != 0)
        failValue(value, what, "no dict: a name has no value");
    std::vector<std::pair<std::string, std::string>> entries;
    for (std::size_t i = 0; i < words.size(); i += 2)
        entries.emplace_back(words[i], words[i + 1]);
    return entries;
}

bool booleanOf(Tcl_Obj* value, const std::string& what) {
    int flag = 0;
    if (Tcl_GetBooleanFromObj(nullptr, value, &flag) != TCL_OK)
        failValue(value, what, "no boolean; say true or false");
    return flag != 0;
}

long integerOf(Tcl_Obj* value, const std::string& what, long least, long most) {
    long number = 0;
    if (Tcl_GetLongFromObj(nullptr, value, &number) != TCL_OK || number < least || number > most)
        failValue(value, what, fmt::format("no integer from {} to {}", least, most));
    return number;
}

double numberOf(Tcl_Obj* value, const std::string& what) {
    double number = 0;
    if (Tcl_GetDoubleFromObj(nullptr, value, &number) != TCL_OK)
        failValue(value, what, "no number");
    return number;
}

}  // namespace shell::tcl
