#include "tests/simserver/OperatingTest.h"

namespace {

using namespace simserver;

TEST_F(OperatingTest, PlaysByTriggersAndSelectors) {
    replay(R"~(
> trigger 1 1
4: 1 2 / 11: 2 "server-2" Queued, 2 "server-2" Playing / 5: 4 2 / 3: 6 2 1 / 20: 5 Active Live
> trigger 1 1

> trigger 2 1
4: 2 2 / 11: 3 "server-3" Queued, 2 "server-2" Queued, 3 "server-3" Playing
> trigger 2 0
4: 2 1 / 11: 3 "server-3" Finished 0 "trigger 2 is inactive again", 3 gone, 2 "server-2" Playing
> selector 4 3
5: 4 3 / 11: 2 "server-2" Finished 0 "selector 4 is disabled", 2 gone / 3: 6 1 0 / 20: 5 Idle None
> selector 4 0
5: 4 0 / 11: 4 "server-4" Queued, 4 "server-4" Playing / 3: 6 2 1 / 20: 5 Active Live
> trigger 1 0
4: 1 1 / 11: 4 "server-4" Finished 0 "trigger 1 is inactive again", 4 gone / 5: 4 1 / 3: 6 1 0
    / 20: 5 Idle None
> selector 4 3
5: 4 3
> trigger 1 1
4: 1 2
> trigger 1 0
4: 1 1
> trigger 7 1
refused: there is no trigger 7
> selector 7 1
refused: there is no selector 7
> selector 4 4
refused: there is no selector state 4
> +14999

> +1
4: 3 2 / 11: 5 "server-5" Queued, 5 "server-5" Playing / 20: 4 Active Live
> 92/4 120
6: 120 - / 2: 120 1  -10 / 11: 5 "server-5" Finished 0 "no zone is attached to source 120", 5 gone
    / 20: 4 Idle None
> 92/3 120,"Yard"
6: 120 "\"Yard\"" / 2: 120 2  -10 / 11: 6 "server-6" Queued, 6 "server-6" Playing / 3: 6 2 1
    / 20: 5 Active Live
> +10000
4: 3 1 / 11: 6 "server-6" Finished 0 "trigger 3 is inactive again", 6 gone / 3: 6 1 0
    / 20: 5 Idle None
> +35000
4: 3 2 / 11: 7 "server-7" Queued, 7 "server-7" Playing / 3: 6 2 1 / 20: 5 Active Live
    / 4: 3 1 / 11: 7 "server-7" Finished 0 "trigger 3 is inactive again", 7 gone / 3: 6 1 0
    / 20: 5 Idle None
> selector 4 1
5: 4 1
> trigger 1 1
4: 1 2 / 11: 8 "server-8" Queued, 8 "server-8" Playing / 5: 4 2 / 3: 6 2 1 / 20: 5 Active Live
> 92/18 "server-8"
11: 8 "server-8" Cancelled 1 "cancelled", 8 gone / 3: 6 1 0 / 20: 5 Idle None
> 92/3 9,"Hallway"
6: 9 "\"Hallway\"" / 2: 9 2  -10
> trigger 1 0
4: 1 1 / 5: 4 1
)~");
}

TEST_F(OperatingTest, PlaysBySoftwareTriggers) {
    replay(R"~(
> 92/5 9,60
refused: 92/5 [] no zone is attached to source 9
> 92/5 120,60,Chime,Mind, "the" gap
11: 2 "server-2" Queued, 3 "server-2" Queued, 2 "server-2" Playing, 3 "server-2" Playing
    / 20: 4 Active Live
> 92/5 120,60
refused: 92/5 [] source 120 has been activated by a software trigger already
> 92/6 120
11: 2 "server-2" Finished 0 "the software trigger is inactive again", 2 gone,
    3 "server-2" Finished 0 "the software trigger is inactive again", 3 gone / 20: 4 Idle None
> 92/6 120
refused: 92/6 [] no software trigger of source 120 is active
> 92/5 120,0,1,
11: 4 "server-3" Queued, 4 "server-3" Playing / 20: 4 Active Live
> 92/18 "server-3"
11: 4 "server-3" Cancelled 1 "cancelled", 4 gone / 20: 4 Idle None
> 92/6 120
refused: 92/6 [] no software trigger of source 120 is active
> 92/5 120,100,,
11: 5 "server-4" Queued, 5 "server-4" Playing / 20: 4 Active Live
> 92/4 120,"Hallway"
6: 120 - / 2: 120 1  -10 / 11: 5 "server-4" Finished 0 "no zone is attached to source 120", 5 gone
    / 20: 4 Idle None
> 92/3 120,"Hallway"
6: 120 "\"Hallway\"" / 2: 120 2  -10
)~");
}

}  // namespace
