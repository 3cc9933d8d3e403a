// SPDX-License-Identifier: Apache-2.0
#include "client/sdkText.h"

#include <cstddef>
#include <cstdlib>

#include "client/names.h"

namespace paclient {

namespace {

std::string sinkType(int type) {
    return nameOf(static_cast<PaSink::Type>(type));
}

std::string sourceType(int type) {
    return nameOf(static_cast<PaSource::Type>(type));
}

/// A text that ends in ">type<".
struct TypeRow {
    const char* beginning;
    const char* before;
    std::string (*typeName)(int type);
    const char* after;
};

constexpr TypeRow typeRows[] = {
    {"setGain: Unsupported Sink Type >", "a sink of type ", sinkType, " has no gain"},
    {"setGain: Unsupported Source Type >", "a source of type ", sourceType, " has no gain"},
    {"reset: Unsupported Sink Type >", "a sink of type ", sinkType,
     " cannot be reset: only interface units and mixers can"},
};

struct TextRow {
    const char* text;
    const char* sentence;
};

constexpr TextRow textRows[] = {
    {"PaSource::setGain(): Invalid Gain Level. Valid Range [-96, +42]",
     "the gain of a source is from -96 to 42 dB"},
    {"Invalid zoneId", "the name of a zone is empty"},
    {"Empty zoneIdList", "no zones are given"},
    {"invalid file path for recorded stream", "the path of the recording is empty"},
    {"invalid language/voice vocalizer combination",
     "the server has no voice of this name in this language"},
    {"operation timed out", "the server has not answered in time"},
};

}  // namespace

std::string sentenceFor(const std::string& text) {
    for (const TypeRow& row : typeRows) {
        const std::string beginning = row.beginning;
        if (text.compare(0, beginning.size(), beginning) == 0) {
            const int type = std::atoi(text.c_str() + beginning.size());
            return row.before + row.typeName(type) + row.after;
        }
    }
    for (const TextRow& row : textRows) {
        if (text == row.text) {
            return row.sentence;
        }
    }
    return text;
}

}  // namespace paclient
