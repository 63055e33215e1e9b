// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "tests/unit/environment/tcl/tracedRun.h"

template class mqi::tcltasks::native_cache<test::TracedRun*>;

namespace test {

using Cache = mqi::tcltasks::native_cache<TracedRun*>;

TracedRun::~TracedRun() noexcept(false) {
    Cache::release(this);
}

void TracedRun::rename(const std::string& name) {
    m_name = name;
    Cache::rename(this, name);
}

Tcl_Obj* TracedRun::handle() {
    return Cache::get_obj(this, m_name);
}

const void* TracedRun::n2tTable() {
    return &Cache::get_n2t_cache();
}

const void* TracedRun::t2nTable() {
    return &Cache::get_t2n_cache();
}

}  // namespace test
