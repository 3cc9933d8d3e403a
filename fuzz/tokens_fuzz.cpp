// SPDX-License-Identifier: Apache-2.0
// splitStr against a reading by characters. The input: the separator, "e" to mark empty tokens or
// anything else, and the list.
#include "fuzz/Target.h"
#include "fuzz/naiveTexts.h"
#include "resource/common/stringUtils.h"

namespace {

std::string lines(const std::vector<std::string>& tokens) {
    std::string text;
    for (const std::string& token : tokens) {
        text += '[' + token + "]\n";
    }
    return text;
}

}  // namespace

void fuzz::run(const std::string& input) {
    if (input.size() < 2 || input[0] == '"' || input[0] == '\\' || input[0] == '\0') {
        return;
    }
    const char separator = input[0];
    const bool markEmpty = input[1] == 'e';
    const std::string list = input.substr(2, input.find('\0', 2) - 2);
    std::vector<std::string> found{"cleared first"};
    const int count = splitStr(list.c_str(), separator, found, markEmpty);
    requireEqual(lines(found), lines(naive::tokens(list, separator, markEmpty)), "tokens");
    require(count == static_cast<int>(found.size()), "the result is the number of tokens");
}
