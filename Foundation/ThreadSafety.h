// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// Says to clang what guards what, which then refuses to build code that touches a value without its lock. Other
// compilers read past it.

#if defined(__clang__)
#define QUORREL_THREAD_SAFETY(attribute) __attribute__((attribute))
#else
#define QUORREL_THREAD_SAFETY(attribute)
#endif

/// A class of locks, and one whose objects hold a lock for as long as they live.
#define CAPABILITY(kind) QUORREL_THREAD_SAFETY(capability(kind))
#define SCOPED_CAPABILITY QUORREL_THREAD_SAFETY(scoped_lockable)

/// A value that is touched with that lock held only.
#define GUARDED_BY(mutex) QUORREL_THREAD_SAFETY(guarded_by(mutex))

/// A function that is called with that lock held.
#define REQUIRES(mutex) QUORREL_THREAD_SAFETY(requires_capability(mutex))

/// A function that takes the lock, that lets go of it, and that returns a reference to it.
#define ACQUIRE(...) QUORREL_THREAD_SAFETY(acquire_capability(__VA_ARGS__))
#define RELEASE(...) QUORREL_THREAD_SAFETY(release_capability(__VA_ARGS__))
#define RETURN_CAPABILITY(mutex) QUORREL_THREAD_SAFETY(lock_returned(mutex))
