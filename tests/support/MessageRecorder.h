// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "environment/messages/ComMsgMgr.h"

namespace test {

/// A message as it was received.
struct RecordedMessage {
    std::string id;
    std::string domain;
    ComMsgMgr::MsgMask mask;
    std::vector<std::string> args;
    std::string text;
    int ordinal;
    /// "runs WARNING 36-526(a, b)".
    std::string summary;
};

/// Hears every message from its making to its end.
///
/// A message whose arguments, domain or severity don't fit the catalogue fails
/// the test that sent it.
class MessageRecorder {
public:
    MessageRecorder();
    ~MessageRecorder();

    MessageRecorder(const MessageRecorder&) = delete;
    MessageRecorder& operator=(const MessageRecorder&) = delete;

    /// What was heard so far, in order.
    std::vector<RecordedMessage> messages() const;

    /// The ids alone: {"36-526", "36-525"}.
    std::vector<std::string> ids() const;

    /// The texts alone.
    std::vector<std::string> texts() const;

    /// The summaries alone, which say all that a sender decides.
    std::vector<std::string> summaries() const;

    bool has(const std::string& id) const;

    /// Forgets what was heard.
    void clear();

private:
    class Sink;
    std::shared_ptr<Sink> m_sink;
};

}  // namespace test
