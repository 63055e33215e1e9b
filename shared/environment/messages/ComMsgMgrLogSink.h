// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <string>

#include "environment/messages/ComMsgMgrSink.h"
#include "environment/threads/HCTMutex.h"

/// Appends each message to a log file, in the form that
/// ComMsgMgr::loadMsgSrc() reads.
///
/// Each message is one write to a descriptor that appends, so that several
/// processes may share a log. When a write fails, the sink says so once through
/// the other sinks and writes no more.
class ENVIRONMENT_API ComMsgMgrLogSink : public ComMsgMgrSink {
public:
    /// Opens `path` for appending, or makes it.
    /// @throws HEXUserException it can't be opened; the text names file and cause.
    explicit ComMsgMgrLogSink(const std::string& path);
    ~ComMsgMgrLogSink() override;

    const std::string& getFile() const noexcept { return m_path; }

    void receive(const ComMsgMgrInstance& message, const ComMsgMgrOrigin& origin) override;

private:
    /// Whether all was written, or nothing is tried any more; else `reason`
    /// says what went wrong, this one time.
    bool write_(const std::string& text, std::string& reason);

    const std::string m_path;
    HCTMutex m_mutex;
    int m_descriptor XP_GUARDED_BY(m_mutex);
    bool m_hasFailed XP_GUARDED_BY(m_mutex) = false;
};
