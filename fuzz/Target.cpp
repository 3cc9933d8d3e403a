#include "fuzz/Target.h"

#include <cstdint>
#include <cstdlib>
#include <iostream>

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
    std::size_t begin = 0;
    for (std::size_t end = 0; (end = text.find(separator, begin)) != std::string::npos;) {
        all.push_back(text.substr(begin, end - begin));
        begin = end + 1;
    }
    all.push_back(text.substr(begin));
    return all;
}

Line lineOf(const std::string& text, std::size_t words) {
    Line line;
    line.rest = text;
    while (line.words.size() < words) {
        const std::size_t end = line.rest.find(' ');
        line.words.push_back(line.rest.substr(0, end));
        line.rest = end == std::string::npos ? "" : line.rest.substr(end + 1);
    }
    return line;
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
