// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "environment/tcl/native_cache_base.h"

#include <atomic>
#include <cstring>
#include <mutex>
#include <vector>

#include <tcl.h>

#include "environment/errors/HEXAlgException.h"
#include "environment/errors/HTCErrors.h"

namespace mqi {
namespace tcltasks {

namespace {

void copyInvalid(Tcl_Obj* from, Tcl_Obj* to);

// A copy of a handle is plain text, found by name like one that was typed: the
// caches know each handle by its address.
void copyAsText(Tcl_Obj*, Tcl_Obj*) {}

// The text is never dropped, so that neither type has to make it anew.
const Tcl_ObjType kHandle = {"nativeHandle", nullptr, copyAsText, nullptr, nullptr};
const Tcl_ObjType kInvalidHandle = {"invalidHandle", nullptr, copyInvalid, nullptr, nullptr};

void copyInvalid(Tcl_Obj*, Tcl_Obj* to) {
    to->typePtr = &kInvalidHandle;
}

void dropRep(Tcl_Obj* obj) {
    Tcl_GetString(obj);  // the text may still have to be made from what goes
    if (obj->typePtr != nullptr && obj->typePtr->freeIntRepProc != nullptr)
        obj->typePtr->freeIntRepProc(obj);
    obj->typePtr = nullptr;
}

void setText(Tcl_Obj* obj, const std::string& text) {
    Tcl_InvalidateStringRep(obj);
    obj->bytes = static_cast<char*>(Tcl_Alloc(static_cast<unsigned>(text.size() + 1)));
    std::memcpy(obj->bytes, text.c_str(), text.size() + 1);
    obj->length = static_cast<int>(text.size());
}

std::atomic<bool> g_exiting{false};

/// What to call when Tcl is finalised.
struct ExitWatch {
    std::mutex mutex;
    std::vector<void (*)()> releases;
};

ExitWatch& exitWatch() {
    static ExitWatch* const watch = new ExitWatch;
    return *watch;
}

void onTclExit(ClientData) {
    std::vector<void (*)()> releases;
    {
        const std::lock_guard<std::mutex> lock(exitWatch().mutex);
        releases.swap(exitWatch().releases);
    }
    for (void (*const release)() : releases)
        release();
    g_exiting = true;
}

std::string errorCode(const std::string& name) {
    const char* const words[] = {"XP", "HANDLE", "DELETED", name.c_str()};
    char* const list = Tcl_Merge(4, words);
    std::string code(list);
    Tcl_Free(list);
    return code;
}

}  // namespace

bool native_cache_base::tcl_exiting() {
    return g_exiting;
}

void native_cache_base::mark_invalid(Tcl_Obj* obj) {
    dropRep(obj);
    obj->typePtr = &kInvalidHandle;
}

bool native_cache_base::is_invalid(const Tcl_Obj* obj) {
    return obj->typePtr == &kInvalidHandle;
}

void native_cache_base::incr_refcount(Tcl_Obj* obj) {
    Tcl_IncrRefCount(obj);
}

void native_cache_base::decr_refcount(Tcl_Obj* obj) {
    Tcl_DecrRefCount(obj);
}

void native_cache_base::rename(Tcl_Obj* obj, const std::string& name) {
    if (obj->typePtr != &kHandle && obj->typePtr != &kInvalidHandle)
        dropRep(obj);
    setText(obj, name);
}

std::string native_cache_base::text(Tcl_Obj* obj) {
    int length = 0;
    const char* const bytes = Tcl_GetStringFromObj(obj, &length);
    return {bytes, static_cast<std::size_t>(length)};
}

void native_cache_base::error(const std::string& text) {
    throw HEXAlgException(text);
}

void native_cache_base::deleted_error(Tcl_Obj* obj) {
    const std::string name = text(obj);
    throw HTCErrors::error("\"" + name + "\" was deleted: this handle is no longer valid",
                           errorCode(name));
}

Tcl_Obj* native_cache_base::new_handle(const std::string& name, void* native, const void* cache) {
    Tcl_Obj* const obj = Tcl_NewObj();
    setText(obj, name);
    obj->internalRep.twoPtrValue.ptr1 = native;
    obj->internalRep.twoPtrValue.ptr2 = const_cast<void*>(cache);
    obj->typePtr = &kHandle;
    Tcl_IncrRefCount(obj);
    return obj;
}

void* native_cache_base::native_of(const Tcl_Obj* obj, const void* cache) {
    const bool ours = obj->typePtr == &kHandle && obj->internalRep.twoPtrValue.ptr2 == cache;
    return ours ? obj->internalRep.twoPtrValue.ptr1 : nullptr;
}

void native_cache_base::watch_exit(void (*releaseAll)()) {
    const std::lock_guard<std::mutex> lock(exitWatch().mutex);
    if (exitWatch().releases.empty()) {
        // A program may make handles before its first interpreter.
        Tcl_FindExecutable(nullptr);
        Tcl_CreateExitHandler(onTclExit, nullptr);
    }
    exitWatch().releases.push_back(releaseAll);
}

}  // namespace tcltasks
}  // namespace mqi
