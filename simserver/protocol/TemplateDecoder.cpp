/// Reads the text of a display template:
///     {"kvPairs" : {KEY : {"type" : "literal", "values" : [{"text" : TEXT, "timeout" : N}, ...]},
///                   ...}, "validity" : SECONDS}

#include <algorithm>
#include <array>
#include <cstdio>
#include <limits>
#include <nlohmann/json.hpp>

#include "simserver/protocol/Refused.h"
#include "simserver/protocol/RequestDecoder.h"
#include "simserver/station/JsonFault.h"

namespace simserver {

namespace {

using Json = nlohmann::json;

/// The values come with only their quotes and backslashes escaped. JSON wants the control
/// characters inside strings escaped too.
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

Json parse(const std::string& text) {
    try {
        return Json::parse(withEscapedControls(text));
    } catch (const Json::exception& fault) {
        throw Refused("not JSON: " + jsonFault(fault));
    }
}

/// The member of an object that has exactly `members` of them.
const Json& memberOf(const Json& object, const char* name, std::size_t members) {
    if (!object.is_object() || object.size() != members || !object.contains(name)) {
        throw Refused(std::string("expected an object with \"") + name + "\"");
    }
    return object[name];
}

/// A whole number, cut to the range of int.
int wholeNumberOf(const Json& value) {
    if (!value.is_number_integer()) {
        throw Refused("not a whole number");
    }
    constexpr std::int64_t lowest = std::numeric_limits<int>::min();
    constexpr std::int64_t highest = std::numeric_limits<int>::max();
    if (value.is_number_unsigned() && value.get<std::uint64_t>() > std::uint64_t{highest}) {
        return static_cast<int>(highest);
    }
    return static_cast<int>(std::clamp(value.get<std::int64_t>(), lowest, highest));
}

void checkValue(const Json& value) {
    if (!memberOf(value, "text", 2).is_string()) {
        throw Refused("\"text\": not a text");
    }
    within("timeout", [&] { wholeNumberOf(memberOf(value, "timeout", 2)); });
}

void checkVariable(const Json& variable) {
    if (memberOf(variable, "type", 2) != "literal") {
        throw Refused("\"type\": only \"literal\" is known");
    }
    const Json& values = memberOf(variable, "values", 2);
    if (!values.is_array()) {
        throw Refused("\"values\": not a list");
    }
    for (const Json& value : values) {
        checkValue(value);
    }
}

}  // namespace

TemplateContent decodeTemplate(const std::string& text) {
    if (text.empty()) {
        return {};
    }
    const Json tree = parse(text);
    const Json& variables = memberOf(tree, "kvPairs", 2);
    if (!variables.is_object()) {
        throw Refused("\"kvPairs\": not an object");
    }
    for (const auto& [key, variable] : variables.items()) {
        const Json& checked = variable;
        within("variable " + key, [&] { checkVariable(checked); });
    }
    TemplateContent content;
    content.validity =
        within("validity", [&] { return wholeNumberOf(memberOf(tree, "validity", 2)); });
    if (!variables.empty()) {
        content.json = tree.dump();
    }
    return content;
}

}  // namespace simserver
