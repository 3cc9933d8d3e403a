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
    station.voices = {{7, "en", "Ann", 48000, ""}, {8, "en", "Bob", 22050, ""}};
    station.recordings = {{"/srv/evacuation.wav", 24s}};
    simserver::Sink east;
    east.id = 5;
    east.zones = {"Hall/East"};
    simserver::Sink hall;
    hall.id = 6;
    hall.zones = {"Yard", "Hall"};
    station.sinks = {east, hall};
    simserver::Source microphone;
    microphone.id = 9;
    microphone.attachedZones = {"Yard", "Hall/East"};
    station.sources = {microphone};
    return station;
}
