// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <charconv>
#include <cstring>
#include <initializer_list>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

#include "include/common/tevlist.h"
#include "sdk/AnnouncementRequest.h"
#include "sdk/ScheduleDefinition.h"

/// @file
/// How the references read the fields of a record. A kind of record is described once, as a walk
/// over its fields (bench/controller/kinds.h); each of these classes carries out the walk:
/// `BareFields` copies each text once, quotes included, and of nested parts reads lists only;
/// `ContractFields` does all that the contract of the controller demands; `JsonText` writes what
/// that has read as JSON, and `JsonFields` reads the JSON (bench/controller/jsonFields.h).

namespace bench {

inline int intOf(const char* text) {
    const bool negative = *text == '-';
    int value = 0;
    for (text += negative ? 1 : 0; *text >= '0' && *text <= '9'; ++text) {
        value = value * 10 + (*text - '0');
    }
    return negative ? -value : value;
}

inline double doubleOf(const char* text) {
    double value = 0;
    std::from_chars(text, text + std::strlen(text), value);
    return value;
}

/// The tokens of a list, without their quotes.
void splitQuoted(std::string_view text, char separator, std::vector<std::string>& tokens);

/// Undoes the encoding of a quoted text.
void unquote(std::string_view text, std::string& plain);

class BareFields {
public:
    explicit BareFields(const TEVlist& list) : node_(list.listTop) {}

    template <class Number>
    void number(Number& to, int missing = 0) {
        const char* const text = next();
        to = static_cast<Number>(text == nullptr ? missing : intOf(text));
    }
    void decimal(double& to, double missing = 0) {
        const char* const text = next();
        to = text == nullptr ? missing : doubleOf(text);
    }
    void text(std::string& to, const char* missing = "") {
        const char* const text = next();
        to = text == nullptr ? missing : text;
    }
    void quoted(std::string& to) { text(to); }
    void list(std::vector<std::string>& to) {
        const char* const text = next();
        unquote(text == nullptr ? "" : text, unquoted_);
        splitQuoted(unquoted_, '^', to);
    }
    void listAsReceived(std::vector<std::string>& to) {
        const char* const text = next();
        splitQuoted(text == nullptr ? "" : text, '^', to);
    }
    void numbers(std::initializer_list<int*> /*to*/) { text(unquoted_); }
    void content(AnnouncementRequest& to) { text(to.messageContent); }
    void audioPart(ScheduleDefinition& /*to*/) { text(unquoted_); }
    void visualPart(ScheduleDefinition& /*to*/) { text(unquoted_); }
    void skip(int count = 1) {
        for (; count > 0 && node_ != nullptr; --count) {
            node_ = node_->nextNode;
        }
    }

protected:
    /// The text of a field; null when it counts as absent.
    const char* next() {
        if (node_ == nullptr) {
            return nullptr;
        }
        const char* const text =
            node_->dataPtr == nullptr ? nullptr : *static_cast<char* const*>(node_->dataPtr);
        node_ = node_->nextNode;
        const bool isAbsent =
            text == nullptr || *text == '\0' || (*text == '(' && std::strcmp(text, "(null)") == 0);
        return isAbsent ? nullptr : text;
    }

    std::string unquoted_;

private:
    const TEVnode* node_;
};

class ContractFields : public BareFields {
public:
    using BareFields::BareFields;

    void quoted(std::string& to) {
        const char* const text = next();
        unquote(text == nullptr ? "" : text, to);
    }
    void numbers(std::initializer_list<int*> to);
    void content(AnnouncementRequest& to);
    void audioPart(ScheduleDefinition& to);
    void visualPart(ScheduleDefinition& to);

private:
    /// The tokens of a part of a schedule; none when there is no such part.
    const std::vector<std::string>& partTokens(ScheduleDefinition& to, AnnouncementType& type);
};

}  // namespace bench
