#pragma once

#include "simserver/station/Station.h"

namespace simserver {

/// A hall with two halves and a yard; item 1 is a chime of 500 ms, items 12 and 40 last 1 s and 2
/// s.
inline Station smallStation() {
    using namespace std::chrono_literals;
    Station station;
    station.name = "Small";
    station.dstNo = 3;
    station.zones = {{"Hall", 1}, {"Hall/East", 1}, {"Hall/West", 2}, {"Hallway", 1}, {"Yard", 1}};
    station.dictionary = {
        {1, "Chime", 500ms, true}, {12, "Train", 1s, false}, {40, "Four", 2s, false}};
    station.voices = {{7, "en", "Ann", 48000, "", ""}, {8, "en", "Bob", 22050, "", ""}};
    station.recordings = {{"/srv/evacuation.wav", 24s}};
    station.sinks.resize(2);
    station.sinks[0].id = 5;
    station.sinks[0].zones = {"Hall/East"};
    station.sinks[1].id = 6;
    station.sinks[1].zones = {"Yard", "Hall"};
    station.sources.resize(1);
    station.sources[0].id = 9;
    return station;
}

/// The small station with a paging station that two triggers open, a computer in an element
/// of its own whose trigger follows a timetable, and a sink that can be reset.
inline Station operatedStation() {
    using namespace std::chrono_literals;
    Station station = smallStation();
    station.sinks[0].type = 1;
    station.sinks[1].type = 9;
    Source& paging = station.sources[0];
    paging.type = 2;
    paging.inputGain = -10.0;
    paging.priority = 550;
    Source computer = paging;
    computer.id = 120;
    computer.type = 3;
    computer.attachedZones = {"Hallway"};
    station.sources.push_back(computer);
    station.selectors.resize(1);
    station.selectors[0].id = 4;
    station.selectors[0].zones = {"Yard"};
    station.triggers.resize(3);
    const int rows[][4] = {{1, 9, 4, 700}, {2, 9, 4, 710}, {3, 120, 0, 300}};
    for (std::size_t i = 0; i < 3; ++i) {
        Trigger& trigger = station.triggers[i];
        trigger.id = rows[i][0];
        trigger.source = rows[i][1];
        trigger.selector = rows[i][2];
        trigger.priority = rows[i][3];
    }
    station.triggers[2].timetable = {{0s, 5s}, {20s, 30s}};
    station.triggers[2].repeatEvery = 60s;
    return station;
}

}  // namespace simserver
