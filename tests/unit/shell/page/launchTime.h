// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

namespace test {

/// When the runs that the page shows were launched.
inline constexpr long kLaunch = 1000000;

}  // namespace test
