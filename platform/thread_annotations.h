// Which lock guards what, in a form that a compiler can check.
//
// clang's -Wthread-safety reads these marks: it warns where a guarded member is touched, or a marked function called,
// without the lock. The check needs a standard library whose locks are marked as well (libc++); other compilers see
// nothing here. Preset linux-clang builds that way.
#pragma once

#if defined(__clang__)
#define ZELKOR_THREAD_ANNOTATION(x) __attribute__((x))
#else
#define ZELKOR_THREAD_ANNOTATION(x)
#endif

/// Behind a member: it is read and written only under this lock.
#define GUARDED_BY(lock) ZELKOR_THREAD_ANNOTATION(guarded_by(lock))
/// Behind a declaration: callers hold this lock.
#define REQUIRES(...) ZELKOR_THREAD_ANNOTATION(requires_capability(__VA_ARGS__))
/// Behind a declaration: callers do not hold this lock, as the function takes it.
#define EXCLUDES(...) ZELKOR_THREAD_ANNOTATION(locks_excluded(__VA_ARGS__))
/// For a function whose locking the check cannot follow; a comment beside it says why it is sound.
#define NO_THREAD_SAFETY_ANALYSIS ZELKOR_THREAD_ANNOTATION(no_thread_safety_analysis)
