// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <algorithm>
#include <iostream>
#include <mutex>
#include <string>
#include <vector>

/// Writes a line; tabs and line ends in a text become blanks.
inline void print(std::vector<std::string> words) {
    static std::mutex lock;
    const std::lock_guard guard(lock);
    const char* between = "";
    for (std::string& word : words) {
        std::replace_if(
            word.begin(), word.end(), [](char c) { return c == '\t' || c == '\n'; }, ' ');
        std::cout << between << word;
        between = "\t";
    }
    std::cout << std::endl;
}
