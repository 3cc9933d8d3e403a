#pragma once

#include "framework/clock.h"
#include "tests/simserver/Replay.h"
#include "tests/simserver/SmallStation.h"

namespace simserver {

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
    const auto add = [&station](int id, int source, int selector, int priority) {
        Trigger trigger;
        trigger.id = id;
        trigger.source = source;
        trigger.selector = selector;
        trigger.priority = priority;
        station.triggers.push_back(trigger);
    };
    add(1, 9, 4, 700);
    add(2, 9, 4, 710);
    add(3, 120, 0, 300);
    station.triggers[2].timetable = {{0s, 5s}, {20s, 30s}};
    station.triggers[2].repeatEvery = 60s;
    return station;
}

struct OperatingTest : ServerTest {
    OperatingTest() : ServerTest(operatedStation()) {
        setTimeSource({nullptr, [] { return realMS; }, nullptr});
        server.connectClient(client);
        take("+5000");  // the timetable's first stretch
        client.told();
    }
    ~OperatingTest() override { setTimeSource({}); }

    /// As of the base; and "real MS" lets real time pass.
    void take(const std::string& step) override {
        if (step.rfind("real ", 0) == 0) {
            realMS += std::stoll(step.substr(5));
            server.advance(std::chrono::milliseconds(0));
        } else {
            ServerTest::take(step);
        }
    }

    static inline std::int64_t realMS = 1'000'000;
};

}  // namespace simserver
