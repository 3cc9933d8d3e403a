#pragma once

#include "simserver/Station.h"

/// A hall with two halves and a yard; item 1 is a chime of 500 ms, items 12 and 40 last 1 s and 2
/// s.
inline simserver::Station smallStation() {
    using namespace std::chrono_literals;
    simserver::Station station;
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
