// SPDX-License-Identifier: Apache-2.0
#include "paserver/Role.h"

#include "tests/paserver/BrokerServerTest.h"

namespace {

using palink::ServerRole;
using paserver::Role;

palink::ServerStatus other(bool active, int precedence) {
    palink::ServerStatus status;
    status.online = true;
    status.generation = 7;
    status.role = active ? ServerRole::Active : ServerRole::Standby;
    status.precedence = precedence;
    return status;
}

/// The role of a server with the number 5 and the precedence 2, at these times of a connection.
struct RoleTest : testing::Test {
    bool isActive(std::int64_t ms) { return role.at(ms) == ServerRole::Active; }

    Role role{5, 2};
};

TEST_F(RoleTest, AStandbyTakesOverWhenNoneIsActive) {
    role.begin(ServerRole::Standby, 1000);
    EXPECT_FALSE(isActive(1499));
    EXPECT_EQ(role.nextMS(), 1500);
    EXPECT_TRUE(isActive(1500));

    role.begin(ServerRole::Standby, 2000);
    role.take(9, other(true, 3));
    EXPECT_FALSE(isActive(5000)) << "another is active, though worse";
    EXPECT_EQ(role.active()->dstNo, 9);
    role.take(9, {});
    EXPECT_FALSE(isActive(5499)) << "the time counts from its loss";
    EXPECT_TRUE(isActive(5500));
}

TEST_F(RoleTest, TheBestServerIsTheFirstToTakeOverAndTheOneThatStays) {
    const struct {
        int dstNo;
        int precedence;
        bool isBetter;
    } cases[] = {{4, 2, true}, {9, 1, true}, {6, 2, false}, {1, 3, false}};
    for (const auto& each : cases) {
        const std::int64_t afterMS = each.isBetter ? 1000 : 500;
        role.begin(ServerRole::Standby, 0);
        role.take(each.dstNo, other(false, each.precedence));
        EXPECT_FALSE(isActive(afterMS - 1)) << each.dstNo;
        EXPECT_TRUE(isActive(afterMS)) << each.dstNo;
        role.begin(ServerRole::Active, 0);
        role.take(each.dstNo, other(true, each.precedence));
        EXPECT_EQ(isActive(1), !each.isBetter) << each.dstNo;
    }
}

struct TwoServersTest : BrokerServerTest {
    paserver::ServerSettings standby(int dstNo, int precedence) const {
        paserver::ServerSettings made = settings(dstNo);
        made.role = ServerRole::Standby;
        made.precedence = precedence;
        return made;
    }

    bool areActive(bool third, bool fourth) {
        return client.waitFor([&] {
            return client.isOnline(4) && client.isActive(3) == third &&
                   client.isActive(4) == fourth;
        });
    }
};

TEST_F(TwoServersTest, AStandbyTakesOverAndKeepsTheRole) {
    server = std::make_unique<paserver::BrokerServer>(standby(3, 1));
    EXPECT_TRUE(client.waitFor([this] { return client.isActive(3); }));
    paserver::BrokerServer second(standby(4, 2));
    EXPECT_TRUE(areActive(true, false));
    server.reset();
    EXPECT_TRUE(areActive(false, true));
    server = std::make_unique<paserver::BrokerServer>(standby(3, 1));
    EXPECT_TRUE(client.sync(3));
    EXPECT_TRUE(areActive(false, true)) << "a server that comes back changes nothing";
    server.reset();
    server = std::make_unique<paserver::BrokerServer>(settings(3));
    EXPECT_TRUE(areActive(true, false)) << "one that is to be active, and is better, does";
}

TEST_F(TwoServersTest, AStandbyHasAnnouncementsMadeByTheActiveServer) {
    start();
    paserver::BrokerServer second(standby(4, 2));
    EXPECT_TRUE(client.sync(4));
    const std::string schedule =
        R"(0,"",2030,1,1,8,0,2030,1,1,9,0,127,0,1,"",0,500,"2,ip,\"Yard\",12!1,,")";
    const auto putFor = [&](const std::string& activeGeneration) {
        palink::MqttMessage put = client.operation(pa::operations::putSchedule, schedule, 4);
        put.userProperties.emplace_back("activeGeneration", activeGeneration);
        return put;
    };
    EXPECT_EQ(askFor(pa::operations::putSchedule, schedule, 4), "server 3 is active")
        << "maybe it was 4 when the client asked";
    const char* const startedAgain = "the server has started again meanwhile";
    EXPECT_EQ(client.ask(putFor("1")), startedAgain);
    const auto put = putFor(std::to_string(client.status(3).generation));
    EXPECT_EQ(client.ask(put), "accepted");
    EXPECT_TRUE(client.waitFor(
        [&] { return client.status(3).kinds.count(pa::RecordKind::Schedule) != 0; }));
    EXPECT_EQ(client.status(4).kinds.count(pa::RecordKind::Schedule), 0U);
    EXPECT_EQ(askFor(pa::operations::attachZones, R"(9,"Yard")", 4), "accepted");
    EXPECT_NE(client.record(4, pa::RecordKind::AttachedZones, 9), "")
        << "what is no announcement it does itself";
    server.reset();
    EXPECT_TRUE(client.waitFor([this] { return client.isActive(4); }));
    EXPECT_EQ(client.ask(put), startedAgain) << "3 has carried it out";
}

}  // namespace
