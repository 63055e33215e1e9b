// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

namespace options {

/// Finds places in a list by the text that stands there, where there are too many to
/// look through. It holds numbers alone: the texts are asked for by place, and a place
/// costs a few bytes and no memory of its own.
///
/// `textAt(place)` gives the text at a place that was entered.
class TextIndex {
public:
    static constexpr std::size_t kNone = static_cast<std::size_t>(-1);

    /// The first place entered with this text, or kNone.
    template <class TextAt> std::size_t find(const std::string& text, TextAt textAt) const {
        if (m_table.empty())
            return kNone;
        for (std::size_t at = hashOf_(text) & mask_(); m_table[at] != 0; at = (at + 1) & mask_()) {
            const std::size_t place = m_table[at] - 1;
            if (textAt(place) == text)
                return place;
        }
        return kNone;
    }

    /// Makes room for `count` texts.
    template <class TextAt> void reserve(std::size_t count, TextAt textAt) {
        constexpr std::size_t kSmallest = 32;
        std::size_t size = m_table.empty() ? kSmallest : m_table.size();
        while (size < count * 2)
            size *= 2;
        if (size == m_table.size())
            return;
        std::vector<std::uint32_t> before(size);
        before.swap(m_table);
        for (const std::uint32_t entry : before) {
            if (entry != 0)
                enter_(textAt(entry - 1), entry - 1);
        }
    }

    /// Enters a place, for which there is room; a text that is there already keeps its
    /// first place. Can't fail.
    template <class TextAt> void add(const std::string& text, std::size_t place, TextAt textAt) {
        if (find(text, textAt) == kNone)
            enter_(text, place);
    }

private:
    std::size_t mask_() const { return m_table.size() - 1; }

    static std::uint64_t wordAt_(const char* bytes, std::size_t size) {
        std::uint64_t word = 0;
        std::memcpy(&word, bytes, size);
        return word;
    }

    static std::size_t hashOf_(const std::string& text) {
        constexpr std::size_t kWord = sizeof(std::uint64_t);
        constexpr std::uint64_t kSpread = 0x9E3779B97F4A7C15ULL;
        std::uint64_t hash = text.size();
        std::size_t at = 0;
        for (; at + kWord <= text.size(); at += kWord)
            hash = ((hash ^ wordAt_(text.data() + at, kWord)) * kSpread) ^ (hash >> 32U);
        hash = (hash ^ wordAt_(text.data() + at, text.size() - at)) * kSpread;
        return static_cast<std::size_t>(hash >> 32U);
    }

    void enter_(const std::string& text, std::size_t place) {
        std::size_t at = hashOf_(text) & mask_();
        while (m_table[at] != 0)
            at = (at + 1) & mask_();
        m_table[at] = static_cast<std::uint32_t>(place + 1);
    }

    /// Places + 1, 0 for none; at least half of it is empty, its size a power of two.
    std::vector<std::uint32_t> m_table;
};

}  // namespace options
