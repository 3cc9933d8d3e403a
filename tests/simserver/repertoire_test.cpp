#include "simserver/Repertoire.h"

#include <filesystem>
#include <fstream>
#include <sys/stat.h>
#include <unistd.h>

#include "simserver/FieldText.h"
#include "simserver/Refused.h"
#include "simserver/RequestDecoder.h"
#include "tests/simserver/SmallStation.h"
#include "tests/simserver/tables.h"

namespace {

using namespace simserver;
using namespace std::string_literals;
namespace fs = std::filesystem;

/// A sound file of one channel at 16 kHz, a byte for each frame.
std::string sound(std::size_t frames) {
    return ".snd\0\0\0\x18\xFF\xFF\xFF\xFF\0\0\0\x02\0\0\x3E\x80\0\0\0\x01"s +
           std::string(frames, '\0');
}

struct RepertoireTest : testing::Test {
    RepertoireTest() { fs::create_directories(folder); }
    ~RepertoireTest() override { fs::remove_all(folder); }

    std::string local(const std::string& name, const std::string& content) const {
        std::ofstream(folder / name, std::ios::binary) << content;
        return (folder / name).string();
    }

    /// Of a part as a request holds it: in ms, or "endless".
    std::string lengthOf(const std::string& part) const {
        PlayRequest request;
        decodePlay("\"id\",0,500," + simserver::quotedText(part), request);
        repertoire.check(request.parts.at(0));
        const auto length = repertoire.lengthOf(request.parts[0]);
        return length ? std::to_string(length->count()) : "endless";
    }
    std::string lengthOfUpload(const std::string& name) const {
        return lengthOf(R"(11,ip,"Yard",3^)" + serverFolder + name + ",,0^0^0");
    }

    const fs::path folder =
        fs::path(testing::TempDir()) / ("repertoire-" + std::to_string(getpid()));
    const std::string serverFolder = Spool::serverFolder;
    Station station = smallStation();
    Spool spool{folder / "spool"};
    Repertoire repertoire{station, spool};
};

TEST_F(RepertoireTest, KnowsWhatItCanPlayAndHowLongThatLasts) {
    expectResults([this](const std::string& part) { return lengthOf(part); }, R"~(
2,ip,"Yard"^"Hall/East",12^40!2,,0^0^0           | 6000
2,ip,"Yard",12!2,,1^1^0                          | 3000
2,ip,"Yard",12!0,,1^1^0                          | endless
2,ip,"Yard",12^40!2147483647,,0^0^0              | 3153600000000
1,ip,"Yard",3^/srv/evacuation.wav,,0^1^0         | 24500
# Text lasts 70 ms for each character, but a second at least.
10,ip,"Yard","en^Ann^48000^\"twenty characters...\""!"en^Ann^48000^\"\"",,0^0^0 | 2400
4,ip,"Yard","en^Ann^48000^\"€€€ twenty characters\"",,0^0^0                     | 1470
# A chime is not shown.
3,ip,Yard,"Hi",,1^0^0                            | endless
3,ip,Yard,,,0^0^0                                | nothing to show
9,ip,"Yard",,,0^0^0                              | nothing to show
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

TEST_F(RepertoireTest, PlaysUploadsForTheirLength) {
    EXPECT_TRUE(spool.store(local("a", sound(24000)), serverFolder + "a.wav").stored);
    EXPECT_EQ(lengthOfUpload("a.wav"), "1500");
    EXPECT_TRUE(spool.store(local("b", sound(8000)), serverFolder + "a.wav").stored);
    EXPECT_EQ(lengthOfUpload("a.wav"), "500");  // the new one is in its place
    EXPECT_TRUE(spool.store(local("c", "no sound"), serverFolder + "c.wav").stored);
    EXPECT_THROW(lengthOfUpload("c.wav"), Refused);
}

TEST_F(RepertoireTest, StoresFilesInTheServersFolderAlone) {
    const std::string file = local("file", "content");
    for (const std::string& name :
         {""s, "/etc/passwd"s, "x/home/quillon/tmp/a"s, "/home/quillon/tmp_a.wav"s,
          "/home/quillon/tmp/"s, "/home/quillon/tmp/."s, "/home/quillon/tmp/.."s,
          "/home/quillon/tmp/../a"s, "/home/quillon/tmp/a/b"s, "/home/quillon/tmp/a\0b"s}) {
        const std::string reason = spool.store(file, name).reason;
        EXPECT_NE(reason.find("is not a file name"), std::string::npos) << name;
    }

    const std::string target = serverFolder + "..a, b^\\c";
    EXPECT_TRUE(spool.store(file, target).stored);
    mkfifo((folder / "pipe").c_str(), 0600);
    for (const char* const name : {"missing", "spool", "pipe"}) {
        const std::string reason = spool.store((folder / name).string(), target).reason;
        EXPECT_EQ(reason.rfind("cannot read", 0), 0U) << name;
    }
    EXPECT_FALSE(spool.store(file, serverFolder + std::string(300, 'a')).stored);
    EXPECT_EQ(fs::file_size(folder / "spool" / "..a, b^\\c"), 7U);
    EXPECT_EQ(std::distance(fs::directory_iterator(folder / "spool"), {}), 1);  // nothing half done
}

TEST_F(RepertoireTest, RemovesATemporarySpoolAlone) {
    auto temporary = std::make_optional<Spool>("");
    const fs::path place = *temporary->placeOf(serverFolder + "a");
    EXPECT_TRUE(temporary->store(local("a", "a"), serverFolder + "a").stored);
    EXPECT_TRUE(fs::exists(place));
    temporary.reset();
    EXPECT_FALSE(fs::exists(place.parent_path()));
    { const Spool kept{folder / "kept"}; }
    EXPECT_TRUE(fs::exists(folder / "kept"));
}

}  // namespace
