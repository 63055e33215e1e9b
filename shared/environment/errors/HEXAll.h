// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <exception>
#include <string>

#include "environment/EnvironmentExport.h"

class ComMsgMgrInstance;

/// The root of the environment's exceptions: a text for the one who reads it.
class ENVIRONMENT_API HEXAll : public std::exception {
public:
    explicit HEXAll(const std::string& text);
    /// Takes the message's text, as the catalogue words it.
    explicit HEXAll(const ComMsgMgrInstance& message);
    HEXAll(const HEXAll&) = default;
    HEXAll& operator=(const HEXAll&) = default;
    ~HEXAll() override;

    /// The text; good as long as the exception lives.
    const char* what() const noexcept override;

    /// The catalogue id of the message that it was built from, such as
    /// "36-66"; empty when it was built from a text.
    const std::string& getMsgId() const noexcept { return m_msgId; }

    /// Writes the text and a line end to standard error.
    void print() const;

private:
    std::string m_text;
    std::string m_msgId;
};
