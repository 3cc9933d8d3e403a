// SPDX-License-Identifier: Apache-2.0
#include "framework/uuid.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <system_error>
#include <unistd.h>

#include "framework/fork.h"

namespace {

using UuidBytes = std::array<unsigned char, 16>;

/// What a thread has from the random source and has not used: one request there costs more than all
/// the rest of a UUID.
struct RandomBytes {
    std::array<unsigned char, 256> bytes;  // as many as getentropy returns at once
    std::size_t left;
    unsigned generation;  // of the process: a child never uses what it shares with its parent
};

thread_local RandomBytes random{};

UuidBytes randomBytes() {
    UuidBytes taken{};
    if (random.left < taken.size() || random.generation != pa::forkGeneration()) {
        random.left = 0;
        if (getentropy(random.bytes.data(), random.bytes.size()) != 0) {
            throw std::system_error(errno, std::generic_category(), "generateUUID");
        }
        random.left = random.bytes.size();
        random.generation = pa::forkGeneration();
    }
    random.left -= taken.size();
    std::copy_n(random.bytes.begin() + random.left, taken.size(), taken.begin());
    return taken;
}

}  // namespace

void generateUUID(std::string& out) {
    UuidBytes bytes = randomBytes();
    bytes[6] = static_cast<unsigned char>((bytes[6] & 0x0f) | 0x40);  // version 4
    bytes[8] = static_cast<unsigned char>((bytes[8] & 0x3f) | 0x80);  // variant of RFC 4122

    constexpr char digits[] = "0123456789abcdef";
    std::array<char, 36> text{};
    auto* write = text.data();
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        if (i == 4 || i == 6 || i == 8 || i == 10) {
            *write++ = '-';
        }
        *write++ = digits[bytes[i] >> 4];
        *write++ = digits[bytes[i] & 0x0f];
    }
    out.assign(text.data(), text.size());
}
