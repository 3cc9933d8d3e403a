#pragma once

#include <fstream>
#include <iterator>
#include <regex>
#include <string>
#include <vector>

/// @file
/// Reads the page that describes the protocol.

inline std::string protocolPage() {
    std::ifstream file(PA_LINK_PROTOCOL_PAGE);
    return {std::istreambuf_iterator<char>(file), {}};
}

/// The matches of the first group of a pattern.
inline std::vector<std::string> found(const std::string& text, const std::string& pattern) {
    const std::regex regex(pattern);
    std::vector<std::string> matches;
    for (std::sregex_iterator match(text.begin(), text.end(), regex);
         match != std::sregex_iterator(); ++match) {
        matches.push_back((*match)[1]);
    }
    return matches;
}
