// SPDX-License-Identifier: Apache-2.0
/// Decodes the text of a display template:
///     {"kvPairs" : {KEY : {"type" : "literal", "values" : [{"text" : TEXT, "timeout" : N}, ...]},
///                   ...}, "validity" : SECONDS}

#include <algorithm>
#include <array>
#include <cstdio>
#include <limits>
#include <nlohmann/json.hpp>

#include "simserver/protocol/RequestDecoder.h"
#include "simserver/station/JsonFault.h"

namespace simserver {

namespace {

using Json = nlohmann::json;

/// The values arrive with only their quotes and backslashes escaped. JSON requires that control
/// characters inside strings are escaped too.
std::string withEscapedControls(const std::string& text) {
    std::string json;
    bool inString = false;
    bool escaped = false;
    for (const char c : text) {
        const auto code = static_cast<unsigned char>(c);
        if (inString && code < 0x20) {
            std::array<char, 8> escape{};
            std::snprintf(escape.data(), escape.size(), "\\u%04x", static_cast<unsigned>(code));
            json += escape.data();
        } else {
            json += c;
        }
        if (c == '"' && !escaped) {
            inString = !inString;
        }
        escaped = inString && c == '\\' && !escaped;
    }
    return json;
}

/// A value of the template with its name.
struct NamedValue {
    const Json& json;
    NamedField name;

    [[noreturn]] void refuse(const std::string& reason) const { name.refuse(reason); }

    NamedValue inner(const Json& value, const std::string& innerName) const {
        return {value, name.inner("", innerName)};
    }

    /// A member, of which there are exactly `count`.
    NamedValue member(const char* key, std::size_t count) const {
        if (!json.is_object() || json.size() != count || !json.contains(key)) {
            refuse(std::string("expected an object with \"") + key + "\"");
        }
        return inner(json[key], key);
    }

    /// A whole number, cut to the range of int.
    int wholeNumber() const {
        if (!json.is_number_integer()) {
            refuse("not a whole number");
        }
        constexpr std::int64_t lowest = std::numeric_limits<int>::min();
        constexpr std::int64_t highest = std::numeric_limits<int>::max();
        if (json.is_number_unsigned() && json.get<std::uint64_t>() > std::uint64_t{highest}) {
            return static_cast<int>(highest);
        }
        return static_cast<int>(std::clamp(json.get<std::int64_t>(), lowest, highest));
    }
};

void checkVariable(const NamedValue& variable) {
    const NamedValue type = variable.member("type", 2);
    if (type.json != "literal") {
        type.refuse("only \"literal\" is known");
    }
    const NamedValue values = variable.member("values", 2);
    if (!values.json.is_array()) {
        values.refuse("not a list");
    }
    for (const Json& element : values.json) {
        const NamedValue value = variable.inner(element, "");
        if (const NamedValue text = value.member("text", 2); !text.json.is_string()) {
            text.refuse("not a text");
        }
        value.member("timeout", 2).wholeNumber();
    }
}

Json parse(const NamedField& field) {
    try {
        return Json::parse(withEscapedControls(field.text()));
    } catch (const Json::exception& fault) {
        field.refuse("not JSON: " + jsonFault(fault));
    }
}

}  // namespace

TemplateContent decodeTemplate(const NamedField& field) {
    if (field.isEmpty()) {
        return {};
    }
    const Json tree = parse(field);
    const NamedValue whole{tree, field};
    const NamedValue variables = whole.member("kvPairs", 2);
    if (!variables.json.is_object()) {
        variables.refuse("not an object");
    }
    for (const auto& [key, variable] : variables.json.items()) {
        checkVariable(whole.inner(variable, "variable " + key));
    }
    TemplateContent content;
    content.validity = whole.member("validity", 2).wholeNumber();
    if (!variables.json.empty()) {
        content.json = tree.dump();
    }
    return content;
}

}  // namespace simserver
