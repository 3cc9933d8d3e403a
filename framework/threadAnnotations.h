// SPDX-License-Identifier: Apache-2.0
#pragma once

/// @file
/// Clang's thread-safety annotations. Other compilers ignore them.

#if defined(__clang__)
#define PASDK_THREAD_ANNOTATION(x) __attribute__((x))
#else
#define PASDK_THREAD_ANNOTATION(x)
#endif

#define PASDK_CAPABILITY(name) PASDK_THREAD_ANNOTATION(capability(name))
#define PASDK_SCOPED_CAPABILITY PASDK_THREAD_ANNOTATION(scoped_lockable)
#define PASDK_GUARDED_BY(mutex) PASDK_THREAD_ANNOTATION(guarded_by(mutex))
#define PASDK_REQUIRES(...) PASDK_THREAD_ANNOTATION(requires_capability(__VA_ARGS__))
#define PASDK_ACQUIRE(...) PASDK_THREAD_ANNOTATION(acquire_capability(__VA_ARGS__))
#define PASDK_RELEASE(...) PASDK_THREAD_ANNOTATION(release_capability(__VA_ARGS__))
#define PASDK_ASSERT_CAPABILITY(...) PASDK_THREAD_ANNOTATION(assert_capability(__VA_ARGS__))
#define PASDK_NO_THREAD_SAFETY_ANALYSIS PASDK_THREAD_ANNOTATION(no_thread_safety_analysis)
