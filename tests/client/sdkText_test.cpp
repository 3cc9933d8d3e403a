#include "client/sdkText.h"

#include <gtest/gtest.h>

#include "resource/common/paInfo.h"
#include "tests/support/thrownBy.h"

namespace {

using paclient::sentenceFor;

// The texts are those of the controller itself, so that a change of one is noticed.
TEST(SdkText, isASentenceForPeople) {
    PaSink unit;
    unit.type = PaSink::ZENTRIQ_KPL2;
    PaSink speaker;
    speaker.type = PaSink::HIGH_IMPEDANCE_SPEAKER_BUS;
    PaSource handset;
    handset.type = PaSource::SIP_HANDSET;
    PaSource input;
    input.type = PaSource::ZENTRIQ_ANALOG_INPUT;
    const std::vector<std::string> none;

    EXPECT_EQ(sentenceFor(
                  thrownBy<std::invalid_argument>([&] { unit.setGain(Gain(-3.0), false, false); })),
              "a sink of type ZENTRIQ_KPL2 has no gain");
    EXPECT_EQ(sentenceFor(thrownBy<std::out_of_range>([&] { speaker.reset(); })),
              "a sink of type HIGH_IMPEDANCE_SPEAKER_BUS cannot be reset: only interface units and "
              "mixers can");
    EXPECT_EQ(sentenceFor(thrownBy<std::invalid_argument>([&] { handset.setGain(0, true, true); })),
              "a source of type SIP_HANDSET has no gain");
    EXPECT_EQ(sentenceFor(thrownBy<std::out_of_range>([&] { input.setGain(43, true, true); })),
              "the gain of a source is from -96 to 42 dB");
    EXPECT_EQ(sentenceFor(thrownBy<std::out_of_range>([&] { input.detachPaZone(""); })),
              "the name of a zone is empty");
    EXPECT_EQ(sentenceFor(thrownBy<std::out_of_range>([&] { input.detachPaZone(none); })),
              "no zones are given");
    EXPECT_EQ(sentenceFor("another text"), "another text");
}

}  // namespace
