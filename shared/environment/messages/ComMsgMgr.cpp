// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "environment/messages/ComMsgMgr.h"

#include <algorithm>

#include "environment/messages/ComMsgMgrInstance.h"
#include "environment/messages/ComMsgMgrSink.h"
#include "environment/messages/ComMsgMgrSrcHandle.h"
#include "environment/messages/messageLines.h"
#include "environment/messages/readTextFile.h"
#include "environment/threads/HCTMutex.h"

namespace {

using SinkList = HSTVector<std::shared_ptr<ComMsgMgrSink>>;

/// The sinks that are plugged in.
class Sinks {
public:
    void add(const std::shared_ptr<ComMsgMgrSink>& sink) {
        const HCTLock lock(m_mutex);
        if (sink != nullptr && std::find(m_list.begin(), m_list.end(), sink) == m_list.end())
            m_list.push_back(sink);
    }

    void remove(const std::shared_ptr<ComMsgMgrSink>& sink) {
        const HCTLock lock(m_mutex);
        m_list.erase(std::remove(m_list.begin(), m_list.end(), sink), m_list.end());
    }

    /// A copy, so that no lock is held while a sink works.
    SinkList get() {
        const HCTLock lock(m_mutex);
        return m_list;
    }

private:
    HCTMutex m_mutex;
    SinkList m_list XP_GUARDED_BY(m_mutex);
};

/// Never destroyed: destructors at the end of the process still send messages.
Sinks& sinks() {
    static Sinks* const sinks = std::make_unique<Sinks>().release();
    return *sinks;
}

}  // namespace

void ComMsgMgr::send(const ComMsgMgrInstance& message, int ordinal, const char* file, int line) {
    const ComMsgMgrOrigin origin{ordinal, file, line};
    for (const std::shared_ptr<ComMsgMgrSink>& sink : sinks().get()) {
        try {
            sink->receive(message, origin);
        } catch (...) {
            // The other sinks get the message, and the sender, which may be
            // amid a failure of its own, goes on.
            continue;
        }
    }
}

const char* ComMsgMgr::getSeverityName(MsgMask mask) noexcept {
    if (mask >= kError)
        return "ERROR";
    if (mask >= kCriticalWarning)
        return "CRITICAL WARNING";
    return mask >= kWarning ? "WARNING" : "INFO";
}

void ComMsgMgr::addSink(const std::shared_ptr<ComMsgMgrSink>& sink) {
    sinks().add(sink);
}

void ComMsgMgr::removeSink(const std::shared_ptr<ComMsgMgrSink>& sink) {
    sinks().remove(sink);
}

ComMsgMgrSrcHandle ComMsgMgr::loadMsgSrc(const std::string& path, const std::string& name) {
    ComMsgMgrSrcHandle handle(name);
    std::string content;
    std::string reason;
    if (!readTextFile(path, content, reason)) {
        sendMsg::eval(0, __FILE__, __LINE__, "environment", kWarning, "@12-1@%s%s", path, reason);
        return handle;
    }
    handle.m_messages =
        std::make_shared<const HSTVector<ComMsgMgrSrcMsg>>(messageLines::parse(content));
    handle.m_file = path;
    return handle;
}

void ComMsgMgr::unloadMsgSrc(ComMsgMgrSrcHandle& handle) noexcept {
    handle.m_messages.reset();
    handle.m_file.clear();
}

void ComMsgMgr::send_(int ordinal, const char* file, int line, const char* domain, MsgMask mask,
                      const char* format, const HSTVector<ComMsgMgrArg>& args) {
    send(ComMsgMgrInstance(domain, mask, format, args), ordinal, file, line);
}
