// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <string>
#include <utility>
#include <vector>

#include <nlohmann/json_fwd.hpp>

struct Tcl_Obj;

/// Values that go between Tcl and the library. New values have no reference yet, as Tcl's
/// own: who stores one takes a reference.
namespace shell::tcl {

/// Holds one reference to a value.
class ValueRef {
public:
    explicit ValueRef(Tcl_Obj* value);
    ~ValueRef();
    ValueRef(const ValueRef& other);
    ValueRef& operator=(const ValueRef& other);

    Tcl_Obj* get() const { return m_value; }

private:
    Tcl_Obj* m_value;
};

/// The text of `value` in UTF-8. @throws HTCErrors::error it holds a zero byte.
std::string textOf(Tcl_Obj* value);

/// `text`, which is UTF-8; a byte that isn't becomes a character of its own.
Tcl_Obj* newText(const std::string& text);
Tcl_Obj* newList(const std::vector<std::string>& texts);
/// Objects become dicts, arrays lists, null an empty text.
Tcl_Obj* newValue(const nlohmann::json& json);

/// Readers of values; `what` is the option or the word that the value stands for.
/// @throws HTCErrors::error it is no such thing.
std::vector<std::string> listOf(Tcl_Obj* value, const std::string& what);
std::vector<std::pair<std::string, std::string>> dictOf(Tcl_Obj* value, const std::string& what);
bool booleanOf(Tcl_Obj* value, const std::string& what);
long integerOf(Tcl_Obj* value, const std::string& what, long least, long most);
double numberOf(Tcl_Obj* value, const std::string& what);

}  // namespace shell::tcl
