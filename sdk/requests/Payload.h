#pragma once

#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "framework/fieldEncoding.h"
#include "sdk/records/numberText.h"

namespace pa {

/// Builds the text of an operation, piece by piece. A plain value without a lock.
class Payload {
public:
    Payload& number(long long value) {
        appendInt(text_, value);
        return *this;
    }
    /// A level in dB.
    Payload& level(double value) {
        appendDouble(text_, value);
        return *this;
    }
    Payload& flag(bool value) { return number(value ? 1 : 0); }
    Payload& separator(char c) {
        text_ += c;
        return *this;
    }
    /// A text that is sent unchanged.
    Payload& plain(std::string_view text) {
        text_ += text;
        return *this;
    }
    /// A text in the encoding of the link.
    Payload& prepared(std::string text) {
        prepareElemStringFieldForSvr(text);
        text_ += text;
        return *this;
    }
    /// Every element of `elements` by `append(payload, element)`, with a separator between them.
    template <class Elements, class Append>
    Payload& list(const Elements& elements, char between, Append append) {
        bool first = true;
        for (const auto& element : elements) {
            if (!std::exchange(first, false)) {
                separator(between);
            }
            append(*this, element);
        }
        return *this;
    }

    /// Every text in the encoding of the link, with a separator between them.
    Payload& preparedList(const std::vector<std::string>& texts, char between) {
        return list(texts, between, [](Payload& p, const std::string& text) { p.prepared(text); });
    }

    const std::string& text() const { return text_; }

private:
    std::string text_;
};

}  // namespace pa
