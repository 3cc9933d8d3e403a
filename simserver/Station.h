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
};

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

struct Voice {
    int port = 0;  ///< key of its record as well
    std::string language;
    std::string voice;
    int rate = 48000;  ///< Hz
    std::string text;  ///< what the port says of itself
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

struct Station {
    std::string name;
    int dstNo = 1;  ///< destination number, of the local and of the active server alike
    std::vector<Source> sources;
    std::vector<Sink> sinks;
    std::vector<Zone> zones;
    std::vector<Voice> voices;
    std::vector<DictionaryItem> dictionary;
    std::vector<Recording> recordings;
};

}  // namespace simserver
