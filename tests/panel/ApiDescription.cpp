// SPDX-License-Identifier: Apache-2.0
#include "tests/panel/ApiDescription.h"

#include <algorithm>
#include <regex>
#include <yaml-cpp/yaml.h>

using paclient::Json;

namespace {

Json jsonOf(const YAML::Node& node) {
    if (node.IsMap()) {
        Json object = Json::object();
        for (const auto& member : node) {
            object[member.first.as<std::string>()] = jsonOf(member.second);
        }
        return object;
    }
    if (node.IsSequence()) {
        Json array = Json::array();
        for (const auto& entry : node) {
            array.push_back(jsonOf(entry));
        }
        return array;
    }
    const bool isQuoted = node.Tag() == "!";
    const Json plain = Json::parse(isQuoted ? "" : node.Scalar(), nullptr, false);
    return plain.is_discarded() ? Json(node.Scalar()) : plain;
}

bool isOfType(const Json& value, const std::string& type) {
    return type == "object"    ? value.is_object()
           : type == "array"   ? value.is_array()
           : type == "string"  ? value.is_string()
           : type == "boolean" ? value.is_boolean()
           : type == "integer" ? value.is_number_integer()
           : type == "number"  ? value.is_number()
                               : throw std::invalid_argument("no such type: " + type);
}

}  // namespace

ApiDescription::ApiDescription(const std::filesystem::path& file)
    : document_(jsonOf(YAML::LoadFile(file))) {}

const Json& ApiDescription::resolved(const Json& node) const {
    const auto reference = node.find("$ref");
    return reference == node.end()
               ? node
               : resolved(
                     document_.at(Json::json_pointer(reference->get<std::string>().substr(1))));
}

/// Without `$ref` and `allOf`.
Json ApiDescription::flattened(const Json& schema) const {
    Json flat = resolved(schema);
    for (const Json& part : flat.value("allOf", Json::array())) {
        const Json other = flattened(part);
        for (const auto& keyword : other.items()) {
            Json& mine = flat[keyword.key()];
            if (keyword.key() == "properties") {
                mine.update(keyword.value());
            } else if (keyword.key() == "required") {
                for (const Json& name : keyword.value()) {
                    mine.push_back(name);
                }
            } else {
                mine = keyword.value();
            }
        }
    }
    return flat;
}

std::string ApiDescription::fault(const Json& value, const Json& given,
                                  const std::string& place) const {
    const Json schema = flattened(given);
    if (value.is_null()) {
        return schema.contains("type") && !schema.value("nullable", false) ? place + " is null"
                                                                           : "";
    }
    if (schema.contains("type") && !isOfType(value, schema["type"])) {
        return place + " is no " + schema["type"].get<std::string>();
    }
    const Json values = schema.value("enum", Json::array({value}));
    if (std::find(values.begin(), values.end(), value) == values.end()) {
        return place + " is none of the values";
    }
    if (value.is_string() && schema.contains("pattern") &&
        !std::regex_search(value.get<std::string>(),
                           std::regex(schema["pattern"].get<std::string>()))) {
        return place + " is not of the pattern";
    }
    const Json size = value.is_array() ? Json(value.size()) : value;
    for (const char* const least : {"minimum", "minItems"}) {
        if (schema.contains(least) && size < schema[least]) {
            return place + " is too small";
        }
    }
    for (const char* const most : {"maximum", "maxItems"}) {
        if (schema.contains(most) && size > schema[most]) {
            return place + " is too large";
        }
    }
    std::string found;
    if (value.is_array()) {
        for (std::size_t i = 0; i < value.size() && found.empty(); ++i) {
            found = fault(value[i], schema.at("items"), place + '[' + std::to_string(i) + ']');
        }
    }
    return value.is_object() ? objectFault(value, schema, place) : found;
}

std::string ApiDescription::objectFault(const Json& value, const Json& schema,
                                        const std::string& place) const {
    for (const Json& name : schema.value("required", Json::array())) {
        if (!value.contains(name.get<std::string>())) {
            return place + '.' + name.get<std::string>() + " is missing";
        }
    }
    const Json properties = schema.value("properties", Json::object());
    const Json others = schema.value("additionalProperties", Json(properties.empty()));
    std::string found;
    for (const auto& member : value.items()) {
        const std::string name = place + '.' + member.key();
        if (properties.contains(member.key())) {
            found = fault(member.value(), properties[member.key()], name);
        } else if (others.is_object()) {
            found = fault(member.value(), others, name);
        } else if (!others.get<bool>()) {
            found = name + " is not described";
        }
        if (!found.empty()) {
            break;
        }
    }
    return found;
}
