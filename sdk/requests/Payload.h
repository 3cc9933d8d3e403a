// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <utility>

#include "framework/fieldEncoding.h"
#include "sdk/records/numberText.h"

namespace pa {

/// Builds the text of an operation, piece by piece. A plain value without a lock.
///
/// An encoded text that contains others is written in place: the payload counts how many it is
/// inside, and writes each character as it looks after as many encodings.
class Payload {
public:
    Payload() = default;
    /// @param expectedSize of the whole text, in bytes
    explicit Payload(std::size_t expectedSize) { text_.reserve(expectedSize); }

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
        if (depth_ == 0) {
            text_ += text;
        } else {
            appendEncoded(text_, text, depth_);
        }
        return *this;
    }
    /// A text in the encoding of the link.
    Payload& prepared(std::string_view text) {
        return nested([text](Payload& payload) { payload.plain(text); });
    }
    /// What `append(payload)` appends, as one text in the encoding of the link.
    template <class Append>
    Payload& nested(Append append) {
        quote();
        ++depth_;
        append(*this);
        --depth_;
        quote();
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
    template <class Texts>
    Payload& preparedList(const Texts& texts, char between) {
        return list(texts, between, [](Payload& p, std::string_view text) { p.prepared(text); });
    }

    const std::string& text() const { return text_; }

    /// Of one text in the encoding of the link.
    static Payload of(std::string_view text) {
        constexpr std::size_t quotes = 2;
        Payload payload(text.size() + quotes);
        payload.prepared(text);
        return payload;
    }

private:
    void quote() {
        if (depth_ == 0) {
            text_ += '"';
        } else {
            appendEncoded(text_, "\"", depth_);
        }
    }

    std::string text_;
    unsigned depth_ = 0;  // of the encoded texts that are being written
};

}  // namespace pa
