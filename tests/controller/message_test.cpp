#include <functional>
#include <gtest/gtest.h>
#include <stdexcept>

#include "sdk/PAController.h"
#include "tests/recordingHost/RecordingHost.h"

namespace {

using Items = std::vector<unsigned>;

struct MessageTest : testing::Test {
    MessageTest() {
        recordingHost::reset();
        gPaController.initPaResources();
        RecordList usable({"en", "anna", "48000"});
        gPaController.updateFromTTS_Ports(4, usable.list());
        RecordList slow({"en", "slow", "22050"});
        gPaController.updateFromTTS_Ports(5, slow.list());
    }
    ~MessageTest() override { gPaController.initPaResources(); }
};

TEST_F(MessageTest, BeginsEmpty) {
    Message message;
    EXPECT_EQ(message.getPriority().getPriorityMode(), APM_ABSOLUTE_PRIORITY);
    EXPECT_EQ(message.getPriority().getPriorityLevel(), 500);
    EXPECT_EQ(message.getRepeatCnt(), 1);
    EXPECT_EQ(message.getAudioMessageType(), Message::NONE);
    EXPECT_EQ(message.getVisualMessageType(), Message::NONE);
    EXPECT_EQ(message.getAudioMessageTTSText() + message.getAudioMessageTTSLanguage() +
                  message.getAudioMessageTTSVoice() + message.getRequestID(),
              "");
    EXPECT_EQ(message.getAudioMessageTTSRate(), 48000);
    EXPECT_EQ(message.getAudioMessageTTSEncoding(), Message::UTF_8);
    EXPECT_FALSE(message.getOverrideDefaultGain());
    message.setGain(0.0);
    EXPECT_TRUE(message.getOverrideDefaultGain());
}

/// What a setter throws: the kind and the text.
struct Refused {
    std::string what;
    std::function<void(Message&)> prepare;
    std::function<void(Message&)> call;
};

std::string outcome(Message& message, const std::function<void(Message&)>& call) {
    try {
        call(message);
        return "accepted";
    } catch (const std::invalid_argument& e) {
        return std::string("invalid_argument ") + e.what();
    } catch (const std::out_of_range& e) {
        return std::string("out_of_range ") + e.what();
    }
}

std::function<void(Message&)> audioType(Message::Type type) {
    return [type](Message& m) { m.setAudioMessageType(type); };
}
std::function<void(Message&)> visualType(Message::Type type) {
    return [type](Message& m) { m.setVisualMessageType(type); };
}
std::function<void(Message&)> speak(const std::string& text, const std::string& language,
                                    const std::string& voice,
                                    Message::TextEncoding encoding = Message::UTF_8) {
    return [=](Message& m) { m.setAudioMessage(text, language, voice, encoding); };
}

const auto nothing = [](Message&) {};
const auto serverFile = [](Message& m) { m.setAudioMessage(std::string("/s/a.wav")); };
const auto localFile = [](Message& m) { m.setAudioMessage("/d/a.wav", Message::L16_48K); };
const auto audioItems = [](Message& m) { m.setAudioMessage(Items{12, 40}); };
const auto visualText = [](Message& m) { m.setVisualMessage(std::string("Platform 3")); };
const auto visualItems = [](Message& m) { m.setVisualMessage(Items{4, 5}); };
const auto visualTemplate = [](Message& m) { m.setVisualMessage("Main", {}, 30); };

TEST_F(MessageTest, RefusesWhatDoesNotFit) {
    const std::string wrong = "invalid_argument message type not valid for this function";
    const std::string noPath = "out_of_range invalid file path for recorded stream";
    const std::string noVocalizer = "out_of_range invalid language/voice vocalizer combination";
    const std::vector<Refused> cases = {
        {noPath, audioType(Message::TTS), [](Message& m) { m.setAudioMessage(std::string()); }},
        {wrong, audioType(Message::DICTIONARY), serverFile},
        {"accepted", audioType(Message::RECORDED_STREAM_SAF), serverFile},
        {noPath, nothing, [](Message& m) { m.setAudioMessage("", Message::L24_16K); }},
        {wrong, audioType(Message::RECORDED_STREAM_SAF), localFile},
        {"accepted", audioType(Message::RECORDED_STREAM), localFile},
        {"invalid_argument not implemented", nothing,
         [](Message& m) { m.setAudioMessage("t", std::map<std::string, std::string>()); }},
        {"out_of_range dictionaryItems list is empty", audioType(Message::TTS),
         [](Message& m) { m.setAudioMessage(Items()); }},
        {wrong, serverFile, audioItems},
        {"accepted", audioItems, audioItems},
        {"invalid_argument Type not valid for this function", audioItems, speak("", "", "")},
        {"out_of_range text argument is empty", nothing, speak("", "", "")},
        {"out_of_range language arument is empty", nothing,
         speak("t", "", "", Message::ISO_8859_1)},
        {"out_of_range voice argument is empty", nothing, speak("t", "en", "")},
        {"out_of_range encoding ISO_8859_1 not supported", nothing,
         speak("t", "en", "anna", Message::ISO_8859_1)},
        {noVocalizer, nothing, speak("t", "en", "Anna")},
        {noVocalizer, nothing, speak("t", "EN", "anna")},
        {noVocalizer, nothing, speak("t", "en", "slow")},
        {"accepted", audioType(Message::TTS_SAF), speak("t", "en", "anna")},
        {"out_of_range text argument is empty", visualType(Message::TTS),
         [](Message& m) { m.setVisualMessage(std::string()); }},
        {"invalid_argument visualDictionaryItems contains items", visualItems, visualText},
        {wrong, visualType(Message::DISPLAY), visualText},
        {"accepted", visualTemplate, visualText},
        {"out_of_range dictionaryItems list is empty", visualText,
         [](Message& m) { m.setVisualMessage(Items()); }},
        {"invalid_argument visualText already contains text", visualText, visualItems},
        {wrong, visualType(Message::DISPLAY), visualItems},
        {wrong, visualType(Message::DISPLAY), visualTemplate},
        {"accepted", visualText, visualTemplate},
        {"accepted", nothing, [](Message& m) { m.setVisualMessage("", {}, 0); }},
    };
    for (std::size_t i = 0; i < cases.size(); ++i) {
        Message message;
        cases[i].prepare(message);
        EXPECT_EQ(outcome(message, cases[i].call), cases[i].what) << "case " << i;
    }
}

TEST_F(MessageTest, AContentFixesItsType) {
    struct Case {
        Message::Type before;
        std::function<void(Message&)> set;
        Message::Type audio;
        Message::Type visual;
    };
    const Message::Type none = Message::NONE;
    const std::vector<Case> cases = {
        {none, serverFile, Message::RECORDED_STREAM, none},
        {Message::RECORDED_STREAM_SAF, serverFile, Message::RECORDED_STREAM_SAF, none},
        {none, localFile, Message::RECORDED_STREAM, none},
        {none, audioItems, Message::DICTIONARY, none},
        {none, speak("t", "en", "anna"), Message::TTS, none},
        {Message::TTS_SAF, speak("t", "en", "anna"), Message::TTS_SAF, none},
        {none, visualText, none, Message::DISPLAY_TEMPLATE},
        {none, visualItems, none, Message::DISPLAY_TEMPLATE},
        {none, visualTemplate, none, Message::DISPLAY_TEMPLATE},
    };
    for (const Case& c : cases) {
        Message message;
        message.setAudioMessageType(c.before);
        c.set(message);
        EXPECT_EQ(message.getAudioMessageType(), c.audio) << &c - cases.data();
        EXPECT_EQ(message.getVisualMessageType(), c.visual) << &c - cases.data();
    }
}

TEST_F(MessageTest, AnUploadGoesToTheServersFolderUnderItsFileName) {
    for (const char* const path : {"/data/msgs/hello.wav", "msgs\\hello.wav", "hello.wav",
                                   "a\\b/hello.wav", "a/b\\hello.wav"}) {
        Message message;
        message.setAudioMessage(path, Message::L16_48K);
        EXPECT_EQ(message.getAudioMessageAbsoluteFilePath(), "/home/quillon/tmp/hello.wav") << path;
    }
}

TEST_F(MessageTest, OneRefusedTextKeepsThoseBeforeIt) {
    TTSVocalizer good;
    good.text = "first";
    good.language = "en";
    good.voice = "anna";
    good.rate = 8000;
    TTSVocalizer bad = good;
    bad.voice = "nobody";
    Message message;
    EXPECT_THROW(message.setAudioMessage(std::vector<TTSVocalizer>{good, bad, good}),
                 std::out_of_range);
    EXPECT_EQ(message.getAudioMessageTTSText(), "first");
    EXPECT_EQ(message.getAudioMessageTTSRate(), 48000);
    EXPECT_EQ(message.getAudioMessageType(), Message::TTS);
}

TEST_F(MessageTest, OnAnIndirectConnectionAnyVocalizerWillDo) {
    gIndirectCXSConnection = true;
    Message message;
    message.setAudioMessage("t", "xx", "nobody", Message::UTF_8);
    EXPECT_EQ(message.getAudioMessageTTSVoice(), "nobody");
}

}  // namespace
