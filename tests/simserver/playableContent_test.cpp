#include "simserver/playback/PlayableContent.h"

#include <memory>
#include <sys/stat.h>

#include "simserver/protocol/FieldText.h"
#include "simserver/protocol/RequestDecoder.h"
#include "tests/simserver/stations.h"
#include "tests/simserver/tables.h"
#include "tests/support/TestFolder.h"

namespace {

using namespace simserver;
using namespace std::string_literals;
namespace fs = std::filesystem;

const std::string onServer = "/home/quillon/tmp/";

/// An audio file of one channel at 16 kHz, a byte for each frame.
std::string sound(std::size_t frames) {
    return ".snd\0\0\0\x18\xFF\xFF\xFF\xFF\0\0\0\x02\0\0\x3E\x80\0\0\0\x01"s +
           std::string(frames, '\0');
}

struct PlayableContentTest : testing::Test {
    /// Of a part as a request holds it: in ms, or "endless".
    std::string lengthOf(const std::string& part) const {
        PlayRequest request;
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
    expectResults([this](const std::string& part) { return lengthOf(part); }, R"~(
2,ip,"Yard"^"Hall/East",12^40!2,,0^0^0           | 6000
2,ip,"Yard",12!2,,1^1^0                          | 3000
2,ip,"Yard",12!0,,1^1^0                          | endless
2,ip,"Yard",12^40!2147483647,,0^0^0              | 3153600000000
1,ip,"Yard",3^/srv/evacuation.wav,,0^1^0         | 24500
# Text lasts 70 ms for each character, but a second at least.
10,ip,"Yard","en^Ann^48000^\"twenty characters...\""!"en^Ann^48000^\"\"",,0^0^0 | 2400
4,ip,"Yard","en^Ann^48000^\"€€€ twenty characters\"",,0^0^0                     | 1470
# A chime adds nothing to a visual part.
3,ip,Yard,"Hi",,1^0^0                            | endless
3,ip,Yard,,,0^0^0                                | nothing to display
9,ip,"Yard",,,0^0^0                              | nothing to display
9,ip,"Yard","{\"kvPairs\":{\"K\":{\"type\":\"literal\",\"values\":[]}},\"validity\":30}",,1^0^0 | 30000
9,ip,"Yard","{\"kvPairs\":{\"K\":{\"type\":\"literal\",\"values\":[]}},\"validity\":18446744073709551615}",,1^0^0 | 2147483647000
9,ip,"Yard","{\"kvPairs\":{\"K\":{\"type\":\"literal\",\"values\":[]}},\"validity\":-99999999999}",,1^0^0 | endless

2,ip,"Yard"^"Hall/South",12!1,,0^0^0             | unknown zone "Hall/South"
2,ip,"Yard",12^4294967295!1,,0^0^0               | unknown dictionary item 4294967295
2,ip,"Yard",12!1,,0^12^0                         | unknown chime 12
4,ip,"Yard","en^Ann^48000^\"\""!"en^Bob^48000^\"\"",,0^0^0 | no voice "Bob" for language "en" at 48000 Hz
4,ip,"Yard","de^Ann^48000^\"\"",,0^0^0           | no voice "Ann" for language "de" at 48000 Hz
)~");
}

TEST_F(PlayableContentTest, PlaysUploadsAndPreviewsForTheirLength) {
    const auto store = [this](const std::string& name, const std::string& bytes) {
        return uploads.store(folder.write("local", bytes), onServer + name).stored;
    };
    EXPECT_TRUE(store("a.wav", sound(24'000)));
    EXPECT_TRUE(store("c.wav", "no audio"));
    fs::copy(folder.path() / "server" / "a.wav",
             folder.path() / "server" / "pa-previews" / "p.wav");
    EXPECT_TRUE(store("a.wav", sound(8000)));  // replaces the other
    expectResults([this](const std::string& part) { return lengthOf(part); }, R"~(
11,ip,"Yard",3^/home/quillon/tmp/a.wav,,0^0^0             | 500
11,ip,"Yard",3^/home/quillon/tmp/pa-previews/p.wav,,0^0^0 | 1500
11,ip,"Yard",3^/home/quillon/tmp/c.wav,,0^0^0             | cannot read c.wav: ...
11,ip,"Yard",3^/home/quillon/tmp/pa-previews/../a.wav,,0^0^0 | "/home/quillon/tmp/pa-previews/../a.wav" is not on this server
)~");
}

TEST_F(PlayableContentTest, StoresFilesOnlyInTheServersFolder) {
    for (const std::string& name :
         {""s, "/etc/passwd"s, "x/home/quillon/tmp/a"s, "/home/quillon/tmp_a.wav"s, onServer,
          onServer + ".", onServer + "..", onServer + "../a", onServer + "pa-previews/a",
          onServer + "a\0b"s}) {
        const std::string reason = uploads.store(file, name).reason;
        EXPECT_NE(reason.find("is not a file name"), std::string::npos) << name;
    }
    const std::string target = onServer + "..a, b^\\c";
    EXPECT_TRUE(uploads.store(file, target).stored);
    mkfifo((folder.path() / "pipe").c_str(), 0600);
    for (const char* const name : {"missing", "server", "pipe"}) {
        const std::string reason = uploads.store((folder.path() / name).string(), target).reason;
        EXPECT_EQ(reason.rfind("cannot read", 0), 0U) << name;
    }
    EXPECT_FALSE(uploads.store(file, onServer + std::string(300, 'a')).stored);
    EXPECT_FALSE(uploads.store(file, onServer + "pa-previews").stored);
    EXPECT_EQ(fs::file_size(folder.path() / "server" / "..a, b^\\c"), 7U);
    EXPECT_EQ(folder.files(), 3);  // no incomplete file
}

TEST_F(PlayableContentTest, KeepsUploadsAndNoPreviewsOfEarlierRuns) {
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
    EXPECT_TRUE(fs::exists(folder.path() / "kept" / "upload"));

    auto temporary = std::make_unique<UploadFolder>("");
    const fs::path place = *temporary->placeOf(onServer + "a");
    EXPECT_TRUE(temporary->store(file, onServer + "a").stored);
    EXPECT_EQ(place.parent_path().filename().string().rfind("pa-spool-", 0), 0U);
    temporary.reset();
    EXPECT_FALSE(fs::exists(place.parent_path()));
}

}  // namespace
