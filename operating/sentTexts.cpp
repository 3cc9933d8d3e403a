// SPDX-License-Identifier: Apache-2.0
#include "operating/sentTexts.h"

#include "util/utf8.h"

namespace paoperating {

using pautil::hasControlCharacter;
using pautil::isUtf8;

void requireUtf8(const std::string& what, const std::string& text) {
    require(isUtf8(text), what + " '" + text + "' is not UTF-8");
}

void requireListable(const std::string& kind, const std::string& text) {
    const std::string what = kind + " '" + text + "'";
    require(text.find_first_of(",^!\"") == std::string::npos && !hasControlCharacter(text),
            what + " has a comma, one of ^ ! \" or a control character");
    require(text.empty() || (text[0] != ' ' && text[0] != '\t'), what + " begins with a blank");
}

std::string serverPath(const std::string& path) {
    require(!path.empty() && !hasControlCharacter(path) && isUtf8(path),
            "'" + path + "' cannot be the name of a recording");
    return path.find('/') == std::string::npos ? serverFolder + path : path;
}

std::string playablePath(const std::string& path) {
    std::string whole = serverPath(path);
    requireListable("the path", whole);
    return whole;
}

}  // namespace paoperating
