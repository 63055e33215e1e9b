// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "environment/messages/ComMsgMgrSink.h"

ComMsgMgrSink::~ComMsgMgrSink() = default;
