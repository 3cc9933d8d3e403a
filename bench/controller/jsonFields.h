// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <initializer_list>
#include <simdjson.h>
#include <string>
#include <string_view>
#include <vector>

#include "bench/controller/fieldReaders.h"

/// @file
/// Records in JSON: see bench/controller/fieldReaders.h.

namespace bench {

/// Writes a record as a JSON array: numbers, texts, lists as arrays, null for what is absent.
class JsonText {
public:
    explicit JsonText(const TEVlist& list) : fields_(list) {}

    template <class Number>
    void number(Number& to, int missing = 0) {
        fields_.number(to, missing);
        append(static_cast<int>(to));
    }
    void decimal(double& to, double missing = 0) {
        fields_.decimal(to, missing);
        append(to);
    }
    void text(std::string& to, const char* missing = "") {
        fields_.text(to, missing);
        append(to);
    }
    void quoted(std::string& to) {
        fields_.quoted(to);
        append(to);
    }
    void list(std::vector<std::string>& to) {
        fields_.list(to);
        append(to);
    }
    void listAsReceived(std::vector<std::string>& to) {
        fields_.listAsReceived(to);
        append(to);
    }
    void numbers(std::initializer_list<int*> to);
    void content(AnnouncementRequest& to);
    void audioPart(ScheduleDefinition& to);
    void visualPart(ScheduleDefinition& to);
    void skip(int count = 1) { fields_.skip(count); }

    [[nodiscard]] std::string result() const { return "[" + text_ + "]"; }

private:
    template <class Value>
    void append(const Value& value);

    ContractFields fields_;
    std::string text_;
};

class JsonFields {
public:
    explicit JsonFields(simdjson::ondemand::array array)
        : place_(array.begin().value()), end_(array.end().value()) {}

    template <class Number>
    void number(Number& to, int /*missing*/ = 0) {
        to = static_cast<Number>(next().get_int64().value());
    }
    void decimal(double& to, double /*missing*/ = 0) { to = next().get_double().value(); }
    void text(std::string& to, const char* /*missing*/ = "") {
        to = std::string_view(next().get_string().value());
    }
    void quoted(std::string& to) { text(to); }
    void list(std::vector<std::string>& to);
    void listAsReceived(std::vector<std::string>& to) { list(to); }
    void numbers(std::initializer_list<int*> to);
    void content(AnnouncementRequest& to);
    void audioPart(ScheduleDefinition& to);
    void visualPart(ScheduleDefinition& to);
    void skip(int /*count*/ = 1) {}

private:
    simdjson::ondemand::value next();
    simdjson::ondemand::array nextArray();

    simdjson::ondemand::array_iterator place_;
    simdjson::ondemand::array_iterator end_;
    bool hasBegun_ = false;
};

}  // namespace bench
