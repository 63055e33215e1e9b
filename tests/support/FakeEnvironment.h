// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <map>
#include <string>

#include "environment/installation/environmentVariables.h"

namespace test {

/// An environment of variables of its own, empty at first, for as long as it
/// lives: what HUTEnv::getEnv() answers from instead of the process environment,
/// which stays untouched. One at a time.
class FakeEnvironment : public environmentVariables {
public:
    FakeEnvironment();
    ~FakeEnvironment() override;

    FakeEnvironment(const FakeEnvironment&) = delete;
    FakeEnvironment& operator=(const FakeEnvironment&) = delete;

    void set(const std::string& name, const std::string& value) { m_values[name] = value; }
    void unset(const std::string& name) { m_values.erase(name); }

    const char* find(const char* name) const override;

private:
    std::map<std::string, std::string> m_values;
    const environmentVariables* m_before;
};

}  // namespace test
