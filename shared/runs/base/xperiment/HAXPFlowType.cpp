// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "runs/base/xperiment/HAXPFlowType.h"

#include <boost/uuid/nil_generator.hpp>

#include "runs/base/xperiment/uuids.h"

HAXPFlowType::HAXPFlowType() : m_uuid(boost::uuids::nil_uuid()) {}

HAXPFlowType::HAXPFlowType(const std::string& uuid, const std::string& name)
    : m_uuid(xperiment::parseUuid(uuid)), m_name(name) {}

HAXPFlowType::HAXPFlowType(const std::string& name)
    : m_uuid(xperiment::randomUuid()), m_name(name) {}

HAXPFlowType::~HAXPFlowType() = default;

std::string HAXPFlowType::getUniversalForm() const {
    return xperiment::uuidText(m_uuid);
}
