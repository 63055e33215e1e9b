// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

/// Clang's thread-safety annotations; other compilers see nothing.
#if defined(__clang__)
#define XP_THREAD_ATTRIBUTE(x) __attribute__((x))
#else
#define XP_THREAD_ATTRIBUTE(x)
#endif

#define XP_CAPABILITY(name) XP_THREAD_ATTRIBUTE(capability(name))
#define XP_SCOPED_CAPABILITY XP_THREAD_ATTRIBUTE(scoped_lockable)
#define XP_GUARDED_BY(mutex) XP_THREAD_ATTRIBUTE(guarded_by(mutex))
#define XP_PT_GUARDED_BY(mutex) XP_THREAD_ATTRIBUTE(pt_guarded_by(mutex))
#define XP_REQUIRES(...) XP_THREAD_ATTRIBUTE(requires_capability(__VA_ARGS__))
#define XP_EXCLUDES(...) XP_THREAD_ATTRIBUTE(locks_excluded(__VA_ARGS__))
#define XP_ACQUIRE(...) XP_THREAD_ATTRIBUTE(acquire_capability(__VA_ARGS__))
#define XP_TRY_ACQUIRE(...) XP_THREAD_ATTRIBUTE(try_acquire_capability(__VA_ARGS__))
#define XP_RELEASE(...) XP_THREAD_ATTRIBUTE(release_capability(__VA_ARGS__))
#define XP_NO_THREAD_SAFETY_ANALYSIS XP_THREAD_ATTRIBUTE(no_thread_safety_analysis)
