// SPDX-License-Identifier: Apache-2.0
#include "link/mqtt/recordPayload.h"

#include <algorithm>
#include <array>
#include <nlohmann/json.hpp>
#include <optional>
#include <utility>

#include "link/mqtt/jsonMessage.h"

namespace palink {

namespace {

using Json = nlohmann::json;

constexpr std::uint64_t fnvStart = 14695981039346656037U;
constexpr std::uint64_t fnvPrime = 1099511628211U;

std::uint64_t fnv(std::uint64_t hash, std::string_view bytes) {
    for (const char c : bytes) {
        hash = (hash ^ static_cast<unsigned char>(c)) * fnvPrime;
    }
    return hash;
}

constexpr int characters = 256;

constexpr std::array<bool, characters> plainCharacters() {
    std::array<bool, characters> plain{};
    for (char c = ' '; c <= '~'; ++c) {
        plain[static_cast<unsigned char>(c)] = c != '"' && c != '\\';
    }
    return plain;
}

/// Whether JSON has the character as it is.
bool isPlain(char c) {
    static constexpr auto plain = plainCharacters();
    return plain[static_cast<unsigned char>(c)];
}

/// Takes the values of a record as they are read. The first that a record cannot have ends the
/// reading: what is nested is not read.
class RecordReader final : public nlohmann::json_sax<Json> {
public:
    pa::RecordFields fields;

    bool start_array(std::size_t /*elements*/) override {
        return std::exchange(state_, state_ == State::Before ? State::Inside : State::Bad) ==
               State::Before;
    }
    bool end_array() override {
        state_ = State::After;
        return true;
    }
    bool null() override { return add(std::nullopt); }
    bool string(string_t& text) override { return add(text); }
    bool boolean(bool /*value*/) override { return false; }
    bool number_integer(number_integer_t /*value*/) override { return false; }
    bool number_unsigned(number_unsigned_t /*value*/) override { return false; }
    bool number_float(number_float_t /*value*/, const string_t& /*text*/) override { return false; }
    bool binary(binary_t& /*value*/) override { return false; }
    bool start_object(std::size_t /*elements*/) override { return false; }
    bool key(string_t& /*name*/) override { return false; }
    bool end_object() override { return false; }
    bool parse_error(std::size_t /*position*/, const std::string& /*last*/,
                     const nlohmann::detail::exception& /*fault*/) override {
        return false;
    }

private:
    enum class State { Before, Inside, After, Bad };

    bool add(pa::RecordFields::Field field) {
        if (state_ != State::Inside) {
            return false;
        }
        fields.push_back(field);
        return true;
    }

    State state_ = State::Before;
};

/// Reads a text of plain characters, escaped quotes and escaped backslashes, and takes it off.
/// @param rest begins with its first quote
/// @return whether it is one
bool readText(std::string_view& rest, std::string& text) {
    const auto isSpecial = [&rest](std::size_t at) { return rest[at] == '"' || rest[at] == '\\'; };
    std::size_t begin = 1;
    while (true) {
        std::size_t end = begin;
        while (end < rest.size() && isPlain(rest[end])) {
            ++end;
        }
        text.append(rest.data() + begin, end - begin);
        if (end + 1 >= rest.size() || !isSpecial(end)) {
            return false;  // its last character is not that of the array
        }
        if (rest[end] == '"') {
            rest.remove_prefix(end + 1);
            return true;
        }
        if (!isSpecial(end + 1)) {
            return false;
        }
        text += rest[end + 1];
        begin = end + 2;
    }
}

/// Reads what most records are, much faster than any JSON: texts as of `readText` and nulls, with
/// nothing between them but commas.
/// @return nothing for another payload, right or wrong
std::optional<pa::RecordFields> readPlainly(std::string_view payload) {
    constexpr std::string_view null = "null";
    if (payload.size() < 3 || payload.front() != '[' || payload.back() != ']') {
        return std::nullopt;
    }
    pa::RecordFields fields;
    const auto commas = std::count(payload.begin(), payload.end(), ',');
    fields.reserve(static_cast<std::size_t>(commas) + 1, payload.size());
    std::string text;
    for (std::string_view rest = payload.substr(1); !rest.empty();) {
        if (rest.front() == '"') {
            text.clear();
            if (!readText(rest, text)) {
                return std::nullopt;
            }
            fields.push_back(text);
        } else if (rest.substr(0, null.size()) == null) {
            fields.push_back(std::nullopt);
            rest.remove_prefix(null.size());
        } else {
            return std::nullopt;
        }
        const bool isLast = rest.size() == 1;
        if (rest.empty() || rest.front() != (isLast ? ']' : ',')) {
            return std::nullopt;
        }
        rest.remove_prefix(1);
    }
    return fields;
}

}  // namespace

std::string encodeRecord(const pa::RecordFields& fields) {
    std::size_t bytes = 2;
    for (const auto field : fields) {
        bytes += field ? field->size() + 3 : 5;  // quotes, null, comma
    }
    std::string payload;
    payload.reserve(bytes);
    payload += '[';
    for (const auto field : fields) {
        if (payload.size() > 1) {
            payload += ',';
        }
        if (!field) {
            payload += "null";
        } else if (std::all_of(field->begin(), field->end(), isPlain)) {
            payload.append(1, '"').append(*field).append(1, '"');
        } else {
            payload += jsonText(Json(*field));
        }
    }
    payload += ']';
    return payload;
}

pa::RecordFields decodeRecord(std::string_view payload) {
    if (payload.size() > maxRecordBytes) {
        throw MalformedMessage("a record of more than 1 MiB");
    }
    if (auto fields = readPlainly(payload)) {
        return std::move(*fields);
    }
    RecordReader reader;
    if (hasNul(payload) || !Json::sax_parse(payload.begin(), payload.end(), &reader)) {
        throw MalformedMessage("no JSON array of strings and nulls");
    }
    return std::move(reader.fields);
}

std::uint64_t recordChecksum(pa::RecordKind kind, int key, std::string_view payload) {
    const std::string head =
        std::to_string(static_cast<int>(kind)) + '/' + std::to_string(key) + '\n';
    return fnv(fnv(fnvStart, head), payload);
}

}  // namespace palink
