// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include "environment/containers/HSTFwdIter.h"

/// A forward iterator over the keys of a table, in the table's own order.
template <class Key> class HSTFwdKeyIter : public HSTFwdIter<Key> {
protected:
    using HSTFwdIter<Key>::HSTFwdIter;
};
