// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <iterator>
#include <utility>

#include "environment/containers/HSTFwdIter.h"
#include "environment/containers/HSTFwdKeyIter.h"
#include "environment/containers/HSTKeyValIter.h"

/// The one iterator behind every `create...Iter` operation.
///
/// `heapIter<T>(container)` walks a container in place; `heapKeyIter` walks
/// the keys of a map, `heapKeyValIter` its entries, and `heapIterOfCopy` a
/// container that the iterator keeps to itself, for lists that may change
/// while a caller walks them. Elements convert implicitly or not at all.
namespace containers {

struct TakeElement {
    template <class It> static decltype(auto) from(It it) { return *it; }
};
struct TakeAddress {
    template <class It> static auto from(It it) { return it->get(); }
};
struct TakeKey {
    template <class It> static decltype(auto) from(It it) { return it->first; }
};

/// Walks [first, last), which stays as it is until the iterator goes.
template <class Base, class T, class It, class Take> class RangeIter final : public Base {
public:
    RangeIter(It first, It last) : Base(first != last), m_at(first), m_last(last) {}

    T next() override {
        const It here = m_at++;
        this->m_hasNext = m_at != m_last;
        return Take::from(here);
    }

private:
    It m_at;
    It m_last;
};

/// Keeps the container that it walks.
template <class T, class Container> class CopyIter final : public HSTFwdIter<T> {
public:
    explicit CopyIter(Container owned)
        : HSTFwdIter<T>(!owned.empty()), m_elements(std::move(owned)), m_at(m_elements.begin()) {}

    T next() override {
        T element = *m_at++;
        this->m_hasNext = m_at != m_elements.end();
        return element;
    }

private:
    Container m_elements;
    typename Container::iterator m_at;
};

/// A new iterator over the elements of `container`, as T.
template <class T, class Container> HSTFwdIter<T>* heapIter(const Container& container) {
    using It = typename Container::const_iterator;
    return new RangeIter<HSTFwdIter<T>, T, It, TakeElement>(container.begin(), container.end());
}

/// A new iterator over what the smart pointers of `container` point to, as T.
template <class T, class Container> HSTFwdIter<T>* heapIterOfOwned(const Container& container) {
    using It = typename Container::const_iterator;
    return new RangeIter<HSTFwdIter<T>, T, It, TakeAddress>(container.begin(), container.end());
}

/// A new iterator over the keys of `map`, as Key.
template <class Key, class Map> HSTFwdKeyIter<Key>* heapKeyIter(const Map& map) {
    using It = typename Map::const_iterator;
    return new RangeIter<HSTFwdKeyIter<Key>, Key, It, TakeKey>(map.begin(), map.end());
}

/// A new iterator over the entries of `map`, as pairs of Key and Value.
template <class Key, class Value, class Map>
HSTKeyValIter<Key, Value>* heapKeyValIter(const Map& map) {
    using It = typename Map::const_iterator;
    using Entry = std::pair<Key, Value>;
    return new RangeIter<HSTKeyValIter<Key, Value>, Entry, It, TakeElement>(map.begin(), map.end());
}

/// A new iterator over a copy of its own: `container` may change meanwhile.
template <class T, class Container> HSTFwdIter<T>* heapIterOfCopy(Container container) {
    return new CopyIter<T, Container>(std::move(container));
}

}  // namespace containers
