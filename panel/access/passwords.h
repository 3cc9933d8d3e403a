// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <condition_variable>
#include <mutex>
#include <string>

/// @file
/// Passwords and their hashes: yescrypt, as crypt(5) writes it.

namespace papanel {

/// What is wrong with a new password; empty when it is 8 to 256 bytes of UTF-8 without control
/// characters.
std::string passwordFault(const std::string& password);

/// @throws std::runtime_error when the system has no random numbers or no memory
std::string hashPassword(const std::string& password);

/// Whether a text is such a hash.
bool isPasswordHash(const std::string& text);

/// Whether a hash was made of this password.
/// @param hash empty for an unknown user: it takes as long, and the answer is no
bool isPassword(const std::string& password, const std::string& hash);

/// A hash takes a while and several MB: at most two threads are inside at once, and at most 100
/// wait.
class HashLimit {
public:
    /// One thread's turn, which ends with the object.
    class Turn {
    public:
        /// @throws ApiError overloaded when too many wait
        explicit Turn(HashLimit& limit);
        Turn(const Turn&) = delete;
        Turn& operator=(const Turn&) = delete;
        ~Turn();

    private:
        HashLimit& limit_;
    };

private:
    std::mutex lock_;
    std::condition_variable free_;
    // Guarded by lock_.
    int inside_ = 0;
    int waiting_ = 0;
};

}  // namespace papanel
