// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <memory>
#include <vector>

#include "environment/containers/HSTFwdIter.h"

namespace test {

/// What the heap iterator gives, in order; deletes it.
template <class T> std::vector<T> drain(HSTFwdIter<T>* ownedIter) {
    const std::unique_ptr<HSTFwdIter<T>> iter(ownedIter);
    std::vector<T> elements;
    while (iter->hasNext())
        elements.push_back(iter->next());
    return elements;
}

}  // namespace test
