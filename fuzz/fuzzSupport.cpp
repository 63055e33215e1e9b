// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "fuzz/fuzzSupport.h"

#include <cstdio>
#include <cstdlib>
#include <iostream>

#include "tests/support/RunDir.h"

namespace fuzz {

namespace {

const test::RunDir& runDir() {
    static const test::RunDir dir;
    return dir;
}

}  // namespace

Scratch::Scratch() : m_folder(runDir().path()) {
    std::cout.setstate(std::ios::failbit);
    std::cerr.setstate(std::ios::failbit);
}

std::string Scratch::folder(const std::string& name) const {
    runDir().folder(name);
    return path(name);
}

std::string Scratch::write(const std::string& name, const std::uint8_t* data,
                           std::size_t size) const {
    runDir().mark(name, {reinterpret_cast<const char*>(data), size});
    return path(name);
}

const Scratch& scratch() {
    static const Scratch scratch;
    return scratch;
}

void require(bool kept, const char* promise) {
    if (kept)
        return;
    std::fprintf(stderr, "broken promise: %s\n", promise);
    std::abort();
}

}  // namespace fuzz
