// SPDX-License-Identifier: Apache-2.0
#include "panel/audit/auditTexts.h"

#include <algorithm>
#include <cctype>

#include "util/utf8.h"

namespace papanel {

namespace {

constexpr std::size_t mostTargetBytes = 200;

/// A copy without passwords; deep parts are left out.
Json withoutSecrets(const Json& json, int levels) {
    if (!json.is_structured()) {
        return json;
    }
    if (levels == 0) {
        return "...";
    }
    Json copy = json.is_array() ? Json::array() : Json::object();
    for (const auto& item : json.items()) {
        if (copy.size() == mostRequestBytes / 2) {
            break;  // the text is cut before
        }
        Json value = withoutSecrets(item.value(), levels - 1);
        if (json.is_array()) {
            copy.push_back(std::move(value));
            continue;
        }
        std::string name = item.key();
        std::transform(name.begin(), name.end(), name.begin(),
                       [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
        if (name.find("password") != std::string::npos) {
            value = "***";
        }
        copy[item.key()] = std::move(value);
    }
    return copy;
}

/// What a member names.
struct Naming {
    const char* member;
    const char* title;  // before a number
};

/// The first that is there names the most.
constexpr Naming namings[] = {{"zones", ""}, {"descrption", ""}, {"paZones", ""},
                              {"path", ""},  {"text", ""},       {"sourceId", "source "}};

/// Parameters of requests whose path names nothing.
constexpr const char* namingParameters[] = {"name", "type"};

/// Adds to a list for people. What is too long for the trail is not made longer.
void add(std::string& list, const std::string& text) {
    if (!text.empty() && list.size() <= mostTargetBytes) {
        list += (list.empty() ? "" : ", ") + text;
    }
}

/// A text, a number, or the list of such.
std::string namedBy(const Json& value) {
    std::string list;
    if (value.is_array()) {
        for (const Json& item : value) {
            add(list, namedBy(item));
        }
        return list;
    }
    if (value.is_number()) {
        return value.dump();
    }
    return value.is_string() ? value.get<std::string>() : "";
}

std::string namedInBody(const Json& body) {
    std::string list;
    if (body.is_array()) {
        for (const Json& item : body) {
            add(list, namedInBody(item));
        }
    } else if (body.is_object()) {
        for (const auto& [member, title] : namings) {
            const std::string name = body.contains(member) ? namedBy(body[member]) : "";
            if (!name.empty()) {
                return title + name;
            }
        }
    }
    return list;
}

}  // namespace

std::string storable(const std::string& text, std::size_t mostBytes) {
    std::string result;
    bool isCut = false;
    pautil::forEachCharacter(text, [&](const pautil::Character& c, std::string_view bytes) {
        const std::string_view part = c.valid && c.code != 0 ? bytes : "\xEF\xBF\xBD";
        isCut = isCut || result.size() + part.size() > mostBytes;
        result += isCut ? "" : part;
    });
    return isCut ? result + "\xE2\x80\xA6" : result;
}

std::string auditedRequest(const Json& body) {
    if (body.is_null()) {
        return "";
    }
    constexpr int mostLevels = 16;
    std::string line = paclient::jsonLine(withoutSecrets(body, mostLevels));
    line.pop_back();
    return storable(line, mostRequestBytes);
}

std::string auditedTarget(const ApiRequest& request) {
    std::string target;
    for (const std::string& part : request.parts) {
        add(target, part);
    }
    for (const char* const name : namingParameters) {
        add(target, request.parts.empty() ? request.queryOr(name) : "");
    }
    return storable(target.empty() ? namedInBody(request.body) : target, mostTargetBytes);
}

}  // namespace papanel
