// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "environment/strings/HSTStrTokenizer.h"

#include <algorithm>

HSTStrTokenizer::HSTStrTokenizer(const std::string& text, const std::string& separators,
                                 bool keepEmpty)
    : m_text(text), m_separators(separators), m_keepEmpty(keepEmpty) {
    find_();
}

bool HSTStrTokenizer::next(std::string& piece) {
    if (!m_hasNext)
        return false;
    piece.assign(m_text, m_begin, m_end - m_begin);
    m_begin = m_end + 1;
    find_();
    return true;
}

void HSTStrTokenizer::find_() {
    if (!m_keepEmpty)
        m_begin = std::min(m_text.find_first_not_of(m_separators, m_begin), m_text.size());
    m_hasNext = m_keepEmpty ? !m_text.empty() && m_begin <= m_text.size() : m_begin < m_text.size();
    if (m_hasNext)
        m_end = std::min(m_text.find_first_of(m_separators, m_begin), m_text.size());
}
