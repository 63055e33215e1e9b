// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <string>

#include "environment/EnvironmentExport.h"

/// Splits a text at separator characters, piece by piece.
class ENVIRONMENT_API HSTStrTokenizer {
public:
    /// Each character of `separators` separates. With `keepEmpty` two
    /// separators in a row have an empty piece between them, and a separator
    /// at either end has one beside it; without it empty pieces are passed over.
    HSTStrTokenizer(const std::string& text, const std::string& separators, bool keepEmpty);

    /// Whether a piece is left.
    bool hasNext() const { return m_hasNext; }

    /// Makes `piece` the next one and returns true; with none left returns
    /// false and leaves `piece` as it was.
    bool next(std::string& piece);

private:
    void find_();

    std::string m_text;
    std::string m_separators;
    bool m_keepEmpty;
    bool m_hasNext = false;
    std::string::size_type m_begin = 0;
    std::string::size_type m_end = 0;
};
