// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include "environment/EnvironmentExport.h"

class ComMsgMgrInstance;

/// Where a message was sent.
struct ComMsgMgrOrigin {
    /// The small number that the sender passed.
    int ordinal;
    /// Source file and line; good for the call only.
    const char* file;
    int line;
};

/// Receives the messages; see ComMsgMgr::addSink().
class ENVIRONMENT_API ComMsgMgrSink {
public:
    ComMsgMgrSink() = default;
    virtual ~ComMsgMgrSink();

    ComMsgMgrSink(const ComMsgMgrSink&) = delete;
    ComMsgMgrSink& operator=(const ComMsgMgrSink&) = delete;

    /// Hook: called once for each message, on the sender's thread, with no lock
    /// of the manager held, from several threads at once if several send. An
    /// override may send messages itself, but not for each that it receives;
    /// what it throws is dropped.
    virtual void receive(const ComMsgMgrInstance& message, const ComMsgMgrOrigin& origin) = 0;
};
