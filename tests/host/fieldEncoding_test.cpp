#include "framework/fieldEncoding.h"

#include <gtest/gtest.h>
#include <vector>

#include "resource/common/stringUtils.h"

namespace {

std::string prepared(std::string text) {
    prepareElemStringFieldForSvr(text);
    return text;
}
std::string translated(std::string text) {
    translateElemStringFieldFromSvr(text);
    return text;
}

TEST(FieldEncoding, QuotesAndEscapes) {
    const std::vector<std::pair<std::string, std::string>> cases = {
        {"", "\"\""},
        {"plain", "\"plain\""},
        {"a\"b", "\"a\\\"b\""},
        {"a\\b", "\"a\\\\b\""},
        {"\\\"", "\"\\\\\\\"\""},
        {"a,^!~=b\n\t\xc3\xa9\xff", "\"a,^!~=b\n\t\xc3\xa9\xff\""},
    };
    for (const auto& [plain, encoded] : cases) {
        EXPECT_EQ(prepared(plain), encoded);
        EXPECT_EQ(translated(encoded), plain);
        EXPECT_EQ(translated(translated(prepared(encoded))), plain) << "two levels";
    }
}

TEST(FieldEncoding, LeavesWhatIsNoWholeQuotedString) {
    for (const std::string text : {"", "plain", "\"", "\"open", "closed\"", "\"a\"b\"",
                                   "\"a\",\"b\"", "\"a\\\"", "\"a\" ", "a\\\"b"}) {
        EXPECT_EQ(translated(text), text);
    }
    EXPECT_EQ(translated("\"a\\nb\""), "a\\nb") << "only what was put there is undone";
}

TEST(FieldEncoding, AdjacentPartsCanBeSplitAgain) {
    const std::vector<std::string> texts = {"a,b", "\"q\"", "back\\slash", "", "x"};
    std::string list;
    for (const std::string& text : texts) {
        list += (list.empty() ? "" : ",") + prepared(text);
    }
    std::vector<std::string> tokens;
    splitStr(list.c_str(), ',', tokens, false);
    EXPECT_EQ(tokens, texts);
}

}  // namespace
