// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <new>
#include <utility>

/// @file
/// Global objects that every static constructor of a program may use.
///
///     EarlyStorage<std::string> storage;
///     PASDK_EARLIEST const EarlyObject<std::string> made(storage, "0.0.0.0");
///     constexpr std::string& gText = storage.object;  // or a reference that a header declares

namespace pa {

/// Storage for a global object. It is bound to references at compile time and never destroyed, so
/// that a thread may use the object until the process has ended.
template <class T>
union EarlyStorage {
    constexpr EarlyStorage() : nothing() {}
    ~EarlyStorage() {}

    char nothing;
    T object;
};

/// Constructs the object of `storage`. The program has exactly one of these for each storage,
/// declared with PASDK_EARLIEST.
template <class T>
struct EarlyObject {
    template <class... Arguments>
    explicit EarlyObject(EarlyStorage<T>& storage, Arguments&&... arguments) {
        new (&storage.object) T(std::forward<Arguments>(arguments)...);
    }
};

/// Has what `instance` returns, a static object of that function, made on the way to main, so that
/// no other thread can be in the middle of that at a fork(). Declared with PASDK_EARLIEST.
struct MadeEarly {
    template <class T>
    explicit MadeEarly(T& (*instance)()) {
        instance();
    }
};

}  // namespace pa

/// Constructed before every static object without a priority of its own, whatever the order of the
/// translation units: 101 is the earliest that GCC and Clang leave to programs.
#define PASDK_EARLIEST [[gnu::init_priority(101)]]
