// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "workbench/ice40/contentHash.h"

#include <boost/uuid/detail/sha1.hpp>
#include <fmt/format.h>

namespace ice40 {

struct ContentHash::State {
    boost::uuids::detail::sha1 hash;
};

ContentHash::ContentHash() : m_state(std::make_unique<State>()) {}
ContentHash::~ContentHash() = default;

void ContentHash::add(std::string_view piece) {
    m_state->hash.process_bytes(piece.data(), piece.size());
}

std::string ContentHash::text() {
    boost::uuids::detail::sha1::digest_type digest;
    m_state->hash.get_digest(digest);
    std::string text;
    for (const auto part : digest)
        text += fmt::format("{:0{}x}", part, 2 * sizeof part);
    return text;
}

}  // namespace ice40
