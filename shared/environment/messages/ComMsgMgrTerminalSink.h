// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <cstdio>

#include "environment/messages/ComMsgMgr.h"
#include "environment/messages/ComMsgMgrSink.h"
#include "environment/threads/HCTMutex.h"

/// Writes each message as a line to a stream of the embedding program,
/// standard error by default.
class ENVIRONMENT_API ComMsgMgrTerminalSink : public ComMsgMgrSink {
public:
    /// Passes over what is less severe than `leastMask`. `stream` is borrowed
    /// and outlives the sink.
    explicit ComMsgMgrTerminalSink(ComMsgMgr::MsgMask leastMask = ComMsgMgr::kInfo,
                                   std::FILE* stream = stderr);
    ~ComMsgMgrTerminalSink() override;

    void receive(const ComMsgMgrInstance& message, const ComMsgMgrOrigin& origin) override;

private:
    const ComMsgMgr::MsgMask m_leastMask;
    /// One line stays one line when several threads send.
    HCTMutex m_mutex;
    std::FILE* const m_stream XP_PT_GUARDED_BY(m_mutex);
};
