// SPDX-License-Identifier: Apache-2.0
// How texts become numbers, lists and records, in a process whose locale has a decimal comma.
#include <algorithm>
#include <clocale>
#include <cmath>
#include <cstdlib>
#include <limits>
#include <locale>
#include <random>
#include <string_view>

#include "resource/common/stringUtils.h"
#include "sdk/records/BlankRecord.h"
#include "sdk/records/recordColumns.h"
#include "sdk/requests/Payload.h"
#include "tests/controller/fixtures.h"

using namespace pa;

namespace {

struct DecimalComma : std::numpunct<char> {
    char do_decimal_point() const override { return ','; }
    char do_thousands_sep() const override { return '.'; }
    std::string do_grouping() const override { return "\3"; }
};

struct DecodingTest : testing::Test {
    DecodingTest() {
        setenv("LOCPATH", PA_TEST_LOCALE_DIR, 1);
        EXPECT_NE(std::setlocale(LC_ALL, "de_DE.ISO-8859-1"), nullptr);
        EXPECT_EQ(std::strtod("1,5", nullptr), 1.5) << "the locale has no decimal comma";
        std::locale::global(std::locale(std::locale::classic(), new DecimalComma));
    }
    ~DecodingTest() override {
        std::locale::global(std::locale::classic());
        std::setlocale(LC_ALL, "C");
    }
};

TEST_F(DecodingTest, ReadsIntegersAndSaturates) {
    constexpr long long most = std::numeric_limits<int>::max();
    constexpr long long least = std::numeric_limits<int>::min();
    for (const char* const text :
         {"12", "-7", "+7", "12abc", "", "abc", "-", "- 5", "1.234", "1,5", "0x10", " \t\n\v\f\r9",
          "2147483647", "2147483648", "99999999999999999999999", "-2147483648", "-2147483649",
          "-99999999999999999999999"}) {
        const long long value = std::strtoll(text, nullptr, 10);
        EXPECT_EQ(decodeInt(text), std::clamp(value, least, most)) << text;
    }
}

TEST_F(DecodingTest, ReadsAndWritesLevelsWithAPoint) {
    std::string read;
    for (const char* const text : {"-12.5", " 3", "1e2x", "-12,5", "x", "0x10"}) {
        read += std::to_string(static_cast<int>(2 * decodeDouble(text))) + " ";
    }
    EXPECT_EQ(read, "-25 6 200 -24 0 32 ");
    std::string written;
    for (const double level : {-6.50, 0.0, -1234.5, 1.0 / 3, 1e6 + 7, 100000.0, 1e-5}) {
        written += Payload().level(level).text() + " ";
    }
    EXPECT_EQ(written, "-6.5 0 -1234.5 0.333333 1.00001e+06 100000 1e-05 ");
    EXPECT_EQ(Payload().number(1234567).text(), "1234567");
}

TEST_F(DecodingTest, ReadsEveryLevelAsTheSystemDoesWithAPoint) {
    const locale_t point = newlocale(LC_ALL_MASK, "C", nullptr);
    std::mt19937 random(1);
    const auto any = [&random](std::size_t below) { return random() % below; };
    for (int i = 0; i < 20000; ++i) {
        // Mostly digits, around the length that can be read exactly.
        const std::string_view characters = i % 2 == 0 ? "0123456789" : "0123456789.-+ exa";
        std::string text(any(18), '0');
        for (char& c : text) {
            c = characters[any(characters.size())];
        }
        text.insert(any(text.size() + 1), ".");
        EXPECT_EQ(decodeDouble(text.c_str()), strtod_l(text.c_str(), nullptr, point)) << text;
    }
    EXPECT_TRUE(std::signbit(decodeDouble("-0")));
    freelocale(point);
}

TEST_F(DecodingTest, MakesAsciiLettersSmallAndNoOther) {
    EXPECT_EQ(asciiLower('Z'), 'z');
    EXPECT_EQ(asciiLower('\xc4'), '\xc4') << "a capital letter of this locale";
}

TEST_F(DecodingTest, TakesTheFieldsThatAreThere) {
    struct Target {
        int a = -1;
        std::string b = "default";
        double c = -1;
    };
    static constexpr Column<Target> columns[] = {integer<&Target::a>, asReceived<&Target::b>,
                                                 skipped, floating<&Target::c>};
    const auto decode = [](TEVlist& list) {
        Target target;
        decodeRecord<columns>(list, target);
        return Payload().number(target.a).plain(" " + target.b + " ").level(target.c).text();
    };
    const std::pair<const char*, const char*> cases[] = {
        {"", "-1 default -1"},           {"5|text|s|2|extra|more", "5 text 2"},
        {"5|text|s", "5 text -1"},       {"5x|(null)|-|x", "5 default 0"},
        {"|(null) ||", "-1 (null)  -1"}, {"-|(NULL)", "-1 (NULL) -1"},
    };
    for (const auto& [fields, expected] : cases) {
        EXPECT_EQ(decode(*RecordList(fieldsOf(fields)).list()), expected);
    }
    RecordList withoutData({"5", "text"});
    withoutData.list()->listTop->dataPtr = nullptr;
    EXPECT_EQ(decode(*withoutData.list()), "-1 text -1");
}

TEST_F(DecodingTest, StartsWithBlankRecordsAlsoInsideOfEachOther) {
    {
        BlankRecord<PaSink> outer;
        outer->label = "outer";
        BlankRecord<PaSink> inner;
        EXPECT_TRUE(*inner == PaSink());
        inner->paZoneList = {"inner"};
        EXPECT_EQ(outer->label, "outer");
    }
    EXPECT_TRUE(*BlankRecord<PaSink>() == PaSink());
}

TEST_F(DecodingTest, SplitsLists) {
    using Tokens = std::vector<std::string>;
    const std::pair<const char*, Tokens> cases[] = {
        {"", {}},
        {"a,", {"a", ""}},
        {",a", {"", "a"}},
        {"a,,b", {"a", "", "b"}},
        // Leading blanks and tabs are dropped, others stay.
        {"  ", {}},
        {" a, b", {"a", "b"}},
        {"\t a b ", {"a b "}},
        {"\" a\",\\ b,\"\tc\",\n d", {"a", "b", "c", "\n d"}},
        // Quotes keep a separator, and mark a token that is empty on purpose.
        {"\"\"", {""}},
        {"a\"b,c\"d,e", {"ab,cd", "e"}},
        {"\"open,end", {"open,end"}},
        // A backslash takes the next character literally, and no other.
        {"a\\,b,c", {"a,b", "c"}},
        {"\\ab\\\\,c\\", {"ab\\", "c"}},
        {"\"a\\\"b\",\\\"", {"a\"b", "\""}},
    };
    Tokens tokens = {"left over"};
    for (const auto& [text, expected] : cases) {
        EXPECT_EQ(splitStr(text, ',', tokens, false), static_cast<int>(expected.size())) << text;
        EXPECT_EQ(tokens, expected) << text;
    }
    splitStr("a,,\"\",b,", ',', tokens, true);
    EXPECT_EQ(tokens, (Tokens{"a", "<NULL>", "", "b", "<NULL>"})) << "marked, but for quoted ones";
}

}  // namespace
