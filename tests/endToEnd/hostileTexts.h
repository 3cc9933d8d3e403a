#pragma once

#include <string>
#include <vector>

using Texts = std::vector<std::string>;

/// Texts that the encodings must carry. Leading blanks do not survive a list, so none has any.
inline const Texts hostileTexts = {
    "a,b^c!d~e=f",
    "\"",
    "say \"hello\"",
    "back\\slash\\",
    "\\\"",
    "line\nend\r\n\ttab",
    "Gr\xc3\xbc\xc3\x9f"
    "e \xe2\x82\xac \xf0\x9f\x9a\x86",
    "{\"json\" : [1, 2]}",
    "(null)",
    "trailing blanks  ",
    std::string(200'000, '\\') + std::string(200'000, '"'),
};
