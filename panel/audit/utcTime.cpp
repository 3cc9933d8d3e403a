// SPDX-License-Identifier: Apache-2.0
#include "panel/audit/utcTime.h"

#include <array>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <ctime>

#include "framework/clock.h"

namespace papanel {

std::int64_t utcNow() {
    using std::chrono::milliseconds;
    const auto system = std::chrono::duration_cast<milliseconds>(
        std::chrono::system_clock::now().time_since_epoch());
    const std::int64_t hostSeconds = pa::wallClock();
    return std::abs(system.count() / 1000 - hostSeconds) <= 1 ? system.count() : hostSeconds * 1000;
}

std::string utcText(std::int64_t ms) {
    std::array<char, 8> fraction{};
    std::snprintf(fraction.data(), fraction.size(), ".%03dZ", static_cast<int>(ms % 1000));
    std::string text = utcSecondText(ms / 1000);
    return text.replace(text.size() - 1, 1, fraction.data());
}

std::string utcSecondText(std::time_t seconds) {
    std::tm utc{};
    gmtime_r(&seconds, &utc);
    std::array<char, 40> text{};
    std::strftime(text.data(), text.size(), "%Y-%m-%dT%H:%M:%SZ", &utc);
    return text.data();
}

std::optional<std::int64_t> utcMoment(const std::string& text) {
    // Each form is the next one with an end of its own.
    constexpr std::array<const char*, 3> forms = {"%Y-%m-%d", "%Y-%m-%dT%H:%M",
                                                  "%Y-%m-%dT%H:%M:%S"};
    for (const char* const form : forms) {
        std::tm utc{};
        const char* end = strptime(text.c_str(), form, &utc);
        if (end == nullptr) {
            return std::nullopt;
        }
        std::int64_t ms = 0;
        if (form == forms.back() && *end == '.') {
            std::array<char, 4> digits{};
            for (std::size_t i = 0; i < 3; ++i) {
                if (*++end < '0' || *end > '9') {
                    return std::nullopt;
                }
                digits[i] = *end;
            }
            ms = std::atoi(digits.data());
            ++end;
        }
        end += *end == 'Z' ? 1 : 0;
        if (*end == '\0' && utc.tm_year >= 70) {
            return std::int64_t{timegm(&utc)} * 1000 + ms;
        }
    }
    return std::nullopt;
}

}  // namespace papanel
