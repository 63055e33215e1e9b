// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <string>

#include "environment/EnvironmentExport.h"

struct Tcl_Obj;

namespace mqi {
namespace tcltasks {

// NOLINTBEGIN(readability-identifier-naming): the names of this layer have underscores.

/// What every `native_cache<T>` shares: how a handle, a Tcl value that stands
/// for a native object, is made, renamed and made invalid.
///
/// A handle is a value of an object type of its own. Its text is the name of
/// the native object, its internal representation points to that object. The
/// cache holds one reference to each handle, so a handle lives as long as its
/// native object at least, and a script may keep it longer: it is then invalid,
/// and using it is an error that names the object.
///
/// Handles belong to the thread that runs the interpreter. An exception from
/// here must not pass through Tcl's C frames: a command procedure catches it.
class ENVIRONMENT_API native_cache_base {
public:
    native_cache_base() = delete;

    /// Whether Tcl is being finalised, or was: from then on no handle may be
    /// touched. Stays true. False in a program that never made a handle.
    static bool tcl_exiting();

    /// Makes `obj` an invalid handle; its text stays, as the name for errors.
    /// Whatever `obj` was converted to meanwhile (a list, say) is dropped.
    static void mark_invalid(Tcl_Obj* obj);

    /// Whether `obj` is an invalid handle, or a copy of one. A script that uses
    /// an invalid handle as a list or a number turns it into plain text.
    static bool is_invalid(const Tcl_Obj* obj);

    static void incr_refcount(Tcl_Obj* obj);

    /// Drops a reference; the last one frees `obj`.
    static void decr_refcount(Tcl_Obj* obj);

    /// Gives the handle `obj` the text `name`, wherever a script keeps it. The
    /// pointer that Tcl_GetString() gave before is no longer good.
    ///
    /// Only handles change: a literal or a text that reads the same as the old
    /// name is never a handle and stays as it is. An array element or a
    /// dictionary entry whose key is the handle itself can't be found by either
    /// name afterwards; scripts use the plain name as a key.
    static void rename(Tcl_Obj* obj, const std::string& name);

    /// The text of `obj`.
    static std::string text(Tcl_Obj* obj);

    /// Reports a cache at odds with itself.
    /// @throws HEXAlgException always, with `text`.
    [[noreturn]] static void error(const std::string& text);

    /// Tells the script that `obj` is an invalid handle.
    /// @throws HTCErrors::error always; it names the object, its code is the
    /// list XP HANDLE DELETED and the object's name.
    [[noreturn]] static void deleted_error(Tcl_Obj* obj);

protected:
    /// A new handle on `native` with the text `name`. `cache` tells the caches
    /// of different types apart. The caller holds the only reference.
    static Tcl_Obj* new_handle(const std::string& name, void* native, const void* cache);

    /// The native object of the handle `obj` of `cache`; null when `obj` isn't
    /// one, or was converted to something else since.
    static void* native_of(const Tcl_Obj* obj, const void* cache);

    /// Has `releaseAll` called when Tcl is finalised, while handles are still
    /// good. Once for each cache.
    static void watch_exit(void (*releaseAll)());
};

// NOLINTEND(readability-identifier-naming)

}  // namespace tcltasks
}  // namespace mqi
