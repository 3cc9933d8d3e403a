// SPDX-License-Identifier: Apache-2.0
#include "simserver/protocol/FieldReader.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <limits>
#include <system_error>
#include <utility>

#include "simserver/protocol/FieldText.h"
#include "simserver/protocol/Refused.h"

namespace simserver {

namespace {

[[noreturn]] void refuseNumber(const NamedField& field) {
    field.refuse("\"" + field.text() + "\" is not a number");
}

template <class Number>
Number wholeNumber(const NamedField& field) {
    const std::string& text = field.text();
    Number value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (end != text.data() + text.size() || error == std::errc::invalid_argument) {
        refuseNumber(field);
    }
    if (error == std::errc::result_out_of_range) {
        using Limits = std::numeric_limits<Number>;
        return text.front() == '-' ? Limits::min() : Limits::max();
    }
    return value;
}

/// Where a field ends that begins at `begin`: at the next separator outside quotes, or at the end.
std::size_t endOfField(const std::string& text, std::size_t begin, char separator) {
    bool inQuotes = false;
    for (std::size_t i = begin; i < text.size(); ++i) {
        if (text[i] == '"') {
            inQuotes = !inQuotes;
        } else if (inQuotes && text[i] == '\\') {
            ++i;  // the next character is neither a quote nor an escape
        } else if (!inQuotes && text[i] == separator) {
            return i;
        }
    }
    return text.size();
}

}  // namespace

NamedField NamedField::decoded() const {
    if (text_.empty() || text_.front() != '"') {
        refuse("not a quoted text");
    }
    std::string plain;
    for (std::size_t i = 1; i < text_.size(); ++i) {
        if (text_[i] == '"') {
            if (i + 1 != text_.size()) {
                refuse("text after a closing quote");
            }
            return NamedField(std::move(plain), name_);
        }
        if (text_[i] == '\\') {
            ++i;
            if (i == text_.size() || (text_[i] != '"' && text_[i] != '\\')) {
                refuse("stray backslash in a quoted text");
            }
        }
        plain += text_[i];
    }
    refuse("quote that is not closed");
}

int NamedField::integer() const {
    return wholeNumber<int>(*this);
}

unsigned NamedField::natural() const {
    return wholeNumber<unsigned>(*this);
}

double NamedField::decimal() const {
    double value = 0.0;
    const char* const last = text_.data() + text_.size();
    const auto [end, error] = std::from_chars(text_.data(), last, value);
    if (error != std::errc() || end != last || !std::isfinite(value)) {
        refuseNumber(*this);
    }
    return value;
}

bool NamedField::flag() const {
    if (text_ != "0" && text_ != "1") {
        refuse("\"" + text_ + "\" is neither 0 nor 1");
    }
    return text_ == "1";
}

NamedField NamedField::inner(std::string text, std::string_view name) const {
    std::string names = name_;
    if (!name.empty()) {
        names.append(names.empty() ? "" : ": ").append(name);
    }
    return NamedField(std::move(text), std::move(names));
}

void NamedField::refuse(const std::string& reason) const {
    throw Refused(name_.empty() ? reason : name_ + ": " + reason);
}

FieldReader::FieldReader(NamedField whole, char separator)
    : whole_(std::move(whole)), separator_(separator) {}

std::size_t FieldReader::count() const {
    const std::string& text = whole_.text();
    std::size_t fields = 0;
    for (std::size_t begin = next_; begin <= text.size(); ++fields) {
        begin = endOfField(text, begin, separator_) + 1;
    }
    return fields;
}

void FieldReader::expect(std::size_t expected, const std::string& layout) const {
    if (count() != expected) {
        refuse("expected " + layout);
    }
}

NamedField FieldReader::field(std::string_view name) {
    return takeTo(endOfField(whole_.text(), next_, separator_), name);
}

std::string FieldReader::plainText(std::string_view name) {
    return takeTo(std::min(whole_.text().find(separator_, next_), whole_.text().size()), name)
        .text();
}

NamedField FieldReader::rest(std::string_view name) {
    return takeTo(whole_.text().size(), name);
}

NamedField FieldReader::takeTo(std::size_t end, std::string_view name) {
    if (atEnd()) {
        whole_.inner("", name).refuse("missing");
    }
    const std::size_t begin = std::exchange(next_, end + 1);
    return whole_.inner(whole_.text().substr(begin, end - begin), name);
}

}  // namespace simserver
