// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <memory>
#include <string>
#include <string_view>

namespace ice40 {

/// The SHA-1 of a content that is handed over piece by piece.
class ContentHash {
public:
    ContentHash();
    ~ContentHash();

    ContentHash(const ContentHash&) = delete;
    ContentHash& operator=(const ContentHash&) = delete;

    void add(std::string_view piece);

    /// In hexadecimal. To be called once.
    std::string text();

private:
    struct State;
    std::unique_ptr<State> m_state;
};

}  // namespace ice40
