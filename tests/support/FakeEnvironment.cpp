// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "tests/support/FakeEnvironment.h"

namespace test {

FakeEnvironment::FakeEnvironment() : m_before(environmentVariables::replace(this)) {}

FakeEnvironment::~FakeEnvironment() {
    environmentVariables::replace(m_before);
}

const char* FakeEnvironment::find(const char* name) const {
    const auto entry = m_values.find(name);
    return entry == m_values.end() ? nullptr : entry->second.c_str();
}

}  // namespace test
