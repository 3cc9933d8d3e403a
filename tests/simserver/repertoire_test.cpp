#include "simserver/Repertoire.h"

#include <climits>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include "simserver/Refused.h"
#include "tests/simserver/SmallStation.h"

namespace {

using namespace simserver;
using namespace std::chrono_literals;
namespace fs = std::filesystem;

std::string littleEndian(std::uint32_t value, int bytes) {
    std::string text;
    for (int i = 0; i < bytes; ++i) {
        text += static_cast<char>((value >> (8 * i)) & 0xFF);
    }
    return text;
}

/// 16-bit mono.
std::string wav(std::uint32_t rate, std::uint32_t frames) {
    const auto u16 = [](std::uint32_t value) { return littleEndian(value, 2); };
    const auto u32 = [](std::uint32_t value) { return littleEndian(value, 4); };
    return "RIFF" + u32(36 + 2 * frames) + "WAVEfmt " + u32(16) + u16(1) + u16(1) + u32(rate) +
           u32(2 * rate) + u16(2) + u16(16) + "data" + u32(2 * frames) +
           std::string(2 * frames, '\0');
}

struct RepertoireTest : testing::Test {
    RepertoireTest() { fs::create_directories(folder); }
    ~RepertoireTest() override { fs::remove_all(folder); }

    std::string local(const std::string& name, const std::string& content) const {
        std::ofstream(folder / name, std::ios::binary) << content;
        return (folder / name).string();
    }
    static std::string read(const fs::path& file) {
        std::ifstream stream(file, std::ios::binary);
        return {std::istreambuf_iterator<char>(stream), {}};
    }

    /// In ms, "endless", or why not.
    std::string lengthOf(int type, Content content, int preChime = 0, int postChime = 0) const {
        RequestPart part;
        part.type = findType(type);
        part.content = std::move(content);
        part.preChime = preChime;
        part.postChime = postChime;
        try {
            const auto length = repertoire.lengthOf(part);
            return length ? std::to_string(length->count()) : "endless";
        } catch (const Refused& refused) {
            return refused.what();
        }
    }

    std::string checked(RequestPart part) const {
        try {
            repertoire.check(part);
            return "known";
        } catch (const Refused& refused) {
            return refused.what();
        }
    }

    const fs::path folder =
        fs::path(testing::TempDir()) / ("repertoire-" + std::to_string(getpid()));
    Station station = smallStation();
    Spool spool{folder / "spool"};
    Repertoire repertoire{station, spool};
};

TEST_F(RepertoireTest, KnowsHowLongThingsLast) {
    const auto spoken = [](const char* text) { return SpokenText{"en", "Ann", 48000, text}; };
    struct {
        int type;
        Content content;
        const char* length;
    } const cases[] = {
        {2, DictionaryContent{{12, 40}, 2}, "6000"},
        {2, DictionaryContent{{12}, 0}, "endless"},
        {2, DictionaryContent{{12, 40}, INT_MAX}, "3153600000000"},
        {4, SpokenContent{{spoken("Hi")}}, "1000"},
        {4, SpokenContent{{spoken("twenty characters...")}}, "1400"},
        {10, SpokenContent{{spoken("twenty characters..."), spoken("Hi")}}, "2400"},
        {4,
         SpokenContent{{spoken("\xE2\x82\xAC\xE2\x82\xAC\xE2\x82\xAC\xE2\x82\xAC"
                               "\xE2\x82\xAC\xE2\x82\xAC\xE2\x82\xAC\xE2\x82\xAC"
                               "\xE2\x82\xAC\xE2\x82\xAC twenty characters")}},
         "1960"},
        {1, RecordedContent{"/srv/evacuation.wav"}, "24000"},
        {1, RecordedContent{"/srv/other.wav"}, "\"/srv/other.wav\" is not on this server"},
        {1, RecordedContent{"/home/quillon/tmp/../x.wav"},
         "\"/home/quillon/tmp/../x.wav\" is not on this server"},
        {9, TemplateContent{"{}", 30}, "30000"},
        {9, TemplateContent{"{}", 0}, "0"},
        {9, TemplateContent{"{}", INT_MAX}, "2147483647000"},
        {9, TemplateContent{"{}", -1}, "endless"},
        {9, TemplateContent{"", 30}, "nothing to show"},
        {3, TextContent{"Hi"}, "endless"},
        {3, TextContent{""}, "nothing to show"},
    };
    for (const auto& [type, content, length] : cases) {
        EXPECT_EQ(lengthOf(type, content), length);
    }
    EXPECT_EQ(lengthOf(2, DictionaryContent{{12}, 2}, 1, 1), "3000");
    EXPECT_EQ(lengthOf(2, DictionaryContent{{12}, 0}, 1, 1), "endless");
    EXPECT_EQ(lengthOf(9, TemplateContent{"{}", 30}, 1, 1), "30000");  // a chime is not shown
}

TEST_F(RepertoireTest, PlaysUploadsForTheirLength) {
    const auto at = [](const char* name) {
        return RecordedContent{std::string(Spool::serverFolder) + name};
    };
    EXPECT_TRUE(spool.store(local("a", wav(8000, 12000)), at("a.wav").path).stored);
    EXPECT_EQ(lengthOf(1, at("a.wav")), "1500");
    EXPECT_EQ(lengthOf(11, at("a.wav"), 1), "2000");
    EXPECT_TRUE(spool.store(local("b", wav(48000, 24000)), at("a.wav").path).stored);
    EXPECT_EQ(lengthOf(1, at("a.wav")), "500");  // the new one is in its place
    EXPECT_TRUE(spool.store(local("c", "no sound"), at("c.wav").path).stored);
    for (const char* const name : {"missing.wav", "c.wav"}) {
        const std::string reason = lengthOf(1, at(name));
        EXPECT_EQ(reason.rfind("cannot read " + std::string(name) + ": ", 0), 0U) << reason;
    }
}

TEST_F(RepertoireTest, StoresNothingOutsideTheServersFolder) {
    const std::string file = local("file", "content");
    const std::string serverFolder = Spool::serverFolder;
    const std::string names[] = {
        "",
        "/",
        "a.wav",
        "/etc/passwd",
        "/home/quillon/tmp",
        serverFolder,
        serverFolder + "..",
        serverFolder + ".",
        serverFolder + "../a",
        serverFolder + "a/b",
        serverFolder + "/a",
        serverFolder + "a/../../b",
        "/home/quillon/tmpx/a",
        "x" + serverFolder + "a",
        serverFolder + std::string("a\0b", 3),
    };
    for (const std::string& name : names) {
        const auto result = spool.store(file, name);
        EXPECT_FALSE(result.stored) << name;
        EXPECT_NE(result.reason.find("is not a file name in"), std::string::npos) << result.reason;
    }
    EXPECT_TRUE(fs::is_empty(folder / "spool"));
    EXPECT_TRUE(spool.store(file, serverFolder + "..a, b^\\c").stored);
    EXPECT_EQ(read(folder / "spool" / "..a, b^\\c"), "content");
}

TEST_F(RepertoireTest, SaysWhyAFileIsNotStored) {
    const std::string target = std::string(Spool::serverFolder) + "a";
    EXPECT_TRUE(spool.store(local("kept", "kept"), target).stored);
    mkfifo((folder / "pipe").c_str(), 0600);
    for (const char* const name : {"missing", "spool", "pipe"}) {
        const auto result = spool.store((folder / name).string(), target);
        EXPECT_FALSE(result.stored) << name;
        EXPECT_EQ(result.reason.rfind("cannot read \"", 0), 0U) << result.reason;
    }
    const std::string tooLong = Spool::serverFolder + std::string(300, 'a');
    EXPECT_EQ(spool.store(local("kept", "kept"), tooLong).reason.rfind("cannot store", 0), 0U);
    EXPECT_EQ(read(folder / "spool" / "a"), "kept");
    EXPECT_EQ(std::distance(fs::directory_iterator(folder / "spool"), {}), 1);  // nothing half done
}

TEST_F(RepertoireTest, RemovesATemporarySpoolAndKeepsAnother) {
    fs::path place;
    {
        const Spool temporary{fs::path()};
        place = *temporary.placeOf(std::string(Spool::serverFolder) + "a");
        EXPECT_TRUE(
            temporary.store(local("a", "a"), std::string(Spool::serverFolder) + "a").stored);
        EXPECT_TRUE(fs::exists(place));
    }
    EXPECT_FALSE(fs::exists(place.parent_path()));
    { const Spool kept{folder / "kept" / "below"}; }
    EXPECT_TRUE(fs::exists(folder / "kept" / "below"));
}

TEST_F(RepertoireTest, RefusesWhatTheStationDoesNotHave) {
    RequestPart part;
    part.type = findType(2);
    part.zones = {"Yard", "Hall/East"};
    part.content = DictionaryContent{{12, 40}, 1};
    EXPECT_EQ(checked(part), "known");

    RequestPart other = part;
    other.zones.emplace_back("Hall/South");
    EXPECT_EQ(checked(other), "unknown zone \"Hall/South\"");
    other = part;
    other.content = DictionaryContent{{12, 4'294'967'295U}, 1};
    EXPECT_EQ(checked(other), "unknown dictionary item 4294967295");
    for (const int chime : {12, 99, -1}) {
        other = part;
        other.postChime = chime;
        EXPECT_EQ(checked(other), "unknown chime " + std::to_string(chime));
    }
    other = part;
    other.content = SpokenContent{{{"en", "Ann", 48000, "a"}, {"en", "Bob", 48000, "b"}}};
    EXPECT_EQ(checked(other), "no voice \"Bob\" for language \"en\" at 48000 Hz");
    other.content = SpokenContent{{{"de", "Ann", 48000, "a"}}};
    EXPECT_EQ(checked(other), "no voice \"Ann\" for language \"de\" at 48000 Hz");
}

}  // namespace
