// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <string>

namespace test {

/// The text of a report that a real tool wrote, from tests/data/ice40.
std::string reportData(const std::string& name);

/// The text of the failure that `action` throws; fails the test without one.
template <class Failure, class Action> std::string failureOf(Action action) {
    try {
        action();
    } catch (const Failure& failure) {
        return failure.what();
    }
    return "nothing was thrown";
}

}  // namespace test
