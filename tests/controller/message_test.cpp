#include <functional>

#include "client/recordText.h"
#include "tests/controller/fixtures.h"
#include "tests/controller/outcome.h"

namespace {

using Items = std::vector<unsigned>;

struct MessageTest : ProcessController {
    MessageTest() {
        pa::RecordList slow({"en", "slow", "22050"});
        gPaController.updateFromTTS_Ports(5, slow.list());
    }
};

TEST_F(MessageTest, BeginsEmpty) {
    Message message;
    EXPECT_EQ(message.getPriority().getPriorityLevel(), 500);
    EXPECT_EQ(message.getRepeatCnt(), 1);
    EXPECT_EQ(message.getAudioMessageTTSText() + message.getAudioMessageTTSLanguage() +
                  message.getAudioMessageTTSVoice() + message.getRequestID(),
              "");
    EXPECT_EQ(message.getAudioMessageTTSRate(), 48000);
    EXPECT_EQ(message.getAudioMessageTTSEncoding(), Message::UTF_8);
}

/// What a setter does to a message: refuses, or gives it its types, audio/visual.
struct Case {
    std::string what;
    std::function<void(Message&)> before;
    std::function<void(Message&)> call;
};

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

TEST_F(MessageTest, AContentFixesItsTypeAndRefusesWhatDoesNotFit) {
    const std::string wrong = "invalid_argument message type not valid for this function";
    const std::string noPath = "out_of_range invalid file path for recorded stream";
    const std::string noVocalizer = "out_of_range invalid language/voice vocalizer combination";
    const std::vector<Case> cases = {
        {noPath, audioType(Message::TTS), [](Message& m) { m.setAudioMessage(std::string()); }},
        {wrong, audioType(Message::DICTIONARY), serverFile},
        {"11/7", audioType(Message::RECORDED_STREAM_SAF), serverFile},
        {"1/7", nothing, serverFile},
        {noPath, nothing, [](Message& m) { m.setAudioMessage("", Message::L24_16K); }},
        {wrong, audioType(Message::RECORDED_STREAM_SAF), localFile},
        {"1/7", audioType(Message::RECORDED_STREAM), localFile},
        {"1/7", nothing, localFile},
        {"invalid_argument not implemented", nothing,
         [](Message& m) { m.setAudioMessage("t", std::map<std::string, std::string>()); }},
        {"out_of_range dictionaryItems list is empty", audioType(Message::TTS),
         [](Message& m) { m.setAudioMessage(Items()); }},
        {wrong, serverFile, audioItems},
        {"2/7", audioItems, audioItems},
        {"2/7", nothing, audioItems},
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
        {"10/7", audioType(Message::TTS_SAF), speak("t", "en", "anna")},
        {"4/7", nothing, speak("t", "en", "anna")},
        {"out_of_range text argument is empty", visualType(Message::TTS),
         [](Message& m) { m.setVisualMessage(std::string()); }},
        {"invalid_argument visualDictionaryItems contains items", visualItems, visualText},
        {wrong, visualType(Message::DISPLAY), visualText},
        {"7/9", visualTemplate, visualText},
        {"7/9", nothing, visualText},
        {"7/9", nothing, visualItems},
        {"out_of_range dictionaryItems list is empty", visualText,
         [](Message& m) { m.setVisualMessage(Items()); }},
        {"invalid_argument visualText already contains text", visualText, visualItems},
        {wrong, visualType(Message::DISPLAY), visualItems},
        {wrong, visualType(Message::DISPLAY), visualTemplate},
        {"7/9", visualText, visualTemplate},
        {"7/9", nothing, [](Message& m) { m.setVisualMessage("", {}, 0); }},
    };
    for (std::size_t i = 0; i < cases.size(); ++i) {
        Message message;
        cases[i].before(message);
        std::string what = outcome([&] { cases[i].call(message); });
        if (what == "accepted") {
            what = std::to_string(message.getAudioMessageType()) + "/" +
                   std::to_string(message.getVisualMessageType());
        }
        EXPECT_EQ(what, cases[i].what) << "case " << i;
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
    const TTSVocalizer good{0, "first", "en", "anna", 8000, Message::UTF_8};
    const TTSVocalizer bad{0, "second", "en", "nobody", 8000, Message::UTF_8};
    Message message;
    EXPECT_THROW(message.setAudioMessage(std::vector<TTSVocalizer>{good, bad, good}),
                 std::out_of_range);
    EXPECT_EQ(message.getAudioMessageTTSText(), "first");
    EXPECT_EQ(message.getAudioMessageTTSRate(), 48000);
}

TEST_F(MessageTest, IsOfferedTheVocalizersAt48000HzAlone) {
    EXPECT_EQ(paclient::linesOf(gPaController.getTTSVocalizerList()), "4||en|anna|48000|UTF_8\n");
}

TEST_F(MessageTest, OnAnIndirectConnectionAnyVocalizerWillDo) {
    gIndirectCXSConnection = true;
    Message message;
    message.setAudioMessage("t", "xx", "nobody", Message::UTF_8);
    EXPECT_EQ(message.getAudioMessageTTSVoice(), "nobody");
}

}  // namespace
