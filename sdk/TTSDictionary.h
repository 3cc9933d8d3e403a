// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <ctime>
#include <string>

#include "../framework/timeWidth.h"

/// A text that the server has rendered to audio. A plain value.
struct TTSDictionary {
    int key = 0;           ///< item number
    int portNo = 0;        ///< port that rendered it, -1 when the rendering failed
    std::string text;      ///< what was rendered
    std::string fullName;  ///< of the audio item on the server
    std::string size;      ///< in the server's format
    std::string checksum;  ///< in the server's format
    std::string uuid;      ///< of the audio item, given by the server
    std::string uri;       ///< where the audio can be retrieved

    friend bool operator==(const TTSDictionary& a, const TTSDictionary& b) {
        return a.key == b.key && a.portNo == b.portNo && a.text == b.text &&
               a.fullName == b.fullName && a.size == b.size && a.checksum == b.checksum &&
               a.uuid == b.uuid && a.uri == b.uri;
    }
    friend bool operator!=(const TTSDictionary& a, const TTSDictionary& b) { return !(a == b); }
};

/// A spoken preview that waits for its audio. A plain value.
struct TTSPendingInfo {
    TTSPendingInfo() = default;
    /// All members, in their order.
    TTSPendingInfo(int port, const std::string& textLanguage, const std::string& textVoice,
                   int sampleRate, const std::string& textToRender, std::time_t requestedAt)
        : portNo(port),
          language(textLanguage),
          voice(textVoice),
          rate(sampleRate),
          text(textToRender),
          startTime(requestedAt) {}

    int portNo = 0;             ///< port it is rendered on
    std::string language;       ///< as the port spells it
    std::string voice;          ///< as the port spells it
    int rate = 0;               ///< Hz
    std::string text;           ///< what is to be rendered
    std::time_t startTime = 0;  ///< when it was requested, seconds since 1970 UTC

    friend bool operator==(const TTSPendingInfo& a, const TTSPendingInfo& b) {
        return a.portNo == b.portNo && a.language == b.language && a.voice == b.voice &&
               a.rate == b.rate && a.text == b.text && a.startTime == b.startTime;
    }
    friend bool operator!=(const TTSPendingInfo& a, const TTSPendingInfo& b) { return !(a == b); }
};
