// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <string>

#include "environment/tcl/native_cache.h"

#define TRACED_API __attribute__((visibility("default")))

namespace test {

/// A native class in a shared library of its own, which scripts hold by handles.
class TRACED_API TracedRun {
public:
    explicit TracedRun(const std::string& name) : m_name(name) {}
    ~TracedRun() noexcept(false);

    TracedRun(const TracedRun&) = delete;
    TracedRun& operator=(const TracedRun&) = delete;

    const std::string& name() const { return m_name; }
    void rename(const std::string& name);

    /// The handle on this run, made in the library.
    Tcl_Obj* handle();

    /// The library's tables, as addresses.
    static const void* n2tTable();
    static const void* t2nTable();

private:
    std::string m_name;
};

}  // namespace test

extern template class TRACED_API mqi::tcltasks::native_cache<test::TracedRun*>;
