// SPDX-License-Identifier: Apache-2.0
#include "framework/fieldEncoding.h"

#include <gtest/gtest.h>

namespace {

std::string prepared(std::string text) {
    prepareElemStringFieldForSvr(text);
    return text;
}
std::string translated(std::string text) {
    std::string elsewhere = "left over";
    pa::assignDecoded(elsewhere, text);
    translateElemStringFieldFromSvr(text);
    EXPECT_EQ(elsewhere, text);
    return text;
}

TEST(FieldEncoding, QuotesAndEscapesAndLeavesWhatIsNoWholeQuotedString) {
    const std::pair<const char*, const char*> cases[] = {
        {"", R"("")"},
        {R"(a"b)", R"("a\"b")"},
        {R"(a\b)", R"("a\\b")"},
        {R"(\")", R"("\\\"")"},
        {"a,^!~=b\n\t\xc3\xa9\xff", "\"a,^!~=b\n\t\xc3\xa9\xff\""},
    };
    for (const auto& [plain, encoded] : cases) {
        EXPECT_EQ(prepared(plain), encoded);
        EXPECT_EQ(translated(encoded), plain);
        EXPECT_EQ(translated(translated(prepared(encoded))), plain) << "two levels";
    }
    for (const std::string text : {"", "plain", R"(")", R"("open)", R"(closed")", R"("a"b")",
                                   R"("a","b")", R"("a\")", R"("\\\")", R"("a" )", R"(a\"b)"}) {
        EXPECT_EQ(translated(text), text);
    }
    EXPECT_EQ(translated(R"("a\nb")"), R"(a\nb)") << "only what was put there is undone";
}

}  // namespace
