// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <string>

namespace test {

/// The text of the Exception that `action` throws; "nothing thrown" when it
/// throws none. Any other exception passes.
template <class Exception, class Action> std::string thrownText(Action action) {
    try {
        action();
    } catch (const Exception& thrown) {
        return thrown.what();
    }
    return "nothing thrown";
}

}  // namespace test
