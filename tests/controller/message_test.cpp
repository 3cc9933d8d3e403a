// SPDX-License-Identifier: Apache-2.0
// The message builder: what a content does to a message, and when two messages are equal.
#include <functional>
#include <type_traits>

#include "client/recordText.h"
#include "tests/controller/fixtures.h"

namespace {

using Items = std::vector<unsigned>;
using Step = std::function<void(Message&)>;

template <class... Arguments>
Step audio(const Arguments&... arguments) {
    return [=](Message& m) { m.setAudioMessage(arguments...); };
}
template <class... Arguments>
Step visual(const Arguments&... arguments) {
    return [=](Message& m) { m.setVisualMessage(arguments...); };
}
Step speak(const std::string& text, const std::string& language, const std::string& voice,
           Message::TextEncoding encoding = Message::UTF_8) {
    return audio(text, language, voice, encoding);
}
template <class Value>
Step set(void (Message::*setter)(Value), const std::decay_t<Value>& value) {
    return [=](Message& m) { (m.*setter)(value); };
}
Step audioType(Message::Type type) {
    return set(&Message::setAudioMessageType, type);
}
const Step displayType = set(&Message::setVisualMessageType, Message::DISPLAY);
const Step nothing = [](Message&) {};
const Step serverFile = audio(std::string("/s/a.wav"));
const Step localFile = audio(std::string("/d/a.wav"), Message::L24_16K);
const Step visualText = visual(std::string("Platform 3"));
const Step visualTemplate = visual("Main", Message::DisplayVariables(), 30);

static_assert(std::is_nothrow_move_constructible_v<AnnouncementRequest>);
static_assert(std::is_nothrow_move_assignable_v<AnnouncementRequest>);

struct MessageTest : VoicesTest {};

TEST_F(MessageTest, AContentFixesItsTypeAndRefusesWhatDoesNotFit) {
    const std::string wrong = "invalid_argument message type not valid for this function";
    const std::string noPath = "out_of_range invalid file path for recorded stream";
    const std::string noText = "out_of_range text argument is empty";
    const std::string noItems = "out_of_range dictionaryItems list is empty";
    const std::string noVocalizer = "out_of_range invalid language/voice vocalizer combination";
    // The refusal or the types, audio/visual; the step, and one before it.
    const std::tuple<std::string, Step, Step> cases[] = {
        {noPath, audio(std::string()), audioType(Message::TTS)},
        {wrong, serverFile, audioType(Message::DICTIONARY)},
        {"11/7", serverFile, audioType(Message::RECORDED_STREAM_SAF)},
        {"1/7", serverFile, nothing},
        {noPath, audio(std::string(), Message::L24_16K), audioType(Message::TTS)},
        {wrong, localFile, audioType(Message::RECORDED_STREAM_SAF)},
        {"1/7", localFile, serverFile},
        {"1/7", localFile, nothing},
        {"invalid_argument not implemented", audio("t", std::map<std::string, std::string>()),
         nothing},
        {noItems, audio(Items()), audioType(Message::TTS)},
        {wrong, audio(Items{12}), serverFile},
        {"2/7", audio(Items{12}), audio(Items{40})},
        {"invalid_argument Type not valid for this function", speak("", "", ""), audio(Items{12})},
        {noText, speak("", "", ""), nothing},
        {"out_of_range language arument is empty", speak("t", "", ""), nothing},
        {"out_of_range voice argument is empty", speak("t", "en", "", Message::ISO_8859_1),
         nothing},
        {"out_of_range encoding ISO_8859_1 not supported",
         speak("t", "x", "x", Message::ISO_8859_1), nothing},
        {noVocalizer, speak("t", "en", "Anna"), nothing},
        {noVocalizer, speak("t", "EN", "anna"), nothing},
        {noVocalizer, speak("t", "en", "slow"), nothing},
        {"10/7", speak("t", "en", "anna"), audioType(Message::TTS_SAF)},
        {"4/7", speak("t", "en", "anna"), nothing},
        {noText, visual(std::string()), visual(Items{4})},
        {"invalid_argument visualDictionaryItems contains items", visualText, visual(Items{4})},
        {wrong, visualText, displayType},
        {"7/9", visualText, visualTemplate},
        {"7/9", visualText, nothing},
        {noItems, visual(Items()), visualText},
        {"invalid_argument visualText already contains text", visual(Items{4}), visualText},
        {wrong, visual(Items{4}), displayType},
        {"7/9", visual(Items{4}), nothing},
        {wrong, visualTemplate, displayType},
        {"7/9", visualTemplate, nothing},
    };
    for (const auto& [expected, step, before] : cases) {
        Message message;
        before(message);
        std::string what = outcome([&, &call = step] { call(message); });
        if (what == "accepted") {
            what = std::to_string(message.getAudioMessageType()) + "/" +
                   std::to_string(message.getVisualMessageType());
        }
        EXPECT_EQ(what, expected);
    }
}

template <class... Steps>
void expectOnlyTheSameAreEqual(const Steps&... given) {
    const Step steps[] = {given...};
    for (const Step& first : steps) {
        for (const Step& second : steps) {
            Message a;
            Message b;
            first(a);
            second(b);
            EXPECT_EQ(a == b, &first == &second) << &first - steps << ' ' << &second - steps;
            EXPECT_NE(a == b, a != b);
        }
    }
}

TEST_F(MessageTest, AreEqualWhenTheyAreMadeInTheSameWay) {
    const Step played = [](Message& m) {
        m.setAudioMessage(Items{12});
        m.playAnnouncement({"Hall"});
    };
    // A gain of 0 is another than none.
    expectOnlyTheSameAreEqual(
        nothing, serverFile, localFile, visualText, visualTemplate, displayType, played,
        audioType(Message::TTS), audio(Items{12}), audio(Items{40}), speak("t", "en", "anna"),
        audio("/s/b.wav"), audio("/e/a.wav", Message::L24_16K), visual("Platform 4"),
        visual(Items{4}), visual(Items{5}), visual("Main", Message::DisplayVariables(), 31),
        visual("Side", Message::DisplayVariables(), 30), set(&Message::setRequestID, "id"),
        set(&Message::setPriority, {APM_RELATIVE_PRIORITY, 500}),
        set(&Message::setPriority, {APM_ABSOLUTE_PRIORITY, 400}), set(&Message::setPreChime, 1),
        set(&Message::setPostChime, 1), set(&Message::setRepeatCnt, 2), set(&Message::setGain, 0.0),
        set(&Message::setGain, -1.0));
}

TEST_F(MessageTest, ListsInBracesAreItems) {
    Message message;
    message.setAudioMessage({0});  // not a null pointer
    message.setVisualMessage({4, 5});
    EXPECT_EQ(message.getAudioMessageDictionaryItems(), Items{0});
    EXPECT_EQ(message.getVisualMessageDictionaryItems(), (Items{4, 5}));
}

TEST_F(MessageTest, AnUploadIsForTheServersFolderUnderItsFileName) {
    for (const char* const path : {"hello.wav", "a\\b/hello.wav", "/a/b\\hello.wav"}) {
        Message message;
        message.setAudioMessage(path, Message::L16_48K);
        EXPECT_EQ(message.getAudioMessageAbsoluteFilePath(), "/home/quillon/tmp/hello.wav") << path;
    }
}

TEST_F(MessageTest, ARefusedTextKeepsThoseBeforeItAt48000Hz) {
    const TTSVocalizer good{0, "first", "en", "anna", 8000, Message::UTF_8};
    const TTSVocalizer bad{0, "second", "en", "other", 8000, Message::UTF_8};
    Message message;
    EXPECT_EQ(message.getAudioMessageTTSText() + message.getAudioMessageTTSVoice(), "");
    EXPECT_THROW(message.setAudioMessage(std::vector{good, bad, good}), std::out_of_range);
    EXPECT_EQ(paclient::linesOf(message.getAudioMessageTTSList()), "4|first|en|anna|48000|UTF_8\n");
    EXPECT_EQ(paclient::linesOf(controller.getTTSVocalizerList()), "4||en|anna|48000|UTF_8\n")
        << "others are not offered";
    gIndirectCXSConnection = true;
    EXPECT_NO_THROW(message.setAudioMessage(std::vector{bad})) << "the voices are not known here";
}

}  // namespace
