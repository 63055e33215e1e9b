// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <vector>

/// The environment's vector. Out-of-range access through at() throws
/// std::out_of_range.
template <class T> using HSTVector = std::vector<T>;
