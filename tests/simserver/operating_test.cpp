#include "tests/simserver/Replay.h"

namespace {

using namespace simserver;

TEST_F(OperatingTest, LocksASourceForOneClient) {
    replay(R"~(
92/1 9,client-1 | source: 9 1 client-1 -10
lock 9 client-2 | source 9 is locked by another client
unlock 9 client-2 | source 9 is locked by another client
92/7 9,client-2 | refused: 92/7 [] source 9 is locked by another client
real 29999 |
92/7 9,client-1 |
real 29999 |
92/1 9,client-1 | source: 9 1 client-1 -10
real 29999 |
renewals 0 |
requests 0 |
92/9 9,42,0,0 |
meter 0 1 |
+100 |
other 92/9 9,-10,0,0 | source: 9 1 client-1 -10 / other: done
requests 1 |
92/7 9,client-1 |
real 1 | source: 9 1  -10
92/7 9,client-1 |
renewals 1 |
92/7 9,client-1 | refused: 92/7 [] source 9 is not locked
lock 9 client-2 | source: 9 1 client-2 -10
92/1 9,client-1 | refused: 92/1 [] source 9 is locked by another client
disconnect |
unlock 9 client-2 |
connect | connected: Small 330 / source: 9 1  -10, 120 2  -10
    / attached: 9 -, 120 "\"Hallway\"" / sink: 5 1, 6 1
    / zone: 1 None, 2 None, 3 None, 4 None, 5 None / trigger: 1 1, 2 1, 3 1 / selector: 4 1
    / port: 7, 8 / complete: .
)~");
}

TEST_F(OperatingTest, PlaysALockedSourceInItsZones) {
    replay(R"~(
92/3 9,"Hall/East"^"Yard"^"Yard" | attached: 9 "\"Hall/East\"^\"Yard\"" / source: 9 2  -10
92/1 9,c | source: 9 2 c -10 / part: 2 server-2 Queued Playing / sink: 5 2, 6 2
    / zone: 2 Live, 5 Live
92/17 "h",0,551,"2,ip,\"Hall/East\"^\"Yard\",12!1,,0^0^0"
    | part: 3 h Queued, 2 server-2 Queued, 3 Playing / zone: 2 Dictionary, 5 Dictionary
+1000 | part: 3 Finished 0 "played to its end" deleted, 2 Playing / zone: 2 Live, 5 Live
92/17 "l",0,549,"2,ip,\"Yard\",12!1,,0^0^0" | part: 4 l Queued
92/3 9,"Yard" |
92/4 9,"Yard" | attached: 9 "\"Hall/East\"" / source: 9 2 c -10 / part: 2 Playing, 4 Playing
    / zone: 5 Dictionary
92/4 9 | attached: 9 - / source: 9 1 c -10 / part: 2 Finished 0 "no zone is attached to source 9"
    deleted / sink: 5 1 / zone: 2 None
+1000 | part: 4 Finished 0 "played to its end" deleted / sink: 6 1 / zone: 5 None
92/3 9,"Hall/East" | attached: 9 "\"Hall/East\"" / source: 9 2 c -10
    / part: 5 server-3 Queued Playing / sink: 5 2 / zone: 2 Live
92/2 9,c | source: 9 2  -10 / part: 5 Finished 0 "source 9 is released" deleted / sink: 5 1
    / zone: 2 None
92/1 9,c | source: 9 2 c -10 / part: 6 server-4 Queued Playing / sink: 5 2 / zone: 2 Live
92/18 "",0 | part: 6 Cancelled 1 "cancelled with all of type Live" deleted / sink: 5 1 / zone: 2 None
92/1 9,c | source: 9 2 c -10
92/3 9,"Yard" | attached: 9 "\"Hall/East\"^\"Yard\"" / source: 9 2 c -10
    / part: 7 server-5 Queued Playing / sink: 5 2, 6 2 / zone: 2 Live, 5 Live
real 30000 | source: 9 2  -10 / part: 7 Finished 0 "the lock of source 9 has lapsed" deleted
    / sink: 5 1, 6 1 / zone: 2 None, 5 None
)~");
}

TEST_F(OperatingTest, PlaysByTriggersAndSelectors) {
    replay(R"~(
trigger 1 1 | trigger: 1 2 / part: 2 server-2 Queued Playing / selector: 4 2 / sink: 6 2
    / zone: 5 Live
trigger 1 1 |
trigger 2 1 | trigger: 2 2 / part: 3 server-3 Queued, 2 server-2 Queued, 3 Playing
trigger 2 0 | trigger: 2 1 / part: 3 Finished 0 "trigger 2 is inactive again" deleted, 2 Playing
selector 4 3 | selector: 4 3 / part: 2 Finished 0 "selector 4 is disabled" deleted / sink: 6 1
    / zone: 5 None
selector 4 0 | selector: 4 0 / part: 4 server-4 Queued Playing / sink: 6 2 / zone: 5 Live
trigger 1 0 | trigger: 1 1 / part: 4 Finished 0 "trigger 1 is inactive again" deleted
    / selector: 4 1 / sink: 6 1 / zone: 5 None
selector 4 3 | selector: 4 3
trigger 1 1 | trigger: 1 2
trigger 1 0 | trigger: 1 1
trigger 7 1 | there is no trigger 7
selector 7 1 | there is no selector 7
selector 4 4 | there is no selector state 4
+14999 |
+1 | trigger: 3 2 / part: 5 server-5 Queued Playing / zone: 4 Live
92/4 120 | attached: 120 - / source: 120 1  -10
    / part: 5 Finished 0 "no zone is attached to source 120" deleted / zone: 4 None
92/3 120,"Yard" | attached: 120 "\"Yard\"" / source: 120 2  -10 / part: 6 server-6 Queued Playing
    / sink: 6 2 / zone: 5 Live
+10000 | trigger: 3 1 / part: 6 Finished 0 "trigger 3 is inactive again" deleted / sink: 6 1
    / zone: 5 None
+35000 | trigger: 3 2 / part: 7 server-7 Queued Playing / sink: 6 2 / zone: 5 Live / trigger: 3 1
    / part: 7 Finished 0 "trigger 3 is inactive again" deleted / sink: 6 1 / zone: 5 None
selector 4 1 | selector: 4 1
trigger 1 1 | trigger: 1 2 / part: 8 server-8 Queued Playing / selector: 4 2 / sink: 6 2
    / zone: 5 Live
92/18 "server-8" | part: 8 Cancelled 1 "cancelled" deleted / sink: 6 1 / zone: 5 None
92/3 9,"Hallway" | attached: 9 "\"Hallway\"" / source: 9 2  -10
trigger 1 0 | trigger: 1 1 / selector: 4 1
)~");
}

TEST_F(OperatingTest, PlaysBySoftwareTriggers) {
    replay(R"~(
92/5 9,60 | refused: 92/5 [] no zone is attached to source 9
92/5 120,60,Chime,Mind, "the" gap | part: 2 server-2 Queued, 3 server-2 Queued, 2 Playing,
    3 Playing / zone: 4 Live
92/5 120,60 | refused: 92/5 [] source 120 has been activated by a software trigger already
92/6 120 | part: 2 Finished 0 "the software trigger is inactive again" deleted,
    3 Finished 0 "the software trigger is inactive again" deleted / zone: 4 None
92/6 120 | refused: 92/6 [] no software trigger of source 120 is active
92/5 120,0,1, | part: 4 server-3 Queued Playing / zone: 4 Live
92/18 "server-3" | part: 4 Cancelled 1 "cancelled" deleted / zone: 4 None
92/6 120 | refused: 92/6 [] no software trigger of source 120 is active
92/5 120,100,, | part: 5 server-4 Queued Playing / zone: 4 Live
92/4 120,"Hallway" | attached: 120 - / source: 120 1  -10
    / part: 5 Finished 0 "no zone is attached to source 120" deleted / zone: 4 None
92/3 120,"Hallway" | attached: 120 "\"Hallway\"" / source: 120 2  -10
)~");
}

TEST_F(OperatingTest, ChangesGainsMonitoringAndHealth) {
    EXPECT_EQ(ServerTest::eventsOf("92/9 9,42,0,1"), "source: 9 1  42");
    // A device that is reset is idle until it is healthy again, whatever plays.
    take("trigger 1 1");
    client.events();
    const auto stateAfter = [this](const std::string& given) -> std::string {
        const pa::RecordFields& sink = client.last[{RecordKind::Sink, std::stoi(given)}];
        return ServerTest::eventsOf(given.substr(2)).empty()
                   ? "nothing"
                   : *sink[7] + " " + *sink[11] + " " + *sink[17] + " " + *sink[27];
    };
    expectResults(stateAfter, R"~(
# The sink and a step: its state, gain, health and monitoring.
5 92/8 5,-96,1,0 | 1 -96 1 0
6 92/10 1,6      | 2 0 1 1
6 92/29 6        | 1 0 4 1
6 92/10 0,6      | 1 0 4 0
6 +2999          | nothing
6 +1             | 2 0 1 0
)~");
}

TEST_F(OperatingTest, RefusesFaultsAndChangesNothing) {
    const auto refused = [this](const std::string& operation) {
        const auto why = server.operateAsOther(operationIn(operation));
        EXPECT_EQ(client.events(), "") << operation;
        return why.value_or("done");
    };
    expectResults(refused, R"~(
92/1 9                  | expected source,UUID
92/1 8,a                | there is no source 8
92/1 x,a                | id: "x" is not a number
92/1 9,                 | the client's UUID is missing or malformed
92/1 9,(null)           | the client's UUID is missing or malformed
92/1 9,0123456789012345678901234567890123456789012345678901234567890123 | the client's UUID is missing or malformed
92/3 9                  | expected source,zones
92/3 9,Yard             | zones: not a quoted text
92/3 9,"Yard"^"Cellar"  | unknown zone "Cellar"
92/4 120,"Hallway"^"Yard" | zone "Yard" is not attached to source 120
92/4 120,"Cellar"       | unknown zone "Cellar"
92/4 99999999999        | there is no source 2147483647
92/5 9                  | expected source,priority or source,priority,preChime,displayText
92/5 9,60,1             | expected source,priority or source,priority,preChime,displayText
92/5 120,101            | priority 101 is out of range, expected 0 to 100
92/5 120,-1             | priority -1 is out of range, expected 0 to 100
92/5 120,60,Train,      | unknown chime "Train"
92/8 5,-12.5            | expected id,level,flag,flag
92/8 5,nan,0,0          | level: "nan" is not a number
92/8 5,0.1,0,0          | gain out of range, expected -96 to 0 dB
92/8 5,-96.1,0,0        | gain out of range, expected -96 to 0 dB
92/8 5,0,2,0            | first flag: "2" is neither 0 nor 1
92/8 5,0,0,             | second flag: "" is neither 0 nor 1
92/8 6,0,0,0            | sink 6 has no gain: neither a loudspeaker nor a line output
92/9 9,42.01,0,0        | gain out of range, expected -96 to 42 dB
92/9 9,-96.01,0,0       | gain out of range, expected -96 to 42 dB
92/9 120,0,0,0          | source 120 has no gain: neither an analogue input nor a paging station
92/10 6,1               | flag: "6" is neither 0 nor 1
92/10 1,9               | there is no sink 9
92/29 5                 | sink 5 cannot be reset: neither an interface unit nor a mixer
)~");
}

}  // namespace
