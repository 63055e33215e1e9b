// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include "environment/errors/HEXUserException.h"
#include "environment/messages/ComMsgMgr.h"
#include "environment/messages/ComMsgMgrInstance.h"

namespace workbench {

/// Throws the error of this library's catalogue that `format` names, "@60-22@%s%s", with what
/// stands in it.
template <class... Args> [[noreturn]] void fail(const char* format, const Args&... args) {
    throw HEXUserException(ComMsgMgrInstance("workbench", ComMsgMgr::kError, format, args...));
}

}  // namespace workbench
