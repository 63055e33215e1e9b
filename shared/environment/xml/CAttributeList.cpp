// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "environment/xml/CAttributeList.h"

#include <algorithm>

namespace CSL {
namespace XML {

void CAttributeList::addAttribute(const std::string& name, const std::string& value) {
    m_attributes.emplace_back(name, value);
}

const std::string& CAttributeList::getValue(const std::string& name) const {
    static const std::string none;
    const std::string* const value = find(name);
    return value == nullptr ? none : *value;
}

const std::string* CAttributeList::find(const std::string& name) const {
    const auto found = std::find_if(m_attributes.begin(), m_attributes.end(),
                                    [&](const auto& attribute) { return attribute.first == name; });
    return found == m_attributes.end() ? nullptr : &found->second;
}

}  // namespace XML
}  // namespace CSL
