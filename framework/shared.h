// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <type_traits>

/// @file
/// Access to the plain globals that the threads of a process share: `debugLevel` and those of
/// sdk/globals.h.
///
/// They have the types that they are documented with, an int or a pointer, and no class in their
/// place could behave so: `auto* server = gAudioServerInstance` deduces only from a pointer,
/// `std::max(gMaxServerWaitTimeSeconds, 3)` only from an int, and `printf("%d", gLocalDstNo)`
/// passes the object itself. The SDK therefore reads and writes them with these two functions only.
///
/// An application does so as well where another thread may access the same global: whenever it sets
/// one, for the controller's worker runs from the start of the process, and when it reads one while
/// the link is being connected to another server. Anywhere else a plain read is as good; so are
/// reads after `palink::ServerLink::waitUntilReady`, as long as that connection lasts.

namespace pa {

/// Reads a shared global. May be called from any thread.
template <class T>
[[nodiscard]] T load(const T& global) noexcept {
    return __atomic_load_n(&global, __ATOMIC_SEQ_CST);
}

/// Sets a shared global. May be called from any thread. A value that is there already is not
/// written again: a new connection to the same server does not disturb plain readers.
template <class T>
void store(T& global, std::common_type_t<T> value) noexcept {
    if (load(global) != value) {
        __atomic_store_n(&global, value, __ATOMIC_SEQ_CST);
    }
}

}  // namespace pa
