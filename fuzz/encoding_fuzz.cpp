// SPDX-License-Identifier: Apache-2.0
// The encoding of texts: what is prepared is translated back, by the server's own decoder too, and
// any other text passes unchanged.
#include "framework/fieldEncoding.h"
#include "fuzz/Target.h"
#include "fuzz/naiveTexts.h"
#include "resource/common/stringUtils.h"
#include "simserver/protocol/FieldReader.h"
#include "simserver/protocol/FieldText.h"
#include "simserver/protocol/Refused.h"

namespace {

std::string prepared(std::string text) {
    prepareElemStringFieldForSvr(text);
    return text;
}

std::string translated(std::string text) {
    translateElemStringFieldFromSvr(text);
    return text;
}

std::string withoutLeadingBlanks(const std::string& text) {
    const std::size_t begin = text.find_first_not_of(" \t");
    return begin == std::string::npos ? "" : text.substr(begin);
}

}  // namespace

void fuzz::run(const std::string& input) {
    const std::string text = input.substr(0, input.find('\0'));
    const std::string onLink = prepared(text);
    requireEqual(onLink, simserver::quotedText(text), "prepared, and quoted by the server");
    requireEqual(translated(onLink), text, "prepared and translated");
    requireEqual(translated(text), naive::translated(text), "translated as it is");
    std::string decoded;
    if (returns<simserver::Refused>([&] { decoded = simserver::NamedField(text).decodedText(); })) {
        requireEqual(prepared(decoded), text, "what the server decodes");
        requireEqual(translated(text), decoded, "what the server decodes, translated");
    }
    std::vector<std::string> found;
    splitStr((onLink + "^" + onLink).c_str(), '^', found, false);
    require(found.size() == 2, "two tokens of a list of two prepared texts");
    requireEqual(found[1], withoutLeadingBlanks(text), "a token of a list of prepared texts");
    requireEqual(found[0], found[1], "the other token");
}
