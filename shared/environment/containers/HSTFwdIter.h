// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

/// A forward iterator on the heap, made by a `create...Iter` operation.
///
/// The caller deletes it, and does so before the container that it walks
/// changes or goes, unless the operation that made it says that it walks a
/// copy. An empty container gives an iterator without an element, never null,
/// except where the operation says otherwise.
///
///     std::unique_ptr<HSTFwdIter<HAXPExpRunStep*>> steps(run.createRunStepIter());
///     while (steps->hasNext())
///         visit(steps->next());
template <class T> class HSTFwdIter {
public:
    virtual ~HSTFwdIter() = default;

    HSTFwdIter(const HSTFwdIter&) = delete;
    HSTFwdIter& operator=(const HSTFwdIter&) = delete;

    /// Whether an element is left.
    bool hasNext() const { return m_hasNext; }

    /// Gives the element and moves on. hasNext() must be true.
    virtual T next() = 0;

protected:
    explicit HSTFwdIter(bool hasFirst) : m_hasNext(hasFirst) {}

    /// True while an element is left; next() of a derived class keeps it so.
    bool m_hasNext;
};
