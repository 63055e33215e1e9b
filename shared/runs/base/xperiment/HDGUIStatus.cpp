// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "runs/base/xperiment/HDGUIStatus.h"

HDGUIStatus::HDGUIStatus() = default;

HDGUIStatus::HDGUIStatus(const std::string& text, const std::string& detailText)
    : m_text(text), m_detailText(detailText) {}

HDGUIStatus::~HDGUIStatus() = default;

int HDGUIStatus::getCode() const {
    const HCTLock lock(m_mutex);
    return m_code;
}

void HDGUIStatus::setCode(int code) {
    const HCTLock lock(m_mutex);
    m_code = code;
}
