// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <atomic>
#include <map>
#include <string>
#include <type_traits>

#include "environment/tcl/native_cache_base.h"

namespace mqi {
namespace tcltasks {

// NOLINTBEGIN(readability-identifier-naming): the names of this layer have underscores.

/// The handles by which scripts hold native objects of one pointer type T.
///
/// A native object has as many handles as were made for it, as a rule one. Its
/// destructor calls release(), which makes them invalid.
///
/// There must be one cache a type in a process, also when several shared
/// libraries use it. So the library of the class behind T exports the only
/// instance: its header, below the class, declares it
///
///     extern template class RUNS_API mqi::tcltasks::native_cache<HAXPExpRunBase*>;
///
/// and its source defines it
///
///     template class mqi::tcltasks::native_cache<HAXPExpRunBase*>;
///
/// The class must be complete where the cache is used, so that no one can use
/// it without having seen that declaration.
///
/// The tables belong to the interpreter's thread. Other threads may destroy
/// natives as long as no handle of this type is made meanwhile and theirs have
/// none.
template <class T> class native_cache : public native_cache_base {
public:
    static_assert(std::is_pointer<T>::value, "the cache is for a pointer type");

    using n2t_cache = std::multimap<T, Tcl_Obj*>;
    using t2n_cache = std::map<Tcl_Obj*, T>;

    /// Whether handles may exist. True from the start; the first call after
    /// Tcl began to finalise makes it false for good, so that a native object
    /// destroyed after that touches no cache.
    static bool observers();

    /// From native object to its handles. Each entry holds one reference.
    static n2t_cache& get_n2t_cache();

    /// From handle to native object. Has the same handles as get_n2t_cache().
    static t2n_cache& get_t2n_cache();

    /// The handle on `native`, made with the text `name` if there is none yet;
    /// an existing one keeps its text. The cache owns it; a caller that keeps
    /// it, other than as an interpreter's result or value, takes a reference.
    /// @throws HEXAlgException `native` is null, or Tcl was finalised.
    static Tcl_Obj* get_obj(T native, const std::string& name);

    /// The native object behind the handle `obj`; null when `obj` is no handle
    /// of this type, as a name that was typed: the caller looks it up.
    /// @throws HTCErrors::error the object of this handle was deleted.
    static T get_native(Tcl_Obj* obj);

    /// Gives every handle on `native` the text `name`.
    static void rename(T native, const std::string& name);
    using native_cache_base::rename;

    /// The end of `native`: makes its handles invalid and forgets them. Does
    /// nothing when observers() is false.
    /// @throws HEXAlgException "native_cache<> corrupt", when a handle of it
    /// stands in one table only; all its other handles are released by then.
    static void release(T native);

    /// Makes every handle invalid and forgets it.
    static void release_all();

private:
    /// Takes `obj` off the script side and drops the cache's reference; false
    /// when it doesn't stand there.
    static bool release_handle(Tcl_Obj* obj);
};

template <class T> bool native_cache<T>::observers() {
    static std::atomic<bool> active{true};
    if (active.load(std::memory_order_relaxed) && tcl_exiting())
        active.store(false, std::memory_order_relaxed);
    return active.load(std::memory_order_relaxed);
}

// Both tables stay until the process ends: a native object may be a static one
// and outlive them otherwise.
template <class T> typename native_cache<T>::n2t_cache& native_cache<T>::get_n2t_cache() {
    static_assert(alignof(std::remove_pointer_t<T>) > 0, "include the header of the class");
    static n2t_cache* const cache = new n2t_cache;
    return *cache;
}

template <class T> typename native_cache<T>::t2n_cache& native_cache<T>::get_t2n_cache() {
    static_assert(alignof(std::remove_pointer_t<T>) > 0, "include the header of the class");
    static t2n_cache* const cache = (watch_exit(&native_cache::release_all), new t2n_cache);
    return *cache;
}

template <class T> Tcl_Obj* native_cache<T>::get_obj(T native, const std::string& name) {
    if (native == nullptr)
        error("no native object for the handle \"" + name + "\"");
    if (!observers())
        error("Tcl was finalised: no handle \"" + name + "\"");
    n2t_cache& handles = get_n2t_cache();
    const auto known = handles.find(native);
    if (known != handles.end())
        return known->second;
    t2n_cache& natives = get_t2n_cache();
    Tcl_Obj* const obj = new_handle(name, native, &natives);
    handles.emplace(native, obj);
    natives.emplace(obj, native);
    return obj;
}

template <class T> T native_cache<T>::get_native(Tcl_Obj* obj) {
    if (is_invalid(obj))
        deleted_error(obj);
    const t2n_cache& natives = get_t2n_cache();
    if (void* const native = native_of(obj, &natives))
        return static_cast<T>(native);
    const auto known = natives.find(obj);
    return known == natives.end() ? nullptr : known->second;
}

template <class T> void native_cache<T>::rename(T native, const std::string& name) {
    if (!observers())
        return;
    const auto handles = get_n2t_cache().equal_range(native);
    for (auto at = handles.first; at != handles.second; ++at)
        native_cache_base::rename(at->second, name);
}

template <class T> void native_cache<T>::release(T native) {
    if (!observers())
        return;
    n2t_cache& handles = get_n2t_cache();
    const auto range = handles.equal_range(native);
    if (range.first == range.second)
        return;
    bool whole = true;
    for (auto at = range.first; at != range.second; ++at)
        whole = release_handle(at->second) && whole;
    handles.erase(range.first, range.second);
    if (!whole)
        error("native_cache<> corrupt");
}

template <class T> void native_cache<T>::release_all() {
    for (const auto& entry : get_n2t_cache())
        release_handle(entry.second);
    get_n2t_cache().clear();
}

template <class T> bool native_cache<T>::release_handle(Tcl_Obj* obj) {
    if (get_t2n_cache().erase(obj) == 0)
        return false;
    mark_invalid(obj);
    decr_refcount(obj);
    return true;
}

// NOLINTEND(readability-identifier-naming)

}  // namespace tcltasks
}  // namespace mqi
