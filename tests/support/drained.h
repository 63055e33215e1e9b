// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <memory>
#include <vector>

#include "environment/containers/HSTFwdIter.h"

namespace test {

/// What is left of an iterator, which is deleted.
template <class T> std::vector<T> drained(HSTFwdIter<T>* owned) {
    const std::unique_ptr<HSTFwdIter<T>> iter(owned);
    std::vector<T> elements;
    while (iter->hasNext())
        elements.push_back(iter->next());
    return elements;
}

}  // namespace test
