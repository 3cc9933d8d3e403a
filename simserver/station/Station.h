// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <string>
#include <vector>

/// @file
/// A station: everything that the simulated server holds. Plain values; `loadStation` checks them.
/// Numbers of types and states are those of the records.

namespace simserver {

struct Source {
    int id = 0;  ///< key of its records as well
    std::string location;
    std::string label;
    std::string ipAddress;
    int type = 0;
    std::string subAddress;
    double inputGain = 0.0;  ///< dB
    int broadcastType = 0;
    int health = 1;
    std::vector<std::string> attachedZones;
    int priority = 500;  ///< level of its announcements while a client holds its lock
};

/// @name Health of sinks and zones
/// @{
constexpr int healthyHealth = 1;
constexpr int inactiveHealth = 4;  ///< the device is out of action
/// @}

struct Sink {
    int id = 0;  ///< key of its records as well
    std::string location;
    std::string label;
    std::string ipAddress;
    int type = 0;
    std::string ampPorts;
    double outputGain = 0.0;  ///< dB
    int muteState = 1;
    int monitoringSinkId = 0;  ///< the sink that monitors this one, 0 for none
    int health = 1;
    std::vector<std::string> zones;
    bool monitoringEnabled = false;
    std::vector<std::string> monitoringZones;
    std::string mediaLog;
};

/// Its record's key is its place in the list, from 1.
struct Zone {
    std::string id;  ///< a sub-zone's id is its parent's id, a slash, and its own part
    int health = 1;
};

/// An interval of simulated time, since the server started.
struct Interval {
    std::chrono::milliseconds from{0};
    std::chrono::milliseconds to{0};
};

/// A contact that opens a source, of a button or a telephone.
struct Trigger {
    int id = 0;  ///< key of its records as well
    int source = 0;
    int selector = 0;  ///< gives the zones; 0: the zones that are attached to the source
    std::string label;
    int type = 1;
    std::string subAddress;
    int priority = 500;
    std::vector<Interval> timetable;           ///< when it is active, in ascending order
    std::chrono::milliseconds repeatEvery{0};  ///< the timetable begins again; 0: never
    bool active = false;
};

/// Chooses zones for a source.
struct Selector {
    int id = 0;  ///< key of its records as well
    int source = 0;
    std::string label;
    int type = 1;
    std::string number;
    int protection = 0;
    int mode = 0;
    int dynamicRestriction = 0;
    int state = 1;
    std::vector<std::string> zones;
};

struct Voice {
    int port = 0;  ///< key of its record as well
    std::string language;
    std::string voice;
    int rate = 48000;         ///< Hz
    std::string text;         ///< description of the port
    std::string synthesizer;  ///< voice of espeak-ng; empty: the one with the name of the language
};

struct DictionaryItem {
    int item = 0;
    std::string text;
    std::chrono::milliseconds duration{0};
    bool chime = false;  ///< may be played before and after an announcement
};

/// A recorded stream that the server has without an upload.
struct Recording {
    std::string path;
    std::chrono::milliseconds duration{0};
};

/// The sound of user recordings: the beginning of a file, repeated, or a tone.
struct Microphone {
    std::string file;  ///< path, empty for the tone
    int tone = 440;    ///< Hz
};

struct Station {
    std::string name;
    std::string timeZone = "UTC";  ///< of its schedules
    int dstNo = 1;  ///< destination number, of the local and of the active server alike
    std::vector<Source> sources;
    std::vector<Sink> sinks;
    std::vector<Zone> zones;
    std::vector<Trigger> triggers;
    std::vector<Selector> selectors;
    std::vector<Voice> voices;
    std::vector<DictionaryItem> dictionary;
    std::vector<Recording> recordings;
    int longestPreview = 60;  ///< seconds; a text that takes longer is refused
    Microphone microphone;
};

}  // namespace simserver
