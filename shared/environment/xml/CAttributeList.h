// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "environment/EnvironmentExport.h"

namespace CSL {
namespace XML {

/// The attributes of one element, in the order of the document. Names and
/// values are UTF-8, values without any escaping.
///
/// A list that is cleared keeps its memory for the attributes to come; a copy has
/// none of it.
class ENVIRONMENT_API CAttributeList {
public:
    CAttributeList() = default;
    CAttributeList(const CAttributeList& other);
    CAttributeList(CAttributeList&& other) noexcept;
    CAttributeList& operator=(const CAttributeList& other);
    CAttributeList& operator=(CAttributeList&& other) noexcept;
    ~CAttributeList() = default;

    /// Adds an attribute at the end. A name that is there already isn't
    /// replaced: look-up finds the first.
    void addAttribute(std::string_view name, std::string_view value);
    void clear() { m_length = 0; }

    std::size_t getLength() const { return m_length; }
    /// By place, from 0.
    /// @throws std::out_of_range there is no such place.
    const std::string& getName(std::size_t index) const { return at_(index).first; }
    const std::string& getValue(std::size_t index) const { return at_(index).second; }

    /// The value of the attribute `name`; empty when there is none.
    const std::string& getValue(std::string_view name) const;
    bool hasAttribute(std::string_view name) const { return find(name) != nullptr; }
    /// A view of the value, or null when there is no attribute `name`.
    const std::string* find(std::string_view name) const;

private:
    using Attribute = std::pair<std::string, std::string>;

    const Attribute& at_(std::size_t index) const;

    /// The first m_length count; those behind them are there to be filled.
    std::vector<Attribute> m_attributes;
    std::size_t m_length = 0;
};

}  // namespace XML
}  // namespace CSL
