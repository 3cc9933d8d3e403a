#include <climits>
#include <functional>
#include <gtest/gtest.h>
#include <string>

#include "simserver/Refused.h"
#include "simserver/RequestDecoder.h"

namespace {

using namespace simserver;

PlayRequest decoded(const std::string& payload) {
    PlayRequest request;
    decodePlay(payload, request);
    return request;
}

std::string refusal(const std::function<void()>& decode) {
    try {
        decode();
    } catch (const Refused& refused) {
        return refused.what();
    }
    return "accepted";
}

template <class Content>
const Content& contentOf(const PlayRequest& request, std::size_t part = 0) {
    return std::get<Content>(request.parts.at(part).content);
}

/// One level of the link's encoding.
std::string q(const std::string& text) {
    std::string encoded = "\"";
    for (const char c : text) {
        encoded += c == '"' || c == '\\' ? std::string{'\\', c} : std::string{c};
    }
    return encoded + "\"";
}

/// A request with one part.
std::string play(const std::string& part) {
    return "\"request-1\",0,500," + q(part);
}

TEST(Decoder, ReadsADictionaryRequest) {
    const PlayRequest request =
        decoded(R"("request-1",1,-20,"2,10.0.0.5,\"Z1\"^\"Z2\",12^40!2,-6.5,3^4^0")");
    EXPECT_EQ(request.id, "request-1");
    EXPECT_TRUE(request.relative);
    EXPECT_EQ(request.level, -20);
    ASSERT_EQ(request.parts.size(), 1U);
    const RequestPart& part = request.parts[0];
    EXPECT_EQ(part.type->number, 2);
    EXPECT_EQ(part.origin, "10.0.0.5");
    EXPECT_EQ(part.zones, (std::vector<std::string>{"Z1", "Z2"}));
    EXPECT_EQ(contentOf<DictionaryContent>(request).items, (std::vector<unsigned>{12, 40}));
    EXPECT_EQ(contentOf<DictionaryContent>(request).repeats, 2);
    EXPECT_EQ(part.gain, -6.5);
    EXPECT_EQ(part.preChime, 3);
    EXPECT_EQ(part.postChime, 4);
}

TEST(Decoder, ReadsSpokenTextAndTemplateOfOneRequest) {
    const PlayRequest request =
        decoded(R"("request-1",0,500,)"
                R"("4,701,\"Z\",\"en^Ann^48000^\\\"Hi\\\"\"!\"de^Ute^48000^\\\"Ja\\\"\",,0^0^0",)"
                R"("9,701,\"Z\",\"{ \\\"kvPairs\\\" : { \\\"{SCREEN}\\\" : { \\\"type\\\" : )"
                R"(\\\"literal\\\", \\\"values\\\" : [ { \\\"text\\\" : \\\"Main\\\", )"
                R"(\\\"timeout\\\" : 0} ] } }, \\\"validity\\\" : 30 }\",,0^0^0")");
    ASSERT_EQ(request.parts.size(), 2U);
    const auto& spoken = contentOf<SpokenContent>(request).texts;
    ASSERT_EQ(spoken.size(), 2U);
    EXPECT_EQ(spoken[0].language + spoken[0].voice + spoken[0].text, "enAnnHi");
    EXPECT_EQ(spoken[1].language + spoken[1].voice + spoken[1].text, "deUteJa");
    EXPECT_EQ(spoken[1].rate, 48000);
    EXPECT_FALSE(request.parts[1].gain);
    EXPECT_EQ(contentOf<TemplateContent>(request, 1).validity, 30);
    EXPECT_EQ(
        contentOf<TemplateContent>(request, 1).json,
        R"({"kvPairs":{"{SCREEN}":{"type":"literal","values":[{"text":"Main","timeout":0}]}},)"
        R"("validity":30})");
}

TEST(Decoder, ReadsTheOtherForms) {
    const auto recorded = decoded(play(R"(1,ip,"Z",3^/home/quillon/tmp/a^b!c.wav,,0^0^0)"));
    EXPECT_EQ(contentOf<RecordedContent>(recorded).path, "/home/quillon/tmp/a^b!c.wav");

    const auto empty = decoded(play(R"(9,ip,"Z",,,0^0^0)"));
    EXPECT_EQ(contentOf<TemplateContent>(empty).json, "");
    EXPECT_EQ(decodeTemplate(R"({ "kvPairs" : { }, "validity" : 5 })").json, "");

    // The reduced form: no id, a longer tail, devices as they are.
    const std::string tail = ",-3,,startCondition,stopCondition,0,0,0,0";
    const auto heard = decoded("\"\",0,500," + q(R"(2,ip,"Z",12!0)" + tail));
    EXPECT_EQ(heard.id, "");
    EXPECT_EQ(contentOf<DictionaryContent>(heard).repeats, 0);
    EXPECT_EQ(heard.parts[0].gain, -3.0);
    const auto shown = decoded("\"\",0,500," + q("3,ip,Sign 1^Sign 2," + q("Hi, all") + tail));
    EXPECT_EQ(shown.parts[0].zones, (std::vector<std::string>{"Sign 1", "Sign 2"}));
    EXPECT_EQ(contentOf<TextContent>(shown).text, "Hi, all");
}

TEST(Decoder, CutsNumbersThatDoNotFit) {
    const auto request =
        decoded(R"("r",0,-99999999999,"2,ip,\"Z\",99999999999!99999999999,,0^0^0")");
    EXPECT_EQ(request.level, INT_MIN);
    EXPECT_EQ(contentOf<DictionaryContent>(request).items, std::vector<unsigned>{UINT_MAX});
    EXPECT_EQ(contentOf<DictionaryContent>(request).repeats, INT_MAX);
    const std::string head = R"({"kvPairs":{},"validity":)";
    EXPECT_EQ(decodeTemplate(head + "99999999999}").validity, INT_MAX);
    EXPECT_EQ(decodeTemplate(head + "18446744073709551615}").validity, INT_MAX);
    EXPECT_EQ(decodeTemplate(head + "-99999999999}").validity, INT_MIN);
}

TEST(Decoder, KeepsHostileTextsByteForByte) {
    const std::string hostile[] = {
        R"(a,b^c!d~e=f)",    R"("quoted" and "more)", R"(\ back\\ \")",        " leading\tblank",
        "line\nend\r\n\x01", "\xE2\x82\xAC",          std::string(50'000, '"')};
    for (const std::string& text : hostile) {
        SCOPED_TRACE(text.substr(0, 40));
        EXPECT_EQ(decoded(q(text) + ",0,500," + q(R"(2,ip,"Z",1!1,,0^0^0)")).id, text);
        EXPECT_EQ(decodeCancel(q(text)).id, text);

        const auto zones = decoded(play("2,ip," + q(text) + "^" + q(text) + ",1!1,,0^0^0"));
        EXPECT_EQ(zones.parts[0].zones, (std::vector<std::string>{text, text}));

        const auto spoken = decoded(play("4,ip,\"Z\"," + q("en^Ann^48000^" + q(text)) + ",,0^0^0"));
        EXPECT_EQ(contentOf<SpokenContent>(spoken).texts.at(0).text, text);

        const auto shown = decoded(play("3,ip,Z," + q(text) + ",,0^0^0"));
        EXPECT_EQ(contentOf<TextContent>(shown).text, text);
    }
}

TEST(Decoder, ReadsTemplateValues) {
    struct {
        const char* encoded;  // as the value stands in the template
        const char* json;     // as compact JSON has it
    } const cases[] = {
        {R"("say \"hi\" \\o/")", R"("say \"hi\" \\o/")"},
        {"\"two\nlines\r\t\x1F\"", R"("two\nlines\r\t\u001f")"},
        {"\"\\\\\", \"timeout\" : 1}, { \"text\" : \"a\nb\"",
         R"("\\","timeout":1},{"text":"a\nb")"},
        {R"("\\n \\u0041 \\\\")", R"("\\n \\u0041 \\\\")"},
        {R"("\", \"timeout\" : 9}, { \"text\" : \"")",
         R"("\", \"timeout\" : 9}, { \"text\" : \"")"},
        {"\"  \xE2\x82\xAC 5\"", "\"  \xE2\x82\xAC 5\""},
    };
    for (const auto& [encoded, json] : cases) {
        const std::string text = R"({ "kvPairs" : { "K" : { "type" : "literal", "values" : [)"
                                 R"( { "text" : )" +
                                 std::string(encoded) +
                                 R"(, "timeout" : 5}] } }, "validity" : 0 })";
        EXPECT_EQ(decodeTemplate(text).json,
                  R"({"kvPairs":{"K":{"type":"literal","values":[{"text":)" + std::string(json) +
                      R"(,"timeout":5}]}},"validity":0})");
    }
}

TEST(Decoder, RefusesMalformedRequests) {
    struct {
        const char* payload;
        const char* reason;
    } const cases[] = {
        {R"()", "request id: not a quoted text"},
        {R"("id"x,0,500,"2")", "request id: text behind a closing quote"},
        {R"("id)", "request id: quote that is not closed"},
        {R"("i\d",0,500,"2")", "request id: stray backslash in a quoted text"},
        {R"("id",0,500)", "3 fields; expected id,mode,level and one or two parts"},
        {R"("id",2,500,"")", "unknown priority mode 2"},
        {R"("id",0,high,"")", R"(priority level: "high" is not a number)"},
        {R"("id",0,,"")", R"(priority level: "" is not a number)"},
        {R"("id",0,500,2)", "part 1: not a quoted text"},
        {R"("id",0,500,"2,ip)", "part 1: quote that is not closed"},
        {R"("id",0,500,"")", R"(part 1: announcement type: "" is not a number)"},
    };
    for (const auto& [payload, reason] : cases) {
        EXPECT_EQ(refusal([&, text = payload] { decoded(text); }), reason) << payload;
    }
    const std::string twice = q(R"(2,ip,"Z",1!1,,0^0^0)");
    EXPECT_EQ(refusal([&] { decoded("\"id\",0,500," + twice + "," + twice); }),
              "two parts that are both heard or both shown");
    EXPECT_EQ(refusal([] { decoded(std::string("\"i\0d\"", 5)); }), "the payload holds a NUL byte");
}

TEST(Decoder, RefusesMalformedParts) {
    struct {
        const char* part;
        const char* reason;
    } const cases[] = {
        {R"(42,ip,"Z",,,0^0^0)", "unknown announcement type 42"},
        {R"(0,ip,"Z",,,0^0^0)", "announcement type Live needs a source; not simulated"},
        {R"(7,ip,"Z",,,0^0^0)", "announcement type None holds nothing to play"},
        {R"(2,ip,"Z",1!1,)", "5 fields; expected type,origin,zones,content,gain,chimes"},
        {R"(2,ip,"Z",1!1,0,,now,never,0,0,0,0)",
         "12 fields; expected type,origin,zones,content,gain,chimes"},
        {R"(2,ip,,1!1,,0^0^0)", "zones: no zones"},
        {R"(2,ip,Z,1!1,,0^0^0)", "zones: not a quoted text"},
        {R"(2,ip,"Z",1^2,,0^0^0)", "content: expected items!repeats"},
        {R"(2,ip,"Z",!1,,0^0^0)", "content: no dictionary items"},
        {R"(2,ip,"Z",1^-2!1,,0^0^0)", R"(content: item: "-2" is not a number)"},
        {R"(2,ip,"Z",1!-1,,0^0^0)", "content: negative number of repeats"},
        {R"(2,ip,"Z",1!1,nan,0^0^0)", R"(gain: "nan" is not a number)"},
        {R"(2,ip,"Z",1!1,,)", "chimes: expected before^after^0"},
        {R"(2,ip,"Z",1!1,,0^x^0)", R"(chimes: "x" is not a number)"},
        {R"(1,ip,"Z",/tmp/a.wav,,0^0^0)", "content: no recorded file"},
        {R"(4,ip,"Z",,,0^0^0)", "content: no text to speak"},
        {R"(4,ip,"Z",en^Ann^48000^Hi,,0^0^0)", "content: not a quoted text"},
        {R"(4,ip,"Z","en^Ann^48000",,0^0^0)", "content: expected language^voice^rate^text"},
        {R"(4,ip,"Z","en^Ann^48000^Hi",,0^0^0)", "content: text: not a quoted text"},
    };
    for (const auto& [part, reason] : cases) {
        EXPECT_EQ(refusal([&, text = part] { decoded(play(text)); }),
                  "part 1: " + std::string(reason));
    }
}

TEST(Decoder, RefusesWhatIsNoTemplate) {
    struct {
        const char* text;
        const char* reason;  // its beginning
    } const cases[] = {
        {"hello", "not JSON: parse error at line 1, column 1"},
        {R"({"kvPairs":{"K":"\x"}})", "not JSON: parse error"},
        {"{\"kvPairs\":{},\"validity\":1}\"\xFF\"", "not JSON: parse error"},
        {R"({"kvPairs":{}})", "expected an object with \"kvPairs\""},
        {R"({"kvPairs":{},"valid":1})", "validity: expected an object with \"validity\""},
        {R"({"kvPairs":[],"validity":1})", "\"kvPairs\": not an object"},
        {R"({"kvPairs":{},"validity":1.5})", "validity: not a whole number"},
        {R"({"kvPairs":{"K":{"type":"image","values":[]}},"validity":1})",
         "variable K: \"type\": only \"literal\" is known"},
        {R"({"kvPairs":{"K":{"type":"literal","values":{}}},"validity":1})",
         "variable K: \"values\": not a list"},
        {R"({"kvPairs":{"K":{"type":"literal","values":[{"text":5,"timeout":0}]}},"validity":1})",
         "variable K: \"text\": not a text"},
        {R"({"kvPairs":{"K":{"type":"literal","values":[{"text":"","timeout":""}]}},"validity":1})",
         "variable K: timeout: not a whole number"},
    };
    for (const auto& [text, reason] : cases) {
        const std::string refused = refusal([&, json = text] { decodeTemplate(json); });
        EXPECT_EQ(refused.substr(0, std::string(reason).size()), reason) << refused;
    }
    // Deep nesting is met by the parser alone.
    EXPECT_NE(refusal([] { decodeTemplate(std::string(200'000, '[')); }), "accepted");
}

TEST(Decoder, ReadsAndRefusesCancellations) {
    EXPECT_EQ(decodeCancel(R"("request-1")").id, "request-1");
    EXPECT_EQ(decodeCancel(R"("",9)").type->number, 9);
    const std::string either = R"(expected either a request id or "",type)";
    for (const char* const payload : {R"("")", R"("request-1",2)", R"("",2,2)"}) {
        EXPECT_EQ(refusal([&] { decodeCancel(payload); }), either) << payload;
    }
    EXPECT_EQ(refusal([] { decodeCancel("request-1"); }), "request id: not a quoted text");
    EXPECT_EQ(refusal([] { decodeCancel(R"("",12)"); }), "unknown announcement type 12");
}

}  // namespace
