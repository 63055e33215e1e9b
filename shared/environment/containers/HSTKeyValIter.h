// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <utility>

#include "environment/containers/HSTFwdIter.h"

/// A forward iterator over the entries of a table, in the table's own order.
template <class Key, class Value> class HSTKeyValIter : public HSTFwdIter<std::pair<Key, Value>> {
protected:
    using HSTFwdIter<std::pair<Key, Value>>::HSTFwdIter;
};
