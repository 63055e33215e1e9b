// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "environment/messages/ComMsgMgrSrcHandle.h"

ComMsgMgrSrcHandle::ComMsgMgrSrcHandle(const std::string& name) : m_name(name) {}

const HSTVector<ComMsgMgrSrcMsg>& ComMsgMgrSrcHandle::getMessages() const noexcept {
    static const HSTVector<ComMsgMgrSrcMsg> kNone;
    return m_messages == nullptr ? kNone : *m_messages;
}
