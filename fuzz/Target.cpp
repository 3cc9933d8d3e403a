// SPDX-License-Identifier: Apache-2.0
#include "fuzz/Target.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <iostream>
#include <sstream>

namespace fuzz {

void require(bool holds, std::string_view property) {
    if (!holds) {
        std::cerr << "does not hold: " << property << std::endl;
        std::abort();
    }
}

void requireEqual(std::string_view found, std::string_view expected, std::string_view what) {
    if (found != expected) {
        std::cerr << what << "\n  found:    " << found << "\n  expected: " << expected << std::endl;
        std::abort();
    }
}

std::vector<std::string> pieces(const std::string& text, char separator) {
    std::vector<std::string> all;
    std::istringstream in(text);
    for (std::string piece; std::getline(in, piece, separator);) {
        all.push_back(piece);
    }
    return all;
}

void runNamed(const std::string& input,
              const std::map<std::string, void (*)(const std::string&)>& functions) {
    const std::string name = input.substr(0, input.find('\n'));
    if (const auto found = functions.find(name); found != functions.end()) {
        found->second(input.substr(std::min(input.size(), name.size() + 1)));
    }
}

pa::RecordFields recordFields(const std::vector<std::optional<std::string>>& fields) {
    pa::RecordFields made;
    for (const auto& field : fields) {
        made.push_back(field);
    }
    return made;
}

}  // namespace fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::run(std::string(data, data + size));
    return 0;
}
