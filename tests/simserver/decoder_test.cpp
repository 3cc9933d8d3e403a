#include "simserver/protocol/FieldText.h"
#include "simserver/protocol/Records.h"
#include "simserver/protocol/Refused.h"
#include "simserver/protocol/RequestDecoder.h"
#include "tests/simserver/tables.h"

namespace {

using namespace simserver;

/// A decoded request: mode, id and level, then each part as its record repeats it.
std::string understood(const std::string& payload) {
    PlayRequest request;
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

/// One decoded part.
std::string decodedPart(const std::string& part) {
    const std::string head = "absolute  1; ";
    return understood(R"("",0,1,)" + simserver::quotedText(part)).substr(head.size());
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
"id",0,high,""    | priority level: "high" is not a number
"",0,1,"2,i,\"Z\",1!1,,0^0^0","2,i,\"Z\",1!1,,0^0^0" | two audio parts or two visual parts; expected one of each
)~");
    const std::string withNul("\"i\0d\"", 5);
    EXPECT_THROW(understood(withNul), Refused);
    EXPECT_THROW(decodeCancel(withNul), Refused);
}

TEST(Decoder, ReadsParts) {
    expectResults(decodedPart, R"~(
1,ip,"Z",3^/home/a^b!c.wav,,0^0^0                 | 1,"ip","\"Z\"","/home/a^b!c.wav",,0^0^0
2,ip,"a,b^c!d"^"\"\\",7!1,,0^0^0                  | 2,"ip","\"a,b^c!d\"^\"\\\"\\\\\"","7!1",,0^0^0
3,ip,Sign 1^Sign 2,"\"a^b\", c",,0^0^0            | 3,"ip","\"Sign 1\"^\"Sign 2\"","\"a^b\", c",,0^0^0
4,ip,"Z","e^A^8000^\"a^b!c, \\\"d\\\"\"",,0^0^0   | 4,"ip","\"Z\"","a^b!c, \"d\"",,0^0^0
9,ip,"Z","{\"kvPairs\":{},\"validity\":5}",,0^0^0 | 9,"ip","\"Z\"","",,0^0^0

42,ip,"Z",,,0^0^0          | part 1: unknown announcement type 42
0,ip,"Z",,,0^0^0           | part 1: announcement type Live comes from a source, not from a request
7,ip,"Z",,,0^0^0           | part 1: announcement type None holds nothing to play
2,ip,"Z",1!1,,,startCondition,stopCondition,0,0,0,1  | part 1: 12 fields; expected...
2,ip,"Z",1!1,,x,startCondition,stopCondition,0,0,0,0 | part 1: 12 fields; expected...
2,ip,,1!1,,0^0^0           | part 1: zones: no zones
2,ip,Z,1!1,,0^0^0          | part 1: zones: not a quoted text
2,ip,"Z",1^2,,0^0^0        | part 1: content: expected items!repeats
2,ip,"Z",!1,,0^0^0         | part 1: content: no dictionary items
2,ip,"Z",1^-2!1,,0^0^0     | part 1: content: item: "-2" is not a number
2,ip,"Z",1!-1,,0^0^0       | part 1: content: negative number of repeats
2,ip,"Z",1!1,nan,0^0^0     | part 1: gain: "nan" is not a number
2,ip,"Z",1!1,,0^1          | part 1: chimes: expected before^after^0
1,ip,"Z",/tmp/a.wav,,0^0^0 | part 1: content: no recorded file
1,ip,"Z",x^/a.wav,,0^0^0   | part 1: content: origin: "x" is not a number
4,ip,"Z",,,0^0^0           | part 1: content: no text to speak
4,ip,"Z","e^A^8000",,0^0^0 | part 1: content: expected language^voice^rate^text
)~");
}

TEST(Decoder, ReadsTemplates) {
    expectResults([](const std::string& text) { return decodeTemplate(NamedField(text)).json; },
                  R"~(
hello                         | not JSON: parse error at line 1, column 1...
{"kvPairs":{}}                | expected an object with "kvPairs"
{"kvPairs":{},"valid":1}      | expected an object with "validity"
{"kvPairs":[],"validity":1}   | kvPairs: not an object
{"kvPairs":{"K":{"type":"image","values":[]}},"validity":1}   | variable K: type: only "literal"...
{"kvPairs":{"K":{"type":"literal","values":{}}},"validity":1} | variable K: values: not a list
{"kvPairs":{"K":{"type":"literal","values":[{"text":5,"timeout":0}]}},"validity":1}
    | variable K: text: not a text
{"kvPairs":{"K":{"type":"literal","values":[{"text":"","timeout":""}]}},"validity":1}
    | variable K: timeout: not a whole number
)~");
    // Only quotes and backslashes of the texts arrive escaped; JSON wants control characters to be.
    EXPECT_EQ(decodeTemplate(
                  NamedField("{ \"kvPairs\" :\n { \"K\" : { \"type\" : \"literal\", \"values\" : "
                             R"([ { "text" : "\"\\", "timeout" : 5}, { "text" : ")"
                             "a\r\n\x1F \xE2\x82\xAC"
                             R"(\\n \"", "timeout" : 0} ] } }, "validity" : 30 })"))
                  .json,
              R"({"kvPairs":{"K":{"type":"literal","values":[{"text":"\"\\","timeout":5},)"
              R"({"text":"a\r\n\u001f €\\n \"","timeout":0}]}},"validity":30})");
}

}  // namespace
