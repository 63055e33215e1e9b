// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "environment/messages/ComMsgMgrLogSink.h"

#include <cerrno>

#include <fcntl.h>
#include <unistd.h>

#include "environment/errors/HEXUserException.h"
#include "environment/messages/ComMsgMgrInstance.h"
#include "environment/messages/messageLines.h"
#include "environment/messages/systemReason.h"

namespace {

constexpr mode_t kMode = 0666;

int openLog(const std::string& path) {
    const int flags = O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC | O_NOCTTY | O_NONBLOCK;
    const int descriptor = open(path.c_str(), flags, kMode);
    if (descriptor < 0)
        throw HEXUserException("The log file " + path + " can't be opened: " + systemReason() +
                               ". Choose a file in a folder that you may write to.");
    return descriptor;
}

}  // namespace

ComMsgMgrLogSink::ComMsgMgrLogSink(const std::string& path)
    : m_path(path), m_descriptor(openLog(path)) {}

ComMsgMgrLogSink::~ComMsgMgrLogSink() {
    close(m_descriptor);
}

void ComMsgMgrLogSink::receive(const ComMsgMgrInstance& message, const ComMsgMgrOrigin&) {
    std::string reason;
    // The lock is free again before the failure is told: this sink hears it too.
    if (!write_(messageLines::format(message.getDisplayText()), reason))
        ComMsgMgr::sendMsg::eval(0, __FILE__, __LINE__, "environment", ComMsgMgr::kWarning,
                                 "@12-2@%s%s", m_path, reason);
}

bool ComMsgMgrLogSink::write_(const std::string& text, std::string& reason) {
    const HCTLock lock(m_mutex);
    std::size_t done = 0;
    while (!m_hasFailed && done < text.size()) {
        const ssize_t count = write(m_descriptor, text.data() + done, text.size() - done);
        if (count < 0 && errno == EINTR)
            continue;
        if (count < 0) {
            reason = systemReason();
            m_hasFailed = true;
            return false;
        }
        done += static_cast<std::size_t>(count);
    }
    return true;
}
