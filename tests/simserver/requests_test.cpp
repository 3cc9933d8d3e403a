// SPDX-License-Identifier: Apache-2.0
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
    expectTable(understood);
    expectResults([](std::string text) { return understood(text.replace(2, 1, 1, '\0')); },
                  R"~("i-d",0,500,"2,ip,\"Z\",12!0,,0^0^0" | the payload holds a NUL byte)~");
}

TEST(Decoder, ReadsParts) {
    const auto decodedPart = [](const std::string& part) {
        return understood(R"("",0,1,)" + simserver::quotedText(part)).substr(13);
    };
    expectTable(decodedPart);
}

TEST(Decoder, ReadsTemplates) {
    expectTable([](const std::string& text) { return decodeTemplate(NamedField(text)).json; });
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
    expectTable([this](const std::string& part) { return lengthOf(part); });
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
