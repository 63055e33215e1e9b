// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "environment/xml/CErrorHandler.h"

#include "environment/messages/ComMsgMgr.h"

namespace CSL {
namespace XML {

CErrorHandler::~CErrorHandler() = default;

void CErrorHandler::readError_(const std::string& fileName, int line, const std::string& reason) {
    ComMsgMgr::sendMsg::eval(0, __FILE__, __LINE__, "project", ComMsgMgr::kError, "@1-126@%s%d%s",
                             fileName, line, reason);
}

}  // namespace XML
}  // namespace CSL
