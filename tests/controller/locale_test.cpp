#include <array>
#include <clocale>
#include <cstdio>
#include <cstdlib>
#include <gtest/gtest.h>
#include <locale>

#include "sdk/PAController.h"
#include "sdk/records/numberText.h"
#include "tests/recordingHost/RecordingHost.h"

namespace {

struct DecimalComma : std::numpunct<char> {
    char do_decimal_point() const override { return ','; }
    char do_thousands_sep() const override { return '.'; }
    std::string do_grouping() const override { return "\3"; }
};

/// The process with a decimal comma and digit grouping, for C and C++ alike.
struct LocaleTest : testing::Test {
    LocaleTest() {
        recordingHost::reset();
        setenv("LOCPATH", PA_TEST_LOCALE_DIR, 1);
        std::setlocale(LC_ALL, "de_DE.UTF-8");
        std::locale::global(std::locale(std::locale::classic(), new DecimalComma));
    }
    ~LocaleTest() override {
        std::locale::global(std::locale::classic());
        std::setlocale(LC_ALL, "C");
    }
};

TEST_F(LocaleTest, ChangesNeitherPayloadsNorDecoding) {
    std::array<char, 32> text{};
    std::snprintf(text.data(), text.size(), "%.1f", 1.5);
    ASSERT_STREQ(text.data(), "1,5") << "the locale is not set";

    PaSink sink;
    sink.id = 1234567;
    sink.type = PaSink::HIGH_IMPEDANCE_SPEAKER_BUS;
    sink.setGain(-12.5, true, false);
    Message message;
    message.setRequestID("request-1");
    message.setAudioMessage(std::vector<unsigned>{1234567});
    message.setRepeatCnt(1000000);
    message.setGain(-1234.5);
    recordingHost::host().plainEncoding = true;
    message.playAnnouncement({"Z"});
    EXPECT_EQ(recordingHost::transcript(),
              "send -1 92/8 1 1234567,-12.5,1,0\n"
              "send -2 92/17 1 request-1,0,500,2,10.0.0.5,Z,1234567!1000000,-1234.5,0^0^0\n");

    EXPECT_EQ(pa::decodeDouble("-12.5"), -12.5);
    EXPECT_EQ(pa::decodeDouble("-12,5"), -12.0);
    EXPECT_EQ(pa::decodeInt("1.234"), 1);
    ASSERT_NE(std::setlocale(LC_ALL, "de_DE.ISO-8859-1"), nullptr);
    PaZone zone;
    zone.id = "\xc4";  // a letter in this locale, with the small form in the sink's list
    pa::RecordList record(with({"1"}, 26, "\xe4"));
    gPaController.addUpdatePaSink(1, record.list());
    EXPECT_TRUE(zone.getMembers().empty());
    gPaController.initPaResources();
}

}  // namespace
