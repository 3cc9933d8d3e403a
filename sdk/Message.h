// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <initializer_list>
#include <map>
#include <string>
#include <vector>

#include "../framework/api.h"
#include "../resource/common/priorityInfo.h"

struct TTSVocalizer;

/// One value of a display-template variable. A plain value.
struct DISPLAY_VALUE_INFO {
    DISPLAY_VALUE_INFO() = default;
    /// A text that is displayed for `valueTimeout`, in the template's unit.
    DISPLAY_VALUE_INFO(const std::string& valueText, const int& valueTimeout)
        : text(valueText), timeout(valueTimeout) {}

    std::string text;  ///< displayed text
    int timeout = 0;   ///< how long it is displayed, in the template's unit

    friend bool operator==(const DISPLAY_VALUE_INFO& a, const DISPLAY_VALUE_INFO& b) {
        return a.text == b.text && a.timeout == b.timeout;
    }
    friend bool operator!=(const DISPLAY_VALUE_INFO& a, const DISPLAY_VALUE_INFO& b) {
        return !(a == b);
    }
};

/// One announcement, composed before it is played: its audio part, its visual part, and how they
/// are played.
///
/// The first content setter that succeeds fixes the type of its part; the others then refuse
/// content of another type. A message can be played once. Setters throw the exceptions named with
/// them and leave the object unchanged; checks are made in the order given.
///
/// A message has no lock: it belongs to the thread that builds it.
class PA_API Message {
public:
    /// Types of content, with their numbers on the link.
    enum Type : int {
        LIVE_STREAM = 0,
        RECORDED_STREAM = 1,
        DICTIONARY = 2,
        DISPLAY = 3,
        TTS = 4,
        BGM = 5,
        MIXED = 6,
        NONE = 7,
        TEMPLATE = 8,
        DISPLAY_TEMPLATE = 9,
        TTS_SAF = 10,
        RECORDED_STREAM_SAF = 11,
    };
    /// Encoding of a spoken text. `ISO_8859_1` is refused.
    enum TextEncoding : int { ISO_8859_1 = 0, UTF_8 = 1 };
    /// Encoding of an uploaded file. Accepted and not used.
    enum AudioEncoding : int { L16_48K = 0, L16_16k = 1, L24_48K = 2, L24_16K = 3 };

    /// Display-template variables: the values of each key.
    using DisplayVariables = std::map<std::string, std::vector<DISPLAY_VALUE_INFO>>;

    /// An empty message: both types `NONE`, absolute priority 500, no chimes, played once.
    Message();
    /// A copy, also of whether it has been played.
    Message(const Message&);
    /// As the copy.
    Message& operator=(const Message&);
    /// What has been moved from can be assigned or destroyed.
    Message(Message&&) noexcept;
    /// As the move.
    Message& operator=(Message&&) noexcept;
    ~Message();

    /// The id of the play request. One of 6 to 63 characters is used as it is; for any other a new
    /// one is made when the message is played.
    void setRequestID(const std::string& id) { requestId = id; }
    /// The id that was set, empty for none; not changed when the message is played.
    [[nodiscard]] std::string getRequestID() const { return requestId; }

    /// Priority on the server. No range check.
    void setPriority(const MessagePriority& value) { priority = value; }
    /// The priority that was set.
    [[nodiscard]] MessagePriority getPriority() const { return priority; }

    /// Number of the chime before the message, 0 for none.
    void setPreChime(int chime) { preChime = chime; }
    /// Number of the chime before.
    [[nodiscard]] int getPreChime() const { return preChime; }

    /// Number of the chime after the message, 0 for none.
    void setPostChime(int chime) { postChime = chime; }
    /// Number of the chime after.
    [[nodiscard]] int getPostChime() const { return postChime; }

    /// Sets the gain in dB and has it sent in place of the server's default. No range check.
    void setGain(double level) {
        gain = level;
        overrideDefaultGain = true;
    }
    /// dB; not sent while `getOverrideDefaultGain` is false.
    [[nodiscard]] double getGain() const { return gain; }
    /// Whether a gain has been set.
    [[nodiscard]] bool getOverrideDefaultGain() const { return overrideDefaultGain; }

    /// Sets the type of the audio part without any check.
    void setAudioMessageType(Type type) { audioMessageType = type; }
    /// Type of the audio part, `NONE` for none.
    [[nodiscard]] Type getAudioMessageType() const { return audioMessageType; }

    /// Sets the type of the visual part without any check.
    void setVisualMessageType(Type type) { visualMessageType = type; }
    /// Type of the visual part, `NONE` for none.
    [[nodiscard]] Type getVisualMessageType() const { return visualMessageType; }

    /// How often a sequence of dictionary items is played.
    void setRepeatCnt(int count) { repeatCnt = count; }
    /// How often the items are played, 1 unless it was set.
    [[nodiscard]] int getRepeatCnt() const { return repeatCnt; }

    /// Path of the recorded stream on the server, also of a file that is uploaded; empty for none.
    [[nodiscard]] std::string getAudioMessageAbsoluteFilePath() const {
        return recordedStreamAbsoluteFilePathWithName;
    }
    /// The visual text, empty for none.
    [[nodiscard]] std::string getVisualMessageText() const { return displayText; }
    /// The dictionary items that are played.
    [[nodiscard]] std::vector<unsigned> getAudioMessageDictionaryItems() const {
        return audioDictionaryItems;
    }
    /// The visual dictionary items.
    [[nodiscard]] std::vector<unsigned> getVisualMessageDictionaryItems() const {
        return displayDictionaryItems;
    }

    /// @name The first spoken text
    /// Empty texts, 48000 Hz and UTF-8 when there is none.
    /// @{
    /// The text.
    /// The text.
    [[nodiscard]] std::string getAudioMessageTTSText() const;
    /// Its language.
    [[nodiscard]] std::string getAudioMessageTTSLanguage() const;
    /// Its voice.
    [[nodiscard]] std::string getAudioMessageTTSVoice() const;
    /// Hz.
    [[nodiscard]] int getAudioMessageTTSRate() const;
    /// Its encoding.
    [[nodiscard]] TextEncoding getAudioMessageTTSEncoding() const;
    /// @}

    /// Every spoken text, with its language and voice.
    [[nodiscard]] std::vector<TTSVocalizer> getAudioMessageTTSList() const;

    /// How long a display template is shown, in seconds; negative for no end, and without one.
    [[nodiscard]] int getVisualMessageValidity() const { return displayValidityPeriod; }

    /// A recorded stream that the server holds already.
    /// @throws std::out_of_range    when the path is empty
    /// @throws std::invalid_argument when the audio part has another type
    void setAudioMessage(const std::string& absolutePathWithFileName);

    /// A local file, uploaded when the message is played.
    /// @param path     its file name is what follows the last slash or backslash
    /// @param encoding accepted and not used
    /// @throws std::out_of_range    when the path is empty
    /// @throws std::invalid_argument when the audio part has another type, `RECORDED_STREAM_SAF`
    ///                               included
    void setAudioMessage(const std::string& path, AudioEncoding encoding);

    /// Not available.
    /// @throws std::invalid_argument always
    [[noreturn]] void setAudioMessage(const std::string& templateName,
                                      const std::map<std::string, std::string>& arguments);

    /// Dictionary items, played one after the other.
    /// @throws std::out_of_range    when there is none
    /// @throws std::invalid_argument when the audio part has another type
    void setAudioMessage(const std::vector<unsigned>& dictionaryItems);

    /// The same, for a list in braces: `setAudioMessage({12, 40})`.
    void setAudioMessage(std::initializer_list<unsigned> dictionaryItems) {
        setAudioMessage(std::vector<unsigned>(dictionaryItems));
    }

    /// Adds one text to be spoken; several are spoken in turn. The vocalizer must be known to the
    /// controller at 48000 Hz, except on an indirect connection. Takes the controller's mutex.
    /// @throws std::invalid_argument when the audio part has another type
    /// @throws std::out_of_range    when text, language or voice is empty, the encoding is not
    ///                               UTF-8, or no such vocalizer is known
    void setAudioMessage(const std::string& text, const std::string& language,
                         const std::string& voice, TextEncoding encoding);

    /// Adds each text as above; port and rate of the elements are not used. When one is refused,
    /// those before it stay.
    void setAudioMessage(const std::vector<TTSVocalizer>& texts);

    /// A visual text.
    /// @throws std::out_of_range    when it is empty
    /// @throws std::invalid_argument when there are visual dictionary items, or the visual part has
    ///                               another type
    void setVisualMessage(const std::string& text);

    /// Visual dictionary items.
    /// @throws std::out_of_range    when there is none
    /// @throws std::invalid_argument when there is a visual text, or the part has another type
    void setVisualMessage(const std::vector<unsigned>& dictionaryItems);

    /// The same, for a list in braces: `setVisualMessage({4, 5})`.
    void setVisualMessage(std::initializer_list<unsigned> dictionaryItems) {
        setVisualMessage(std::vector<unsigned>(dictionaryItems));
    }

    /// A display template with its variables. Of the visual contents only this one reaches the
    /// server.
    /// @param templateName the screen, sent as the variable "{SCREEN}"; empty for none
    /// @param variables    keys are sent unchanged: one with a quote, a backslash or a control
    ///                     character makes a request that the server cannot read
    /// @param validity     in seconds
    /// @throws std::invalid_argument when the visual part has another type
    void setVisualMessage(const std::string& templateName, const DisplayVariables& variables,
                          int validity);

    /// Sends the message to the zones. Returns at once, except for the upload of a local file,
    /// whose failure is reported through `onMessageDelete`, on the calling thread, with the request
    /// id only; the message can then be played again. Does not take the controller's mutex.
    /// @return the request id under which it was sent
    /// @throws std::invalid_argument when it has been played, or has neither part
    std::string playAnnouncement(const std::vector<std::string>& zones);

    /// Asks the server for the audio of the first spoken text. Returns at once; the observers are
    /// notified through `onAudioMessageRetrievalComplete`, at the latest in the worker's first pass
    /// after 90 s; retrievals that wait at a reconnection are not reported. The message itself is
    /// not changed. Takes the controller's mutex, once the request is queued: an answer that comes
    /// before that is reported under the item's UUID, and the request expires.
    /// @return the request id that the observers will receive
    /// @throws std::invalid_argument when the audio part is not `TTS`, or there is no text
    std::string retrieveAudioMessage() const;

    /// Whether they agree in everything, also in whether they have been played.
    friend PA_API bool operator==(const Message& a, const Message& b);
    friend bool operator!=(const Message& a, const Message& b) { return !(a == b); }

private:
    std::string requestIdToUse() const;

    std::string requestId;
    MessagePriority priority;
    int preChime = 0;
    int postChime = 0;
    double gain = 0.0;  // dB, sent only when overrideDefaultGain is set
    bool overrideDefaultGain = false;
    Type audioMessageType = NONE;
    Type visualMessageType = NONE;
    std::vector<unsigned> audioDictionaryItems;
    std::vector<TTSVocalizer> ttsList;
    std::string recordedStreamAbsoluteFilePathWithName;  // path on the server
    std::string pathToRecordedStreamToUpload;            // local file, empty when there is none
    std::string displayText;
    std::vector<unsigned> displayDictionaryItems;
    bool playedOnce = false;
    int repeatCnt = 1;
    DisplayVariables displayKeyValueList;
    int displayValidityPeriod = -1;  // seconds
};

/// A text-to-speech port: one language and voice that the server can speak at one rate. In a
/// message or a schedule, one text to be spoken on it. A plain value.
struct TTSVocalizer {
    /// The one rate, in Hz, at which messages and schedules are spoken.
    static constexpr int usableRate = 48000;

    int portNo = 0;                                   ///< port number on the server
    std::string text;                                 ///< text to be spoken
    std::string language;                             ///< as the server spells it
    std::string voice;                                ///< as the server spells it
    int rate = usableRate;                            ///< sample rate, Hz
    Message::TextEncoding encoding = Message::UTF_8;  ///< of `text`

    friend bool operator==(const TTSVocalizer& a, const TTSVocalizer& b) {
        return a.portNo == b.portNo && a.text == b.text && a.language == b.language &&
               a.voice == b.voice && a.rate == b.rate && a.encoding == b.encoding;
    }
    friend bool operator!=(const TTSVocalizer& a, const TTSVocalizer& b) { return !(a == b); }
};
