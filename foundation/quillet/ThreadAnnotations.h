// DP_GUARDED_BY and its like: which lock guards what, in a form that Clang checks
// (-Wthread-safety, in the preset `clang`). Other compilers see nothing.
//
//     quillet::threads::RecursiveMutex mMutex;
//     int mCount DP_GUARDED_BY(mMutex) = 0;            no access without the lock
//     void Add(int inCount) DP_REQUIRES(mMutex);       called by who holds it
//
// The analysis follows a lock within one function. Where a lock is left out on purpose the
// definition says DP_NO_THREAD_SAFETY_ANALYSIS, and a comment why.

#pragma once

#include "TVK/LanguageCheck.h"

#if defined(__clang__)
#define DP_THREAD_ATTRIBUTE(inAttribute) __attribute__((inAttribute))
#else
#define DP_THREAD_ATTRIBUTE(inAttribute)
#endif

/// A class that is a lock.
#define DP_CAPABILITY(inName) DP_THREAD_ATTRIBUTE(capability(inName))
/// A class that takes a lock when it is made, and gives it back when it goes.
#define DP_SCOPED_CAPABILITY DP_THREAD_ATTRIBUTE(scoped_lockable)

/// A member that is read and written by holders of the lock alone.
#define DP_GUARDED_BY(inMutex) DP_THREAD_ATTRIBUTE(guarded_by(inMutex))
/// A pointer whose target is.
#define DP_PT_GUARDED_BY(inMutex) DP_THREAD_ATTRIBUTE(pt_guarded_by(inMutex))

/// A function that holders of the lock alone may call.
#define DP_REQUIRES(...) DP_THREAD_ATTRIBUTE(requires_capability(__VA_ARGS__))
/// A function that the lock's holder may not call.
#define DP_EXCLUDES(...) DP_THREAD_ATTRIBUTE(locks_excluded(__VA_ARGS__))
/// A function that returns with the lock held, or given back.
#define DP_ACQUIRE(...) DP_THREAD_ATTRIBUTE(acquire_capability(__VA_ARGS__))
#define DP_RELEASE(...) DP_THREAD_ATTRIBUTE(release_capability(__VA_ARGS__))

/// A function that is not looked into.
#define DP_NO_THREAD_SAFETY_ANALYSIS DP_THREAD_ATTRIBUTE(no_thread_safety_analysis)
