// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "runs/base/xperiment/HAXPFileType.h"

#include <boost/uuid/nil_generator.hpp>

#include "environment/strings/HSTStringUtils.h"
#include "runs/base/xperiment/uuids.h"

namespace {

/// ASCII alone: a hash must not depend on the locale.
unsigned char upperCase(char c) {
    const auto byte = static_cast<unsigned char>(c);
    return byte >= 'a' && byte <= 'z' ? static_cast<unsigned char>(byte - 'a' + 'A') : byte;
}

}  // namespace

HAXPFileType::HAXPFileType() : m_uuid(boost::uuids::nil_uuid()) {}

HAXPFileType::HAXPFileType(const std::string& universalId, const std::string& name)
    : m_uuid(xperiment::parseUuid(universalId)), m_universalId(universalId), m_name(name) {}

HAXPFileType::HAXPFileType(const std::string& name)
    : m_uuid(xperiment::randomUuid()), m_universalId(xperiment::uuidText(m_uuid)), m_name(name) {}

HAXPFileType::~HAXPFileType() = default;

std::uint32_t HAXPFileType::getHash() const {
    std::uint32_t hash = 0;
    for (const char c : m_universalId)
        hash = hash * 5 + upperCase(c);
    return hash;
}

bool HAXPFileType::operator==(const HAXPFileType& other) const {
    return HSTStringUtils::iequals(m_universalId, other.m_universalId);
}

bool HAXPFileType::operator<(const HAXPFileType& other) const {
    return getHash() < other.getHash();
}

bool HAXPFileType::operator>(const HAXPFileType& other) const {
    return getHash() > other.getHash();
}
