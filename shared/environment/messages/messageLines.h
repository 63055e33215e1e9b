// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <string>

#include "environment/containers/HSTVector.h"
#include "environment/messages/ComMsgMgrSrcHandle.h"

/// The form of messages in a file, as ComMsgMgr::loadMsgSrc() tells it.
namespace messageLines {

/// The message text `displayText` as lines of a file: later lines of a text
/// are set in, and a line end follows.
std::string format(const std::string& displayText);

/// The messages of a file's content.
HSTVector<ComMsgMgrSrcMsg> parse(const std::string& content);

}  // namespace messageLines
