#include <memory>
#include <sys/stat.h>

#include "simserver/playback/PlayableContent.h"
#include "simserver/protocol/FieldText.h"
#include "simserver/protocol/Records.h"
#include "simserver/protocol/RequestDecoder.h"
#include "tests/simserver/Replay.h"
#include "tests/support/TestFolder.h"

namespace {

using namespace simserver;
using namespace std::string_literals;
namespace fs = std::filesystem;

/// A decoded request: mode, id and level, then each part as its record repeats it.
std::string understood(const std::string& payload) {
    RequestToPlay request;
    decodePlay(payload, request);
    std::string text = request.relative ? "relative" : "absolute";
    text += " " + request.id + " " + std::to_string(request.level);
    for (const RequestPart& requested : request.parts) {
        PlayPart part;
        part.request = requested;
        text += "; " + ::decoded(*announcementRecord(part, 0).at(9));
    }
    return text;
}

TEST(Decoder, ReadsRequests) {
    expectResults(understood, R"~(
# Each level of nesting escapes quotes and backslashes again.
"a \"1\", \\b",1,-20,"2,10.0.0.5,\"Z1\"^\"Z2\",12^40!2,-6.5,3^4^0"
    | relative a "1", \b -20; 2,"10.0.0.5","\"Z1\"^\"Z2\"","12^40!2",-6.5,3^4^0
"a",0,500,"4,1,\"Z\",\"en^Ann^48000^\\\"Hi\\\"\"!\"de^Ute^22050^\\\"Ja\\\"\",,0^0^0","3,2,D,\"x\",,0^0^0"
    | absolute a 500; 4,"1","\"Z\"","Hi!Ja",,0^0^0; 3,"2","\"D\"","x",,0^0^0
# The reduced form has no id and a longer tail.
"",0,500,"2,ip,\"Z\",12!0,-3,,startCondition,stopCondition,0,0,0,0"
    | absolute  500; 2,"ip","\"Z\"","12!0",-3,0^0^0
# What does not fit is cut.
"r",0,-99999999999,"2,ip,\"Z\",99999999999!99999999999,,0^0^0"
    | absolute r -2147483648; 2,"ip","\"Z\"","4294967295!2147483647",,0^0^0

req-01            | request id: not a quoted text
"id"x,0,500,"2"   | request id: text after a closing quote
"id               | request id: quote that is not closed
"i\d",0,500,"2"   | request id: stray backslash in a quoted text
"id",0,500        | 3 fields; expected id,mode,level and one or two parts
"id",2,500,""     | unknown priority mode 2
"id",0,1x,""      | priority level: "1x" is not a number
"",0,1,"2,i,\"Z\",1!1,,0^0^0","2,i,\"Z\",1!1,,0^0^0" | two audio parts or two visual parts; expected one of each
)~");
    expectResults([](std::string text) { return understood(text.replace(2, 1, 1, '\0')); },
                  R"~("i-d",0,500,"2,ip,\"Z\",12!0,,0^0^0" | the payload holds a NUL byte)~");
}

TEST(Decoder, ReadsParts) {
    const auto decodedPart = [](const std::string& part) {
        return understood(R"("",0,1,)" + simserver::quotedText(part)).substr(13);
    };
    expectResults(decodedPart, R"~(
1,ip,"Z",3^/home/a^b!c.wav,,0^0^0                 | 1,"ip","\"Z\"","/home/a^b!c.wav",,0^0^0
2,ip,"a,b^c!d"^"\"\\",7!1,,0^0^0                  | 2,"ip","\"a,b^c!d\"^\"\\\"\\\\\"","7!1",,0^0^0
3,ip,Sign 1^Sign 2,"\"a^b\", c",,0^0^0            | 3,"ip","\"Sign 1\"^\"Sign 2\"","\"a^b\", c",,0^0^0
4,ip,"Z","e^A^8000^\"a^b!c, \\\"d\\\"\"",,0^0^0   | 4,"ip","\"Z\"","a^b!c, \"d\"",,0^0^0
9,ip,"Z","{\"kvPairs\":{},\"validity\":5}",,0^0^0 | 9,"ip","\"Z\"","",,0^0^0

42,ip,"Z",,,0^0^0          | part 1: unknown announcement type 42
2,ip,"Z",1!1,,x,startCondition,stopCondition,0,0,0,0 | part 1: 12 fields; expected...
2,ip,"Z",1!-1,,0^0^0       | part 1: content: negative number of repeats
2,ip,"Z",1!1,nan,0^0^0     | part 1: gain: "nan" is not a number
2,ip,"Z",1!1,,0^1          | part 1: chimes: expected before^after^0
)~");
}

TEST(Decoder, ReadsTemplates) {
    expectResults([](const std::string& text) { return decodeTemplate(NamedField(text)).json; },
                  R"~(
{"kvPairs":{},"valid":1}      | expected an object with "validity"
{"kvPairs":{"K":{"type":"image","values":[]}},"validity":1}   | variable K: type: only "literal"...
{"kvPairs":{"K":{"type":"literal","values":[{"text":5,"timeout":0}]}},"validity":1}
    | variable K: text: not a text
)~");
    // Only quotes and backslashes of the texts arrive escaped; JSON wants control characters to be.
    const std::string json = R"({"kvPairs":{"K":{"type":"literal","values":[{"text":"\"\\",)"
                             R"("timeout":5},{"text":"a%\\n \"","timeout":0}]}},"validity":30})";
    const std::string received = changed(changed(json, "% => \r\x1F"), "{ => {\n ");
    EXPECT_EQ(decodeTemplate(NamedField(received)).json, changed(json, "% => \\r\\u001f"));
}

const std::string onServer = "/home/quillon/tmp/";

struct PlayableContentTest : testing::Test {
    /// Of a part as a request holds it: in ms, or "endless".
    std::string lengthOf(const std::string& part) const {
        RequestToPlay request;
        decodePlay("\"id\",0,500," + simserver::quotedText(part), request);
        content.check(request.parts.at(0));
        const auto length = content.lengthOf(request.parts[0]);
        return length ? std::to_string(length->count()) : "endless";
    }

    const TestFolder folder;
    const std::string file = folder.write("file", "content");
    Station station = smallStation();
    UploadFolder uploads{folder.path() / "server"};
    PlayableContent content{station, uploads};
};

TEST_F(PlayableContentTest, ChecksPartsAndKnowsTheirLengths) {
    EXPECT_TRUE(uploads.store(folder.writeWav("local", 24'000), onServer + "a.wav").stored);
    fs::copy(folder.path() / "local", folder.path() / "server" / "pa-previews" / "p.wav");
    // Another file replaces it.
    EXPECT_TRUE(uploads.store(folder.writeWav("local", 48'000), onServer + "a.wav").stored);
    EXPECT_TRUE(uploads.store(file, onServer + "c.wav").stored);
    expectResults([this](const std::string& part) { return lengthOf(part); }, R"~(
2,ip,"Yard"^"Hall/East",12^40!2,,0^0^0           | 6000
2,ip,"Yard",12!0,,1^1^0                          | endless
2,ip,"Yard",12^40!2147483647,,0^0^0              | 3153600000000
1,ip,"Yard",3^/srv/evacuation.wav,,0^1^0         | 24500
11,ip,"Yard",3^/home/quillon/tmp/a.wav,,0^0^0    | 1000
11,ip,"Yard",3^/home/quillon/tmp/c.wav,,0^0^0    | cannot read c.wav: ...
11,ip,"Yard",3^/home/quillon/tmp/pa-previews/p.wav,,0^0^0    | 500
11,ip,"Yard",3^/home/quillon/tmp/pa-previews/../a.wav,,0^0^0 | "/home/quillon/tmp/pa-previews/../a.wav" is not on this server
# Text lasts 70 ms for each character, but a second at least.
10,ip,"Yard","en^Ann^48000^\"€€€ twenty characters\""!"en^Ann^48000^\"\"",,0^0^0 | 2470
# A chime adds nothing to a visual part.
3,ip,Yard,"Hi",,1^0^0                            | endless
9,ip,"Yard","{\"kvPairs\":{\"K\":{\"type\":\"literal\",\"values\":[]}},\"validity\":30}",,1^0^0 | 30000
9,ip,"Yard","{\"kvPairs\":{\"K\":{\"type\":\"literal\",\"values\":[]}},\"validity\":18446744073709551615}",,1^0^0 | 2147483647000
9,ip,"Yard","{\"kvPairs\":{\"K\":{\"type\":\"literal\",\"values\":[]}},\"validity\":-99999999999}",,1^0^0 | endless

2,ip,"Yard"^"Hall/South",12!1,,0^0^0             | unknown zone "Hall/South"
2,ip,"Yard",12^4294967295!1,,0^0^0               | unknown dictionary item 4294967295
2,ip,"Yard",12!1,,0^12^0                         | unknown chime 12
4,ip,"Yard","en^Ann^48000^\"\""!"en^Bob^48000^\"\"",,0^0^0 | no voice "Bob" for language "en" at 48000 Hz
)~");
    const std::string endless =
        "11,ip,\"Yard\",3^" + onServer + std::string(10'000, 'x') + ",,0^0^0";
    EXPECT_THROW(lengthOf(endless), Refused);
}

TEST_F(PlayableContentTest, StoresFilesOnlyInTheServersFolder) {
    const auto whyNot = [this](const std::string& local, const std::string& name) {
        return uploads.store((folder.path() / local).string(), name).reason;
    };
    for (const std::string& name : {"/etc/passwd"s, "/home/quillon/tmp_a"s, onServer,
                                    onServer + "..", onServer + "../a", onServer + "a\0b"s}) {
        EXPECT_NE(whyNot("file", name).find("is not a file name"), std::string::npos) << name;
    }
    EXPECT_EQ(whyNot("file", onServer + "..a, b^\\c"), "");
    mkfifo((folder.path() / "pipe").c_str(), 0600);
    for (const char* const local : {"missing", "pipe"}) {
        EXPECT_EQ(whyNot(local, onServer + "..a, b^\\c").find("cannot read"), 0U) << local;
    }
    EXPECT_NE(whyNot("file", onServer + std::string(300, 'a')), "");
    EXPECT_EQ(fs::file_size(folder.path() / "server" / "..a, b^\\c"), 7U);
    EXPECT_EQ(folder.files(), 3);  // no incomplete file
}

TEST_F(PlayableContentTest, KeepsNoPreviewsOfEarlierRuns) {
    const auto opened = [this] { return std::make_unique<UploadFolder>(folder.path() / "kept"); };
    auto first = opened();
    EXPECT_TRUE(first->store(file, onServer + "upload").stored);
    const fs::path preview = *first->placeOfPreview(onServer + "pa-previews/a.wav");
    fs::copy(file, preview);
    auto beside = opened();
    first.reset();
    opened();
    EXPECT_TRUE(fs::exists(preview)) << "another server uses it";
    beside.reset();
    EXPECT_TRUE(fs::exists(preview)) << "a client may still fetch it";
    opened();
    EXPECT_FALSE(fs::exists(preview));
}

}  // namespace
