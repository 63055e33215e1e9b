// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "runs/base/xperiment/uuids.h"

#include <array>
#include <mutex>
#include <random>

#include <boost/random/mersenne_twister.hpp>
#include <boost/random/seed_seq.hpp>
#include <boost/uuid/nil_generator.hpp>
#include <boost/uuid/random_generator.hpp>
#include <boost/uuid/string_generator.hpp>
#include <boost/uuid/uuid_io.hpp>

namespace xperiment {

namespace {

/// Seeded with as much chance as a UUID holds, and as much again: one word would
/// let two of some ten thousand processes draw the same.
boost::random::mt19937 seededTwister() {
    std::random_device device;
    std::array<std::random_device::result_type, 8> words{};
    for (auto& word : words)
        word = device();
    boost::random::seed_seq seed(words.begin(), words.end());
    return boost::random::mt19937(seed);
}

}  // namespace

boost::uuids::uuid parseUuid(const std::string& text) {
    return text.empty() ? boost::uuids::nil_uuid() : boost::uuids::string_generator()(text);
}

boost::uuids::uuid randomUuid() {
    static std::mutex mutex;
    const std::lock_guard<std::mutex> lock(mutex);
    static boost::random::mt19937 twister = seededTwister();
    static boost::uuids::basic_random_generator<boost::random::mt19937> generator(twister);
    return generator();
}

std::string uuidText(const boost::uuids::uuid& uuid) {
    return boost::uuids::to_string(uuid);
}

}  // namespace xperiment
