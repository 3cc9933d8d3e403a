// SPDX-License-Identifier: Apache-2.0
#include "link/mqtt/LocalFile.h"

#include <array>
#include <filesystem>
#include <memory>
#include <openssl/evp.h>
#include <stdexcept>
#include <system_error>

namespace palink {

namespace {

struct FreeDigest {
    void operator()(EVP_MD_CTX* context) const { EVP_MD_CTX_free(context); }
};

std::string hexadecimal(const unsigned char* bytes, unsigned count) {
    constexpr const char* digits = "0123456789abcdef";
    std::string text;
    for (unsigned i = 0; i < count; ++i) {
        text += digits[bytes[i] >> 4U];
        text += digits[bytes[i] & 15U];
    }
    return text;
}

}  // namespace

LocalFile::LocalFile(const std::string& path) : path_(path), file_(path, std::ios::binary) {
    std::error_code fault;
    if (!std::filesystem::is_regular_file(path, fault) || !file_) {
        throw std::runtime_error(path_ + " cannot be read");
    }
    const std::unique_ptr<EVP_MD_CTX, FreeDigest> digest(EVP_MD_CTX_new());
    std::array<char, 65536> part{};
    bool isWell = EVP_DigestInit_ex(digest.get(), EVP_sha256(), nullptr) == 1;
    while (isWell && file_) {
        file_.read(part.data(), part.size());
        size_ += file_.gcount();
        isWell = EVP_DigestUpdate(digest.get(), part.data(),
                                  static_cast<std::size_t>(file_.gcount())) == 1;
    }
    std::array<unsigned char, EVP_MAX_MD_SIZE> result{};
    unsigned length = 0;
    isWell = isWell && EVP_DigestFinal_ex(digest.get(), result.data(), &length) == 1;
    if (!isWell || file_.bad()) {
        throw std::runtime_error(path_ + " cannot be read");
    }
    sha256_ = hexadecimal(result.data(), length);
}

std::string LocalFile::read(std::int64_t offset, std::size_t bytes) {
    std::string part(bytes, '\0');
    file_.clear();
    file_.seekg(offset);
    file_.read(part.data(), static_cast<std::streamsize>(bytes));
    if (file_.bad() || file_.gcount() == 0) {
        throw std::runtime_error(path_ + " has changed while it was read");
    }
    part.resize(static_cast<std::size_t>(file_.gcount()));
    return part;
}

}  // namespace palink
