// SPDX-License-Identifier: Apache-2.0
#include "client/choose.h"

#include "client/ChangeFilter.h"
#include "client/find.h"
#include "tests/client/serverFixture.h"
#include "tests/support/thrownBy.h"

namespace {

using namespace paclient;
using Texts = std::vector<std::string>;

simserver::Station stationWithAComma() {
    simserver::Station station = testStation();
    station.zones.push_back({"Yard, North", 1});
    return station;
}

struct ChooseZones : ClientTest {
    ChooseZones() : ClientTest(stationWithAComma()) {}
};

TEST_F(ChooseZones, TakesAZoneWithCommasOrAListOfZonesEachOnce) {
    const std::pair<Texts, Texts> cases[] = {
        {{"yard, north"}, {"Yard, North"}},
        {{"Yard,Cellar"}, {"Yard", "Cellar"}},
        {{"cellar ,\tYARD", "Yard"}, {"Cellar", "Yard"}},
        {{"conc"}, {"Concourse"}},
        {{}, {}},
    };
    for (const auto& [values, ids] : cases) {
        EXPECT_EQ(chooseZones(values), ids);
    }
    EXPECT_EQ(thrownBy<NotFound>([] { chooseZones({"Yard,Cellra"}); }),
              "there is no zone 'Cellra'; did you mean 'Cellar'?");
    EXPECT_THROW(chooseZones({"Yard,"}), NotFound);
    EXPECT_THROW(chooseZones({"Hal"}), Ambiguous);
}

template <class Record>
Change updateOf(Texts Record::*zones, const Texts& ids) {
    Record record;
    record.*zones = ids;
    return Updated<Record>{record};
}

TEST(ChangeFilter, PassesWhatConcernsANamedZoneOrSource) {
    PaZone hall;
    hall.id = "Hall";
    PaSource desk;
    desk.id = 2;
    PaTrigger button;
    button.associatedSourceId = 2;
    PaSelector key;
    key.paZoneList = {{7, "Hall"}};
    const ChangeFilter wanted{allKinds(), {"Hall", "Yard"}, {2}};
    const std::pair<Change, bool> cases[] = {
        {Updated<PaZone>{hall}, true},
        {Deleted<PaZone>{"Hall/North"}, false},
        {updateOf(&PaSink::paZoneList, {"Cellar", "Yard"}), true},
        {updateOf(&PaSink::paZoneList, {"Cellar"}), false},
        {updateOf(&ScheduleDefinition::paZones, {"Yard"}), true},
        {updateOf(&AnnouncementRequest::zones, {"Hall"}), true},
        {updateOf(&AnnouncementRequest::zones, {}), false},
        {Updated<PaSource>{desk}, true},
        {Deleted<PaSource>{3}, false},
        {Updated<PaTrigger>{button}, true},
        {Updated<PaSelector>{key}, true},
        {LockChange{2, "", ""}, true},
        {LockChange{1, "", ""}, false},
        {palink::Refusal{}, false},  // it concerns no zone
    };
    for (const auto& [change, passes] : cases) {
        EXPECT_EQ(wanted.passes(change), passes)
            << eventName(change) << ", of kind " << change.index();
    }
    const ChangeFilter anyZone{kinds<Updated<PaZone>>(), {}, {}};
    EXPECT_TRUE(anyZone.passes(Updated<PaZone>{hall}));
    EXPECT_FALSE(anyZone.passes(Updated<PaSource>{desk}));
    const ChangeFilter noZones{kinds<palink::Refusal>(), {"Hall"}, {}};
    EXPECT_FALSE(noZones.passes(Updated<PaZone>{hall}));
}

}  // namespace
