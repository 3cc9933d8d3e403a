#include "simserver/SimServer.h"

#include <cmath>
#include <gtest/gtest.h>
#include <stdexcept>

#include "tests/simserver/Replay.h"
#include "tests/simserver/SmallStation.h"

namespace {

using namespace simserver;

struct SimServerTest : ServerTest {
    SimServerTest() : ServerTest(smallStation()) {}
};

TEST_F(SimServerTest, ReportsARequestFromArrivalToEnd) {
    // What is heard goes before what is shown; who comes again is told how things stand; a sink of
    // the hall as a whole stays quiet while only its east is played to.
    replay(R"~(
> connect
connected: 330 Small / 2: 9 1  0 / 6: 9 - / 3: 5 1 0, 6 1 0
    / 20: 1 Idle None, 2 Idle None, 3 Idle None, 4 Idle None, 5 Idle None / 101: 7, 8 / complete: .
> 92/17 "a",0,500,"2,ip,\"Hall\",12!2,,1^0^0","3,ip,Yard,\"Hi\",,0^0^0"
11: 1 "a" Queued, 2 "a" Queued, 1 "a" Playing, 2 "a" Playing / 3: 5 2 1, 6 2 1
    / 20: 1 Active Dictionary, 2 Active Dictionary, 3 Active Dictionary, 5 Active Display
> +2499

> +1
11: 1 "a" Finished 0 "played to its end", 1 gone / 3: 5 1 0, 6 1 0
    / 20: 1 Idle None, 2 Idle None, 3 Idle None
> 92/17 "b",0,500,"2,ip,\"Yard\"^\"Hall/East\",12!1,,0^0^0"
11: 3 "b" Queued, 3 "b" Playing / 3: 5 2 1, 6 2 1 / 20: 2 Active Dictionary, 5 Active Dictionary
> disconnect

> 92/18 "nobody hears why not"

> +500

> connect
connected: 330 Small / 2: 9 1  0 / 6: 9 - / 3: 5 2 1, 6 2 1
    / 20: 1 Idle None, 2 Active Dictionary, 3 Idle None, 4 Idle None, 5 Active Dictionary
    / 101: 7, 8 / 11: 2 "a" Playing, 3 "b" Playing / complete: .
> +500
11: 3 "b" Finished 0 "played to its end", 3 gone / 3: 5 1 0, 6 1 0
    / 20: 2 Idle None, 5 Active Display
> 92/18 "",3
11: 2 "a" Cancelled 1 "cancelled with all of type Display", 2 gone / 20: 5 Idle None
)~");
}

TEST_F(SimServerTest, ReportsEveryOtherEndAndRefusesWithAReason) {
    server.connectClient(client);
    client.told();
    // A request without an id is given a free one; another type is a change of the zones alone.
    replay(R"~(
> 92/17 "server-1",0,500,"2,ip,\"Hall/East\"^\"Hallway\",12!0,,0^0^0"
11: 1 "server-1" Queued, 1 "server-1" Playing / 3: 5 2 1
    / 20: 2 Active Dictionary, 4 Active Dictionary
> 92/17 "",1,1,"1,ip,\"Hall/East\"^\"Hallway\",3^/srv/evacuation.wav,,0^0^0"
11: 2 "server-2" Queued, 1 "server-1" Pre-empted 2 "pre-empted by server-2 (Relative +1)", 1 gone,
    2 "server-2" Playing / 20: 2 Active Recorded, 4 Active Recorded
> 92/17 "server-2",0,500,"2,ip,\"Yard\",12!1,,0^0^0"
refused: 92/17 [server-2] request "server-2" is active already
> 92/18 "",4
refused: 92/18 [] no announcement of type TTS is active
> 92/18 "server-2"
11: 2 "server-2" Cancelled 1 "cancelled", 2 gone / 3: 5 1 0 / 20: 2 Idle None, 4 Idle None
> 92/18 "server-2"
refused: 92/18 [server-2] no announcement "server-2" is active
> 92/17 "r",0,500,"1,ip,\"Yard\",3^/tmp/a.wav,,0^0^0"
11: 3 "r" Queued, 3 "r" Failed 3 "\"/tmp/a.wav\" is not on this server", 3 gone
> 92/17 "r",0,500,"9,ip,\"Yard\",\"{\\\"kvPairs\\\":{\\\"K\\\":
    {\\\"type\\\":\\\"literal\\\",\\\"values\\\":[]}},\\\"validity\\\":0}\",,0^0^0"
11: 4 "r" Queued, 4 "r" Playing / 20: 5 Active Display template
    / 11: 4 "r" Finished 0 "played to its end", 4 gone / 20: 5 Idle None
> 92/17 "r",0,500,"3,ip,Yard,\"Hi\",,0^0^0","2,ip,\"Yard\",12!1,,0^12^0"
refused: 92/17 [r] unknown chime 12
> 92/17 "r",0,500,"2,ip"
refused: 92/17 [r] part 1: 2 fields; expected type,origin,zones,content,gain,chimes
> 92/21 9,"Yard"
refused: 92/21 [] this operation is not simulated
> 78/17 "r",0,500,"2,ip,\"Yard\",12!1,,0^0^0"
refused: 78/17 [] this operation is not simulated
)~");
}

TEST(SimServer, RefusesASpeedThatIsNone) {
    for (const double speed : {0.0, -1.0, std::nan(""), HUGE_VAL}) {
        EXPECT_THROW(SimServer(smallStation(), {speed, true, {}}), std::invalid_argument);
    }
}

}  // namespace
