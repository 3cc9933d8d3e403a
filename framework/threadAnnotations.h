#pragma once

/// @file
/// Clang's thread-safety annotations. Other compilers see nothing of them.

#if defined(__clang__)
#define PA_THREAD_ANNOTATION(x) __attribute__((x))
#else
#define PA_THREAD_ANNOTATION(x)
#endif

#define PA_CAPABILITY(name) PA_THREAD_ANNOTATION(capability(name))
#define PA_SCOPED_CAPABILITY PA_THREAD_ANNOTATION(scoped_lockable)
#define PA_GUARDED_BY(mutex) PA_THREAD_ANNOTATION(guarded_by(mutex))
#define PA_REQUIRES(...) PA_THREAD_ANNOTATION(requires_capability(__VA_ARGS__))
#define PA_ACQUIRE(...) PA_THREAD_ANNOTATION(acquire_capability(__VA_ARGS__))
#define PA_RELEASE(...) PA_THREAD_ANNOTATION(release_capability(__VA_ARGS__))
#define PA_ASSERT_CAPABILITY(...) PA_THREAD_ANNOTATION(assert_capability(__VA_ARGS__))
#define PA_NO_THREAD_SAFETY_ANALYSIS PA_THREAD_ANNOTATION(no_thread_safety_analysis)
