// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <memory>
#include <string>

#include "environment/EnvironmentExport.h"
#include "environment/containers/HSTVector.h"
#include "environment/messages/ComMsgMgr.h"

/// A message that a step left in its file.
struct ComMsgMgrSrcMsg {
    ComMsgMgr::MsgMask mask;
    /// Such as "36-66"; empty when the line has none.
    std::string id;
    std::string text;
    /// The line of the file on which it begins, from 1.
    int line;
};

/// The messages of one step, as read from its file.
///
/// A value: copies share what was read. ComMsgMgr::loadMsgSrc() makes a loaded
/// one, ComMsgMgr::unloadMsgSrc() empties one.
class ENVIRONMENT_API ComMsgMgrSrcHandle {
public:
    /// A handle without a file.
    explicit ComMsgMgrSrcHandle(const std::string& name);

    const std::string& getName() const noexcept { return m_name; }

    /// The file that was read; empty while nothing is loaded.
    const std::string& getFile() const noexcept { return m_file; }

    /// What was read, in file order; empty while nothing is loaded. Good until
    /// this handle is assigned to or unloaded.
    const HSTVector<ComMsgMgrSrcMsg>& getMessages() const noexcept;

private:
    friend class ComMsgMgr;

    std::string m_name;
    std::string m_file;
    std::shared_ptr<const HSTVector<ComMsgMgrSrcMsg>> m_messages;
};
