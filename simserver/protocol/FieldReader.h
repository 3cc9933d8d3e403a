// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

/// @file
/// Reads the fields of payloads. Every refusal names the field in which the fault is, and the
/// fields around it: "part 1: content: item: ...".

namespace simserver {

/// A field of a payload with its name.
class NamedField {
public:
    /// @param name of the field and those around it; empty for none
    explicit NamedField(std::string text, std::string name = "")
        : text_(std::move(text)), name_(std::move(name)) {}

    /// As it arrived.
    const std::string& text() const { return text_; }

    bool isEmpty() const { return text_.empty(); }

    /// The field without one level of encoding.
    /// @throws Refused when it is not exactly one quoted text
    NamedField decoded() const;

    /// The text of `decoded()`.
    std::string decodedText() const { return decoded().text(); }

    /// A decimal number, cut to the range of the type.
    /// @throws Refused when it is anything else
    int integer() const;
    unsigned natural() const;

    /// A finite decimal number.
    /// @throws Refused when it is anything else
    double decimal() const;

    /// 0 or 1.
    /// @throws Refused when it is anything else
    bool flag() const;

    /// A field inside this one.
    NamedField inner(std::string text, std::string_view name) const;

    /// @throws Refused with the names of the fields and the reason
    [[noreturn]] void refuse(const std::string& reason) const;

private:
    std::string text_;
    std::string name_;
};

/// Takes the fields of a text one after the other. An empty text is one empty field; separators
/// inside quotes are part of a field; a quote that is not closed reaches to the end of the text.
class FieldReader {
public:
    explicit FieldReader(std::string_view payload, char separator = ',')
        : FieldReader(NamedField(std::string(payload)), separator) {}

    /// Reads the fields inside a field.
    explicit FieldReader(NamedField whole, char separator = ',');

    /// How many fields are left.
    std::size_t count() const;

    bool atEnd() const { return next_ > whole_.text().size(); }

    /// Requires that so many fields are left.
    /// @param layout their names, for the refusal
    /// @throws Refused when there are more or fewer
    void expect(std::size_t count, const std::string& layout) const;

    /// @name The next fields
    /// @throws Refused when there is none, and as the function of NamedField with that name
    /// @{
    NamedField field(std::string_view name = "");
    std::string text(std::string_view name = "") { return field(name).text(); }
    std::string decodedText(std::string_view name = "") { return field(name).decodedText(); }
    int integer(std::string_view name) { return field(name).integer(); }
    double decimal(std::string_view name) { return field(name).decimal(); }
    bool flag(std::string_view name) { return field(name).flag(); }

    /// The next field of a text without encoding: quotes in it mean nothing.
    std::string plainText(std::string_view name);

    /// Everything that is left, with its separators.
    NamedField rest(std::string_view name = "");
    /// @}

    [[noreturn]] void refuse(const std::string& reason) const { whole_.refuse(reason); }

private:
    NamedField takeTo(std::size_t end, std::string_view name);

    NamedField whole_;
    char separator_;
    std::size_t next_ = 0;  // where the next field begins; after the end: there is none
};

}  // namespace simserver
