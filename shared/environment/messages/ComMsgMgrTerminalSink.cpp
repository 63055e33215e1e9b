// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "environment/messages/ComMsgMgrTerminalSink.h"

#include <string>

#include "environment/messages/ComMsgMgrInstance.h"
#include "environment/messages/messageLines.h"

namespace {

/// Control characters in a name from a file could drive the terminal.
void maskControls(std::string& text) {
    for (char& c : text) {
        const auto code = static_cast<unsigned char>(c);
        if ((code < 0x20 && c != '\n' && c != '\t') || code == 0x7f)
            c = '?';
    }
}

}  // namespace

ComMsgMgrTerminalSink::ComMsgMgrTerminalSink(ComMsgMgr::MsgMask leastMask, std::FILE* stream)
    : m_leastMask(leastMask), m_stream(stream) {}

ComMsgMgrTerminalSink::~ComMsgMgrTerminalSink() = default;

void ComMsgMgrTerminalSink::receive(const ComMsgMgrInstance& message, const ComMsgMgrOrigin&) {
    if (message.getMask() < m_leastMask)
        return;
    std::string text = messageLines::format(message.getDisplayText());
    maskControls(text);
    const HCTLock lock(m_mutex);
    std::fwrite(text.data(), 1, text.size(), m_stream);
    std::fflush(m_stream);
}
