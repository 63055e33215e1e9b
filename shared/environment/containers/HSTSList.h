// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <list>

/// The environment's list: cheap to insert into and to take from anywhere.
template <class T> using HSTSList = std::list<T>;
