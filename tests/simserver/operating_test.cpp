#include "tests/simserver/OperatingTest.h"
#include "tests/simserver/tables.h"

namespace {

using namespace simserver;

TEST_F(OperatingTest, LocksASourceForOneClient) {
    replay(R"~(
> 92/1 9,client-1
2: 9 1 client-1 -10
> other 92/1 9,client-2
other: source 9 is locked by another client
> other 92/2 9,client-2
other: source 9 is locked by another client
> 92/7 9,client-2
refused: 92/7 [] source 9 is locked by another client
> real 29999

> 92/7 9,client-1

> real 29999

> 92/1 9,client-1
2: 9 1 client-1 -10
> real 29999

> renewals 0

> 92/7 9,client-1

> real 1
2: 9 1  -10
> 92/7 9,client-1

> renewals 1

> 92/7 9,client-1
refused: 92/7 [] source 9 is not locked
> other 92/1 9,client-2
2: 9 1 client-2 -10 / other: done
> 92/1 9,client-1
refused: 92/1 [] source 9 is locked by another client
> disconnect

> connect
connected: 330 Small / 2: 9 1 client-2 -10, 120 2  -10 / 6: 9 -, 120 "\"Hallway\""
    / 3: 5 1 0, 6 1 0 / 20: 1 Idle None, 2 Idle None, 3 Idle None, 4 Idle None, 5 Idle None
    / 4: 1 1, 2 1, 3 1 / 5: 4 1 / 101: 7, 8 / complete: .
> other 92/2 9,client-2
2: 9 1  -10 / other: done
)~");
}

TEST_F(OperatingTest, HasALockedSourceHeardInItsZones) {
    replay(R"~(
> 92/3 9,"Hall/East"^"Yard"^"Yard"
6: 9 "\"Hall/East\"^\"Yard\"" / 2: 9 2  -10
> 92/1 9,c
2: 9 2 c -10 / 11: 2 "server-2" Queued, 2 "server-2" Playing / 3: 5 2 1, 6 2 1
    / 20: 2 Active Live, 5 Active Live
> 92/17 "h",0,551,"2,ip,\"Hall/East\"^\"Yard\",12!1,,0^0^0"
11: 3 "h" Queued, 2 "server-2" Queued, 3 "h" Playing / 20: 2 Active Dictionary, 5 Active Dictionary
> +1000
11: 3 "h" Finished 0 "played to its end", 3 gone, 2 "server-2" Playing
    / 20: 2 Active Live, 5 Active Live
> 92/17 "l",0,549,"2,ip,\"Yard\",12!1,,0^0^0"
11: 4 "l" Queued
> 92/3 9,"Yard"

> 92/4 9,"Yard"
6: 9 "\"Hall/East\"" / 2: 9 2 c -10 / 11: 2 "server-2" Playing, 4 "l" Playing
    / 20: 5 Active Dictionary
> 92/4 9
6: 9 - / 2: 9 1 c -10 / 11: 2 "server-2" Finished 0 "no zone is attached to source 9", 2 gone
    / 3: 5 1 0 / 20: 2 Idle None
> 92/4 9

> +1000
11: 4 "l" Finished 0 "played to its end", 4 gone / 3: 6 1 0 / 20: 5 Idle None
> 92/3 9,"Hall/East"
6: 9 "\"Hall/East\"" / 2: 9 2 c -10 / 11: 5 "server-3" Queued, 5 "server-3" Playing / 3: 5 2 1
    / 20: 2 Active Live
> 92/2 9,c
2: 9 2  -10 / 11: 5 "server-3" Finished 0 "source 9 is released", 5 gone / 3: 5 1 0 / 20: 2 Idle None
> 92/1 9,c
2: 9 2 c -10 / 11: 6 "server-4" Queued, 6 "server-4" Playing / 3: 5 2 1 / 20: 2 Active Live
> 92/18 "",0
11: 6 "server-4" Cancelled 1 "cancelled with all of type Live", 6 gone / 3: 5 1 0 / 20: 2 Idle None
> 92/1 9,c
2: 9 2 c -10
> 92/3 9,"Yard"
6: 9 "\"Hall/East\"^\"Yard\"" / 2: 9 2 c -10 / 11: 7 "server-5" Queued, 7 "server-5" Playing
    / 3: 5 2 1, 6 2 1 / 20: 2 Active Live, 5 Active Live
> real 30000
2: 9 2  -10 / 11: 7 "server-5" Finished 0 "the lock of source 9 has lapsed", 7 gone
    / 3: 5 1 0, 6 1 0 / 20: 2 Idle None, 5 Idle None
)~");
}

TEST_F(OperatingTest, ChangesGainsMonitoringAndHealth) {
    const auto said = [this](palink::RecordKind kind, int key, std::size_t place) {
        return client.last[{kind, key}].at(place).value_or("-");
    };
    using palink::RecordKind;
    replay(R"~(
> 92/8 5,-96,1,0
3: 5 1 0
> 92/9 9,42,0,1
2: 9 1  42
> 92/10 1,6
3: 6 1 0
)~");
    EXPECT_EQ(said(RecordKind::Sink, 5, 11), "-96");
    EXPECT_EQ(said(RecordKind::Sink, 6, 27), "1");

    // A device that is reset is silent until it is back, whatever plays.
    replay(R"~(
> 92/10 0,6
3: 6 1 0
> trigger 1 1
4: 1 2 / 11: 2 "server-2" Queued, 2 "server-2" Playing / 5: 4 2 / 3: 6 2 1 / 20: 5 Active Live
> 92/29 6
3: 6 1 0
)~");
    EXPECT_EQ(said(RecordKind::Sink, 6, 27), "0");
    EXPECT_EQ(said(RecordKind::Sink, 6, 17), "4");
    replay(R"~(
> +2999

> +1
3: 6 2 1
)~");
    EXPECT_EQ(said(RecordKind::Sink, 6, 17), "1");
}

TEST_F(OperatingTest, RefusesWhatIsWrongAndChangesNothing) {
    const auto refused = [this](const std::string& operation) {
        const auto why = server.operateAsOther(operationIn(operation));
        EXPECT_EQ(client.told(), "") << operation;
        return why.value_or("done");
    };
    expectResults(refused, R"~(
92/1 9                  | expected source,UUID
92/1 9,a,b              | expected source,UUID
92/1 8,a                | there is no source 8
92/1 x,a                | id: "x" is not a number
92/1 9,                 | the client's UUID is missing or malformed
92/1 9,(null)           | the client's UUID is missing or malformed
92/1 9,0123456789012345678901234567890123456789012345678901234567890123 | the client's UUID is missing or malformed
92/2 9,a                | source 9 is not locked
92/3 9                  | expected source,zones
92/3 9,Yard             | zones: not a quoted text
92/3 9,                 | zones: not a quoted text
92/3 9,"Yard"^"Cellar"  | unknown zone "Cellar"
92/4 120,"Hallway"^"Yard" | zone "Yard" is not attached to source 120
92/4 120,"Cellar"       | unknown zone "Cellar"
92/4 99999999999        | there is no source 2147483647
92/5 9                  | expected source,priority or source,priority,preChime,displayText
92/5 9,60,1             | expected source,priority or source,priority,preChime,displayText
92/5 120,101            | priority 101 is out of range, expected 0 to 100
92/5 120,-1             | priority -1 is out of range, expected 0 to 100
92/5 120,60,Train,      | unknown chime "Train"
92/6 9,60               | id: "9,60" is not a number
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
92/29                   | id: "" is not a number
)~");
}

}  // namespace
