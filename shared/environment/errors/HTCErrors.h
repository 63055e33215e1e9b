// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <string>

#include "environment/errors/HEXError.h"

/// Errors that go to a Tcl script.
class ENVIRONMENT_API HTCErrors {
public:
    HTCErrors() = delete;

    /// An error result: a text, and the words of Tcl's errorCode.
    class ENVIRONMENT_API error : public HEXError {
    public:
        /// `errorCode` is a Tcl list, such as "XP RUN NOTFOUND"; it may be empty.
        error(const std::string& text, const std::string& errorCode);
        error(const ComMsgMgrInstance& message, const std::string& errorCode);
        error(const error&) = default;
        error& operator=(const error&) = default;
        ~error() override;

        /// The Tcl list given at construction.
        const std::string& getErrorCode() const noexcept { return m_errorCode; }

    private:
        std::string m_errorCode;
    };
};
