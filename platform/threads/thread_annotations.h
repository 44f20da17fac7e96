// Which lock guards what, in a form that a compiler can check.
//
// clang's -Wthread-safety reads these marks: it warns where a guarded member is touched without the lock. The check needs
// a standard library whose locks are marked as well (libc++); other compilers see nothing here. Preset linux-clang builds
// that way.
#pragma once

#if defined(__clang__)
#define ZELKOR_THREAD_ANNOTATION(x) __attribute__((x))
#else
#define ZELKOR_THREAD_ANNOTATION(x)
#endif

/// Behind a member: it is read and written only under this lock.
#define GUARDED_BY(lock) ZELKOR_THREAD_ANNOTATION(guarded_by(lock))
