#pragma once

/// Names the lock that guards a member, and the locks that a function needs, takes or must not hold.
///
/// clang checks these annotations with -Wthread-safety. They expand to nothing for other compilers. clang does not
/// look into constructors and destructors.
#if defined(__clang__)
#define KX_THREAD_SAFETY(annotation) __attribute__((annotation))
#else
#define KX_THREAD_SAFETY(annotation)
#endif

/// A class of locks.
#define KX_CAPABILITY(name) KX_THREAD_SAFETY(capability(name))

/// A class whose objects hold a lock for a scope.
#define KX_SCOPED_CAPABILITY KX_THREAD_SAFETY(scoped_lockable)

/// A variable or member that may be used only with the lock held.
#define KX_GUARDED_BY(lock) KX_THREAD_SAFETY(guarded_by(lock))

/// The caller holds the locks.
#define KX_REQUIRES(...) KX_THREAD_SAFETY(requires_capability(__VA_ARGS__))

/// The caller must not hold the locks: the function takes them itself, or waits for a thread that does.
#define KX_EXCLUDES(...) KX_THREAD_SAFETY(locks_excluded(__VA_ARGS__))

/// Takes the lock.
#define KX_ACQUIRE(...) KX_THREAD_SAFETY(acquire_capability(__VA_ARGS__))

/// Releases the lock.
#define KX_RELEASE(...) KX_THREAD_SAFETY(release_capability(__VA_ARGS__))

/// Takes the lock if it returns the first argument.
#define KX_TRY_ACQUIRE(...) KX_THREAD_SAFETY(try_acquire_capability(__VA_ARGS__))

/// Switches the check off for one function. A comment beside it says why that is safe.
#define KX_NO_THREAD_SAFETY_ANALYSIS KX_THREAD_SAFETY(no_thread_safety_analysis)
