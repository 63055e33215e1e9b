// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "environment/errors/HEXAll.h"

#include <cstdio>

#include "environment/messages/ComMsgMgrInstance.h"

HEXAll::HEXAll(const std::string& text) : m_text(text) {}

HEXAll::HEXAll(const ComMsgMgrInstance& message)
    : m_text(message.getText()), m_msgId(message.getId()) {}

HEXAll::~HEXAll() = default;

const char* HEXAll::what() const noexcept {
    return m_text.c_str();
}

void HEXAll::print() const {
    std::fprintf(stderr, "%s\n", m_text.c_str());
}
