// SPDX-License-Identifier: Apache-2.0
#include "framework/uuid.h"

#include <array>
#include <cerrno>
#include <system_error>
#include <unistd.h>

void generateUUID(std::string& out) {
    std::array<unsigned char, 16> bytes{};
    if (getentropy(bytes.data(), bytes.size()) != 0) {
        throw std::system_error(errno, std::generic_category(), "generateUUID");
    }
    bytes[6] = static_cast<unsigned char>((bytes[6] & 0x0f) | 0x40);  // version 4
    bytes[8] = static_cast<unsigned char>((bytes[8] & 0x3f) | 0x80);  // variant of RFC 4122

    constexpr char digits[] = "0123456789abcdef";
    out.clear();
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        if (i == 4 || i == 6 || i == 8 || i == 10) {
            out += '-';
        }
        out += digits[bytes[i] >> 4];
        out += digits[bytes[i] & 0x0f];
    }
}
