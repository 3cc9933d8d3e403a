// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <set>
#include <string>
#include <type_traits>

#include "client/readJson.h"
#include "client/recordText.h"
#include "panel/http/Route.h"

namespace papanel {

/// The members of a request's body, each read by name. What is wrong is a std::invalid_argument
/// that names the member.
class Body {
public:
    /// @param json an object
    explicit Body(const Json& json) : json_(json) {
        if (!json.is_object()) {
            paclient::failReading("the body is not an object");
        }
    }

    /// A member that may be missing, or null.
    template <class Value>
    std::optional<Value> find(const char* name) {
        known_.insert(name);
        const auto member = json_.find(name);
        if (member == json_.end() || member->is_null()) {
            return std::nullopt;
        }
        Value value{};
        paclient::readMember(name, *member, value);
        return value;
    }

    /// The same with a default.
    template <class Value>
    Value findOr(const char* name, Value other) {
        return find<Value>(name).value_or(std::move(other));
    }

    /// A number within limits that may be missing, or null.
    template <class Number>
    std::optional<Number> findWithin(const char* name, Number least, Number greatest) {
        const auto value = find<Number>(name);
        if (value && !(*value >= least && *value <= greatest)) {
            paclient::failReading(std::string("the member '") + name + "' is not from " +
                                  paclient::valueText(least) + " to " +
                                  paclient::valueText(greatest));
        }
        return value;
    }

    /// A member that must be there.
    template <class Value>
    Value get(const char* name) {
        return required(name, find<Value>(name));
    }

    /// A number within limits that must be there.
    template <class Number>
    Number getWithin(const char* name, Number least, Number greatest) {
        return required(name, findWithin(name, least, greatest));
    }

    /// Refuses what has not been read.
    void requireNoOther() const {
        for (const auto& member : json_.items()) {
            if (known_.count(member.key()) == 0) {
                paclient::failReading("the member '" + member.key() + "' is not known");
            }
        }
    }

private:
    template <class Value>
    static Value required(const char* name, std::optional<Value> value) {
        if (!value) {
            paclient::failReading(std::string("the member '") + name + "' is missing");
        }
        return *std::move(value);
    }

    const Json& json_;
    std::set<std::string> known_;
};

/// What a function reads of a body. A member that it does not read is refused.
template <class Read>
auto readMembers(const Json& json, Read read) {
    Body body(json);
    auto result = read(body);
    body.requireNoOther();
    return result;
}

}  // namespace papanel
