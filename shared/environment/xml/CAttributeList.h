// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <cstddef>
#include <string>
#include <utility>
#include <vector>

#include "environment/EnvironmentExport.h"

namespace CSL {
namespace XML {

/// The attributes of one element, in the order of the document. Names and
/// values are UTF-8, values without any escaping.
class ENVIRONMENT_API CAttributeList {
public:
    /// Adds an attribute at the end. A name that is there already isn't
    /// replaced: look-up finds the first.
    void addAttribute(const std::string& name, const std::string& value);
    void clear() { m_attributes.clear(); }

    std::size_t getLength() const { return m_attributes.size(); }
    /// By place, from 0.
    /// @throws std::out_of_range there is no such place.
    const std::string& getName(std::size_t index) const { return m_attributes.at(index).first; }
    const std::string& getValue(std::size_t index) const { return m_attributes.at(index).second; }

    /// The value of the attribute `name`; empty when there is none.
    const std::string& getValue(const std::string& name) const;
    bool hasAttribute(const std::string& name) const { return find(name) != nullptr; }
    /// A view of the value, or null when there is no attribute `name`.
    const std::string* find(const std::string& name) const;

private:
    std::vector<std::pair<std::string, std::string>> m_attributes;
};

}  // namespace XML
}  // namespace CSL
