// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <string>

#include "environment/EnvironmentExport.h"

namespace CSL {
namespace XML {

/// Hears why a document can't be read.
class ENVIRONMENT_API CErrorHandler {
public:
    virtual ~CErrorHandler();

protected:
    CErrorHandler() = default;
    CErrorHandler(const CErrorHandler&) = default;
    CErrorHandler& operator=(const CErrorHandler&) = default;

    /// Called once, after the parse has stopped, when the caller of the parse
    /// asked for messages in place of exceptions. `line` is 0 when the reason
    /// belongs to no line. Sends the message "@1-126@" here; an override may
    /// say it elsewhere.
    virtual void readError_(const std::string& fileName, int line, const std::string& reason);
};

}  // namespace XML
}  // namespace CSL
