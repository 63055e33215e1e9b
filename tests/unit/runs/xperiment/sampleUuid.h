// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

namespace test {

/// A UUID in its universal form.
constexpr const char* kUuid = "01234567-89ab-cdef-0123-456789abcdef";

}  // namespace test
