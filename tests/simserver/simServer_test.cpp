#include <cmath>
#include <stdexcept>

#include "tests/simserver/Replay.h"

namespace {

using namespace simserver;

TEST_F(ServerTest, ReportsARequestFromArrivalToEnd) {
    // What is heard goes before what is shown; who comes again is told how things stand; a sink of
    // the hall as a whole stays quiet while only its east is played to.
    replay(R"~(
connect | connected: Small 330 / source: 9 1  0 / attached: 9 - / sink: 5 1, 6 1
    / zone: 1 None, 2 None, 3 None, 4 None, 5 None / port: 7, 8 / complete: .
92/17 "a",0,500,"2,ip,\"Hall\",12!2,,1^0^0","3,ip,Yard,\"Hi\",,0^0^0"
    | part: 1 a Queued, 2 a Queued, 1 Playing, 2 Playing / sink: 5 2, 6 2
    / zone: 1 Dictionary, 2 Dictionary, 3 Dictionary, 5 Display
+2499 |
+1 | part: 1 Finished 0 "played to its end" gone / sink: 5 1, 6 1 / zone: 1 None, 2 None, 3 None
92/17 "b",0,500,"2,ip,\"Yard\"^\"Hall/East\",12!1,,0^0^0" | part: 3 b Queued Playing
    / sink: 5 2, 6 2 / zone: 2 Dictionary, 5 Dictionary
disconnect |
92/18 "nobody hears why not" |
+500 |
connect | connected: Small 330 / source: 9 1  0 / attached: 9 - / sink: 5 2, 6 2
    / zone: 1 None, 2 Dictionary, 3 None, 4 None, 5 Dictionary / port: 7, 8
    / part: 2 Playing, 3 Playing / complete: .
+500 | part: 3 Finished 0 "played to its end" gone / sink: 5 1, 6 1 / zone: 2 None, 5 Display
92/18 "",3 | part: 2 Cancelled 1 "cancelled with all of type Display" gone / zone: 5 None
)~");
}

TEST_F(ServerTest, ReportsEveryOtherEndAndRefusesWithAReason) {
    take("connect");
    client.told();
    // A request without an id is given a free one; another type is a change of the zones alone.
    replay(R"~(
92/17 "server-1",0,500,"2,ip,\"Hall/East\"^\"Hallway\",12!0,,0^0^0"
    | part: 1 server-1 Queued Playing / sink: 5 2 / zone: 2 Dictionary, 4 Dictionary
92/17 "",1,1,"1,ip,\"Hall/East\"^\"Hallway\",3^/srv/evacuation.wav,,0^0^0"
    | part: 2 server-2 Queued, 1 Pre-empted 2 "pre-empted by server-2 (Relative +1)" gone,
    2 Playing / zone: 2 Recorded, 4 Recorded
92/17 "server-2",0,500,"2,ip,\"Yard\",12!1,,0^0^0"
    | refused: 92/17 [server-2] request "server-2" is active already
92/18 "server-2",2 | refused: 92/18 [] expected either a request id or "",type
92/18 "",12 | refused: 92/18 [] unknown announcement type 12
92/18 "",4 | refused: 92/18 [] no announcement of type TTS is active
92/18 "server-2" | part: 2 Cancelled 1 "cancelled" gone / sink: 5 1 / zone: 2 None, 4 None
92/18 "server-2" | refused: 92/18 [server-2] no announcement "server-2" is active
92/17 "r",0,500,"1,ip,\"Yard\",3^/tmp/a.wav,,0^0^0"
    | part: 3 r Queued Failed 3 "\"/tmp/a.wav\" is not on this server" gone
92/17 "r",0,500,"9,ip,\"Yard\",\"{\\\"kvPairs\\\":{\\\"K\\\":
    {\\\"type\\\":\\\"literal\\\",\\\"values\\\":[]}},\\\"validity\\\":0}\",,0^0^0"
    | part: 4 r Queued Playing / zone: 5 Display template
    / part: 4 Finished 0 "played to its end" gone / zone: 5 None
92/17 "r",0,500,"3,ip,Yard,\"Hi\",,0^0^0","2,ip,\"Yard\",12!1,,0^12^0"
    | refused: 92/17 [r] unknown chime 12
92/17 "r",0,500,"2,ip" | refused: 92/17 [r] part 1: 2 fields; expected
    type,origin,zones,content,gain,chimes
92/21 9,"Yard" | refused: 92/21 [] this operation is not simulated
78/17 "r",0,500,"2,ip,\"Yard\",12!1,,0^0^0" | refused: 78/17 [] this operation is not simulated
)~");
}

TEST(SimServer, RefusesASpeedThatIsNone) {
    for (const double speed : {0.0, -1.0, std::nan(""), HUGE_VAL}) {
        EXPECT_THROW(SimServer(smallStation(), {speed, true, {}}), std::invalid_argument);
    }
}

}  // namespace
