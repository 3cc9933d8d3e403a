// SPDX-License-Identifier: Apache-2.0
// The message builder: content setters and their checks.
#include "sdk/Message.h"

#include <algorithm>
#include <initializer_list>

#include "sdk/PAController.h"
#include "sdk/globals.h"
#include "sdk/requests/checks.h"

using namespace pa;

namespace {

constexpr char uploadFolder[] = "/home/quillon/tmp/";
constexpr char wrongType[] = "message type not valid for this function";

bool isOneOf(Message::Type type, std::initializer_list<Message::Type> allowed) {
    return std::find(allowed.begin(), allowed.end(), type) != allowed.end();
}

std::string fileNameOf(const std::string& path) {
    const std::size_t separator = path.find_last_of("/\\");
    return separator == std::string::npos ? path : path.substr(separator + 1);
}

}  // namespace

Message::Message() = default;
Message::Message(const Message&) = default;
Message& Message::operator=(const Message&) = default;
Message::Message(Message&&) noexcept = default;
Message& Message::operator=(Message&&) noexcept = default;
Message::~Message() = default;

bool operator==(const Message& a, const Message& b) {
    return a.requestId == b.requestId && a.priority == b.priority && a.preChime == b.preChime &&
           a.postChime == b.postChime && a.gain == b.gain &&
           a.overrideDefaultGain == b.overrideDefaultGain &&
           a.audioMessageType == b.audioMessageType && a.visualMessageType == b.visualMessageType &&
           a.audioDictionaryItems == b.audioDictionaryItems && a.ttsList == b.ttsList &&
           a.recordedStreamAbsoluteFilePathWithName == b.recordedStreamAbsoluteFilePathWithName &&
           a.pathToRecordedStreamToUpload == b.pathToRecordedStreamToUpload &&
           a.displayText == b.displayText && a.displayDictionaryItems == b.displayDictionaryItems &&
           a.playedOnce == b.playedOnce && a.repeatCnt == b.repeatCnt &&
           a.displayKeyValueList == b.displayKeyValueList &&
           a.displayValidityPeriod == b.displayValidityPeriod;
}

std::vector<TTSVocalizer> Message::getAudioMessageTTSList() const {
    return ttsList;
}

std::string Message::getAudioMessageTTSText() const {
    return ttsList.empty() ? std::string() : ttsList.front().text;
}

std::string Message::getAudioMessageTTSLanguage() const {
    return ttsList.empty() ? std::string() : ttsList.front().language;
}

std::string Message::getAudioMessageTTSVoice() const {
    return ttsList.empty() ? std::string() : ttsList.front().voice;
}

int Message::getAudioMessageTTSRate() const {
    return ttsList.empty() ? TTSVocalizer::usableRate : ttsList.front().rate;
}

Message::TextEncoding Message::getAudioMessageTTSEncoding() const {
    return ttsList.empty() ? UTF_8 : ttsList.front().encoding;
}

void Message::setAudioMessage(const std::string& absolutePathWithFileName) {
    require<std::out_of_range>(!absolutePathWithFileName.empty(),
                               "invalid file path for recorded stream");
    require(isOneOf(audioMessageType, {NONE, RECORDED_STREAM, RECORDED_STREAM_SAF}), wrongType);
    recordedStreamAbsoluteFilePathWithName = absolutePathWithFileName;
    if (audioMessageType == NONE) {
        audioMessageType = RECORDED_STREAM;
    }
}

void Message::setAudioMessage(const std::string& path, AudioEncoding /*encoding*/) {
    require<std::out_of_range>(!path.empty(), "invalid file path for recorded stream");
    require(isOneOf(audioMessageType, {NONE, RECORDED_STREAM}), wrongType);
    pathToRecordedStreamToUpload = path;
    recordedStreamAbsoluteFilePathWithName = uploadFolder + fileNameOf(path);
    audioMessageType = RECORDED_STREAM;
}

void Message::setAudioMessage(const std::string& /*templateName*/,
                              const std::map<std::string, std::string>& /*arguments*/) {
    throw std::invalid_argument("not implemented");
}

void Message::setAudioMessage(const std::vector<unsigned>& dictionaryItems) {
    require<std::out_of_range>(!dictionaryItems.empty(), "dictionaryItems list is empty");
    require(isOneOf(audioMessageType, {NONE, DICTIONARY}), wrongType);
    audioDictionaryItems = dictionaryItems;
    audioMessageType = DICTIONARY;
}

void Message::setAudioMessage(const std::string& text, const std::string& language,
                              const std::string& voice, TextEncoding encoding) {
    require(isOneOf(audioMessageType, {NONE, TTS, TTS_SAF}), "Type not valid for this function");
    require<std::out_of_range>(!text.empty(), "text argument is empty");
    require<std::out_of_range>(!language.empty(), "language arument is empty");
    require<std::out_of_range>(!voice.empty(), "voice argument is empty");
    require<std::out_of_range>(encoding != ISO_8859_1, "encoding ISO_8859_1 not supported");

    const bool indirect = load(gIndirectCXSConnection);
    const std::vector<TTSVocalizer> known = gPaController.getTTSVocalizerList();
    const auto match = std::find_if(known.begin(), known.end(), [&](const TTSVocalizer& vocalizer) {
        return vocalizer.language == language && vocalizer.voice == voice &&
               vocalizer.rate == TTSVocalizer::usableRate;
    });
    require<std::out_of_range>(match != known.end() || indirect,
                               "invalid language/voice vocalizer combination");

    TTSVocalizer spoken;
    spoken.portNo = indirect ? 0 : match->portNo;
    spoken.text = text;
    spoken.language = language;
    spoken.voice = voice;
    spoken.rate = TTSVocalizer::usableRate;
    spoken.encoding = encoding;
    ttsList.push_back(spoken);
    if (audioMessageType == NONE) {
        audioMessageType = TTS;
    }
}

void Message::setAudioMessage(const std::vector<TTSVocalizer>& texts) {
    for (const TTSVocalizer& spoken : texts) {
        setAudioMessage(spoken.text, spoken.language, spoken.voice, spoken.encoding);
    }
}

void Message::setVisualMessage(const std::string& text) {
    require<std::out_of_range>(!text.empty(), "text argument is empty");
    require(displayDictionaryItems.empty(), "visualDictionaryItems contains items");
    require(isOneOf(visualMessageType, {NONE, DISPLAY_TEMPLATE}), wrongType);
    displayText = text;
    visualMessageType = DISPLAY_TEMPLATE;
}

void Message::setVisualMessage(const std::vector<unsigned>& dictionaryItems) {
    require<std::out_of_range>(!dictionaryItems.empty(), "dictionaryItems list is empty");
    require(displayText.empty(), "visualText already contains text");
    require(isOneOf(visualMessageType, {NONE, DISPLAY_TEMPLATE}), wrongType);
    displayDictionaryItems = dictionaryItems;
    visualMessageType = DISPLAY_TEMPLATE;
}

void Message::setVisualMessage(const std::string& templateName, const DisplayVariables& variables,
                               int validity) {
    require(isOneOf(visualMessageType, {NONE, DISPLAY_TEMPLATE}), wrongType);
    displayKeyValueList = variables;
    if (!templateName.empty()) {
        displayKeyValueList["{SCREEN}"] = {DISPLAY_VALUE_INFO(templateName, 0)};
    }
    displayValidityPeriod = validity;
    visualMessageType = DISPLAY_TEMPLATE;
}
