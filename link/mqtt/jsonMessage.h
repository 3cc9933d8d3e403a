// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <limits>
#include <nlohmann/json.hpp>
#include <string>
#include <string_view>
#include <utility>

#include "link/mqtt/MalformedMessage.h"

/// @file
/// JSON objects of the link protocol. Included by sources only.

namespace palink {

/// @return JSON; bytes that are no UTF-8 become U+FFFD
inline std::string jsonText(const nlohmann::json& value) {
    return value.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
}

/// Whether the text has a NUL, which the parser takes for the end.
inline bool hasNul(std::string_view payload) {
    return payload.find('\0') != std::string_view::npos;
}

/// Reads the members of a JSON object of at most 1 MiB, nested at most 32 deep.
/// @throws MalformedMessage from each function, for what is missing or of another type or range
class JsonObject {
public:
    /// The largest integer of which every JSON implementation keeps each digit.
    static constexpr std::int64_t largest = (std::int64_t{1} << 53U) - 1;

    explicit JsonObject(nlohmann::json value) : value_(std::move(value)) {
        if (!value_.is_object()) {
            throw MalformedMessage("no JSON object");
        }
    }

    explicit JsonObject(std::string_view payload) : JsonObject(parsed(payload)) {}

    [[nodiscard]] bool has(const char* name) const { return value_.contains(name); }

    [[nodiscard]] const nlohmann::json& member(const char* name) const {
        const auto found = value_.find(name);
        if (found == value_.end()) {
            refuse(name, "is missing");
        }
        return *found;
    }

    [[nodiscard]] std::string text(const char* name) const {
        const nlohmann::json& value = member(name);
        if (!value.is_string()) {
            refuse(name, "is no text");
        }
        return value.get<std::string>();
    }

    [[nodiscard]] bool boolean(const char* name) const {
        const nlohmann::json& value = member(name);
        if (!value.is_boolean()) {
            refuse(name, "is neither true nor false");
        }
        return value.get<bool>();
    }

    [[nodiscard]] std::int64_t integer(const char* name, std::int64_t low,
                                       std::int64_t high = largest) const {
        const nlohmann::json& value = member(name);
        const bool fits = value.is_number_integer() &&
                          (!value.is_number_unsigned() ||
                           value.get<std::uint64_t>() <= static_cast<std::uint64_t>(largest));
        if (!fits || value.get<std::int64_t>() < low || value.get<std::int64_t>() > high) {
            refuse(name,
                   ("is no integer from " + std::to_string(low) + " to " + std::to_string(high))
                       .c_str());
        }
        return value.get<std::int64_t>();
    }

    /// A number above 0.
    [[nodiscard]] double positive(const char* name) const {
        const nlohmann::json& value = member(name);
        if (!value.is_number() || !(value.get<double>() > 0)) {
            refuse(name, "is no number above 0");
        }
        return value.get<double>();
    }

    /// @return whether the member is the first of two texts
    [[nodiscard]] bool isFirst(const char* name, const char* first, const char* second) const {
        const std::string value = text(name);
        if (value != first && value != second) {
            refuse(name, (std::string("is neither ") + first + " nor " + second).c_str());
        }
        return value == first;
    }

    [[noreturn]] static void refuse(const char* name, const char* fault) {
        throw MalformedMessage(std::string(name) + ' ' + fault);
    }

private:
    static constexpr std::size_t mostBytes = std::size_t{1} << 20U;
    static constexpr int deepest = 32;

    static nlohmann::json parsed(std::string_view payload) {
        if (payload.size() > mostBytes || isDeep(payload) || hasNul(payload)) {
            return {};
        }
        return nlohmann::json::parse(payload.begin(), payload.end(), nullptr, false);
    }

    /// Whether it is nested so deep that a function which calls itself could run out of stack.
    static bool isDeep(std::string_view payload) {
        int depth = 0;
        bool isText = false;
        for (std::size_t i = 0; i < payload.size() && depth <= deepest; ++i) {
            const char c = payload[i];
            if (c == '"') {
                isText = !isText;
            } else if (isText) {
                i += c == '\\' ? 1 : 0;
            } else if (c == '[' || c == '{') {
                ++depth;
            } else if (c == ']' || c == '}') {
                --depth;
            }
        }
        return depth > deepest;
    }

    nlohmann::json value_;
};

}  // namespace palink
