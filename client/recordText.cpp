// SPDX-License-Identifier: Apache-2.0
#include "client/recordText.h"

#include <iomanip>
#include <locale>
#include <sstream>

namespace paclient {

std::string valueText(const std::vector<std::string>& value) {
    std::string text;
    for (const std::string& entry : value) {
        text += (text.empty() ? "" : ", ") + entry;
    }
    return text;
}

std::string valueText(const std::vector<unsigned>& value) {
    std::vector<std::string> texts;
    texts.reserve(value.size());
    for (const unsigned number : value) {
        texts.push_back(std::to_string(number));
    }
    return valueText(texts);
}

std::string valueText(const std::vector<TTSVocalizer>& value) {
    std::vector<std::string> texts;
    texts.reserve(value.size());
    for (const TTSVocalizer& spoken : value) {
        texts.push_back("'" + spoken.text + "' (" + spoken.language + ", " + spoken.voice + ")");
    }
    return valueText(texts);
}

std::string valueText(const std::map<std::string, std::string>& value) {
    std::vector<std::string> texts;
    texts.reserve(value.size());
    for (const auto& [key, text] : value) {
        texts.emplace_back(key).append("=").append(text);
    }
    return valueText(texts);
}

std::string valueText(bool value) {
    return value ? "yes" : "no";
}

std::string valueText(double value) {
    std::ostringstream text;
    text.imbue(std::locale::classic());
    text << value;
    return text.str();
}

std::string valueText(const Gain& value) {
    return valueText(value.getLevel());
}

std::string fixedText(double value, int digits, int width) {
    std::ostringstream text;
    text.imbue(std::locale::classic());
    text << std::fixed << std::setprecision(digits) << std::setw(width) << value;
    return text.str();
}

std::string holderText(const SourceLock& lock) {
    return lock.holder + (lock.lockedUUID.empty() ? "" : " (" + lock.lockedUUID + ")");
}

}  // namespace paclient
