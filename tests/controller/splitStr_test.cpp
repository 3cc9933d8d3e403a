#include <gtest/gtest.h>

#include "resource/common/stringUtils.h"

namespace {

struct Case {
    const char* text;
    char separator;
    bool markEmpty;
    std::vector<std::string> tokens;
};

TEST(SplitStr, SplitsAsTheTable) {
    const std::vector<Case> cases = {
        {"", '^', false, {}},
        {"a", '^', false, {"a"}},
        {"a^", '^', false, {"a", ""}},
        {"^a", '^', false, {"", "a"}},
        {"a^b^c", '^', false, {"a", "b", "c"}},
        // Leading blanks and tabs are dropped, others stay.
        {" a, b", ',', false, {"a", "b"}},
        {"\t a b ", ',', false, {"a b "}},
        {"\" a\",\\ b", ',', false, {"a", "b"}},
        {"\n a", ',', false, {"\n a"}},
        {"  ", ',', false, {}},
        // Quotes keep a separator, and mark a token that is empty on purpose.
        {"\"a,b\",c", ',', false, {"a,b", "c"}},
        {"\"\"", ',', false, {""}},
        {"a\"b,c\"d", ',', false, {"ab,cd"}},
        {"\"open,end", ',', false, {"open,end"}},
        // A backslash takes the next character literally, and no other.
        {"a\\,b,c", ',', false, {"a,b", "c"}},
        {"a\\\\,b", ',', false, {"a\\", "b"}},
        {"\\\"a\\\"", ',', false, {"\"a\""}},
        {"\"a\\\"b\"", ',', false, {"a\"b"}},
        {"\\ab,c", ',', false, {"ab", "c"}},
        {"a,b\\", ',', false, {"a", "b"}},
        // Empty tokens are marked unless they were quoted.
        {"a,,b", ',', true, {"a", "<NULL>", "b"}},
        {"a,,b", ',', false, {"a", "", "b"}},
        {"a,\"\",b", ',', true, {"a", "", "b"}},
        {"a,", ',', true, {"a", "<NULL>"}},
        {"\"\",,", ',', true, {"", "<NULL>", "<NULL>"}},
    };
    for (const Case& c : cases) {
        std::vector<std::string> tokens = {"left over"};
        EXPECT_EQ(splitStr(c.text, c.separator, tokens, c.markEmpty),
                  static_cast<int>(c.tokens.size()))
            << c.text;
        EXPECT_EQ(tokens, c.tokens) << c.text;
    }
}

}  // namespace
