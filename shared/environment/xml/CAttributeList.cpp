// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "environment/xml/CAttributeList.h"

#include <stdexcept>

namespace CSL {
namespace XML {

CAttributeList::CAttributeList(const CAttributeList& other)
    : m_attributes(other.m_attributes.begin(),
                   other.m_attributes.begin() + static_cast<std::ptrdiff_t>(other.m_length)),
      m_length(other.m_length) {}

CAttributeList::CAttributeList(CAttributeList&& other) noexcept
    : m_attributes(std::move(other.m_attributes)), m_length(std::exchange(other.m_length, 0)) {
    other.m_attributes.clear();
}

CAttributeList& CAttributeList::operator=(const CAttributeList& other) {
    return *this = CAttributeList(other);
}

CAttributeList& CAttributeList::operator=(CAttributeList&& other) noexcept {
    m_attributes.swap(other.m_attributes);
    std::swap(m_length, other.m_length);
    return *this;
}

void CAttributeList::addAttribute(std::string_view name, std::string_view value) {
    if (m_length == m_attributes.size())
        m_attributes.emplace_back();
    Attribute& attribute = m_attributes[m_length];
    attribute.first.assign(name);
    attribute.second.assign(value);
    ++m_length;
}

const std::string& CAttributeList::getValue(std::string_view name) const {
    static const std::string none;
    const std::string* const value = find(name);
    return value == nullptr ? none : *value;
}

const std::string* CAttributeList::find(std::string_view name) const {
    for (std::size_t i = 0; i < m_length; ++i) {
        if (m_attributes[i].first == name)
            return &m_attributes[i].second;
    }
    return nullptr;
}

const CAttributeList::Attribute& CAttributeList::at_(std::size_t index) const {
    if (index >= m_length)
        throw std::out_of_range("CAttributeList: no attribute " + std::to_string(index));
    return m_attributes[index];
}

}  // namespace XML
}  // namespace CSL
