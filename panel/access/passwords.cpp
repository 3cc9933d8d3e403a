// SPDX-License-Identifier: Apache-2.0
#include "panel/access/passwords.h"

#include <cerrno>
#include <crypt.h>
#include <cstring>
#include <memory>
#include <openssl/crypto.h>
#include <stdexcept>
#include <system_error>

#include "panel/http/ApiError.h"
#include "util/utf8.h"

namespace papanel {

namespace {

constexpr const char* method = "$y$";
constexpr std::size_t shortestPassword = 8;
constexpr std::size_t longestPassword = 256;

/// A setting with new salt and the method's usual cost.
std::string newSetting() {
    std::string setting(CRYPT_GENSALT_OUTPUT_SIZE, '\0');
    if (crypt_gensalt_rn(method, 0, nullptr, 0, setting.data(), static_cast<int>(setting.size())) ==
        nullptr) {
        throw std::system_error(errno, std::generic_category(), "no salt for a password");
    }
    return setting.c_str();
}

/// Empty when it cannot be made.
std::string hashWith(const std::string& password, const std::string& setting) {
    struct Wiped {
        void operator()(crypt_data* data) const {
            OPENSSL_cleanse(data, sizeof *data);
            delete data;
        }
    };
    const std::unique_ptr<crypt_data, Wiped> data(new crypt_data());
    const char* const made =
        crypt_rn(password.c_str(), setting.c_str(), data.get(), int{sizeof(crypt_data)});
    return made == nullptr ? "" : made;
}

}  // namespace

std::string passwordFault(const std::string& password) {
    if (password.size() < shortestPassword || password.size() > longestPassword) {
        return "a password has 8 to 256 bytes";
    }
    const bool isText = pautil::isUtf8(password) && !pautil::hasControlCharacter(password);
    return isText ? "" : "a password is a text in UTF-8 without control characters";
}

std::string hashPassword(const std::string& password) {
    std::string hash = hashWith(password, newSetting());
    if (hash.empty()) {
        throw std::system_error(errno, std::generic_category(), "no hash of a password");
    }
    return hash;
}

bool isPasswordHash(const std::string& text) {
    const std::size_t salt = text.find('$', std::strlen(method));
    const std::size_t end = salt == std::string::npos ? salt : text.find('$', salt + 1);
    constexpr std::size_t digits = 43;  // of the hash itself
    return text.rfind(method, 0) == 0 && end != std::string::npos &&
           text.size() == end + 1 + digits && crypt_checksalt(text.c_str()) == CRYPT_SALT_OK;
}

bool isPassword(const std::string& password, const std::string& hash) {
    static const std::string settingForNone = newSetting();
    if (!passwordFault(password).empty()) {
        return false;  // for every user
    }
    const std::string made = hashWith(password, hash.empty() ? settingForNone : hash);
    return !hash.empty() && made.size() == hash.size() &&
           CRYPTO_memcmp(made.data(), hash.data(), hash.size()) == 0;
}

HashLimit::Turn::Turn(HashLimit& limit) : limit_(limit) {
    constexpr int mostInside = 2;
    constexpr int mostWaiting = 100;
    std::unique_lock<std::mutex> lock(limit_.lock_);
    if (limit_.waiting_ >= mostWaiting) {
        throw ApiError(503, "overloaded", "too many logins at once, try again",
                       {{"retryAfter", 1}});
    }
    ++limit_.waiting_;
    limit_.free_.wait(lock, [this] { return limit_.inside_ < mostInside; });
    --limit_.waiting_;
    ++limit_.inside_;
}

HashLimit::Turn::~Turn() {
    {
        const std::lock_guard<std::mutex> lock(limit_.lock_);
        --limit_.inside_;
    }
    limit_.free_.notify_one();
}

}  // namespace papanel
