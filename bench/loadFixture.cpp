// SPDX-License-Identifier: Apache-2.0
#include "bench/loadFixture.h"

#include "framework/log.h"
#include "sdk/globals.h"

namespace load {

namespace {

constexpr int destination = 1;  // of the fake server

}  // namespace

void spin(Clock::duration time) {
    const auto end = Clock::now() + time;
    while (Clock::now() < end) {
    }
}

void FakeServer::connectClient(palink::ServerEventSink& client) {
    client_ = &client;
    connect();
}

void FakeServer::handleOperation(const Operation& /*operation*/) {
    spin(std::chrono::microseconds(20));
    ++operations;
}

palink::UploadResult FakeServer::storeFile(const std::string& /*localPath*/,
                                           const std::string& /*serverPath*/) {
    return {true, ""};
}

void FakeServer::connect() {
    deliver(palink::Connected{destination, destination, false, {}});
    deliver(palink::InitialSetComplete{});
}

void FakeServer::deliver(palink::ServerEvent event) {
    client_->deliver(std::move(event));
}

void FakeServer::deliver(RecordKind kind, int key, RecordFields fields) {
    deliver(palink::Record{destination, kind, key, std::move(fields)});
}

LoadFixture::LoadFixture() {
    setLogSink([](const LogLine&) {});
    gDeviceIPAddress = "10.0.0.1";
    gPaController.registerObserver(&observer);
    link.start();
    static_cast<void>(link.waitUntilReady(std::chrono::seconds(10)));
}

ScheduleDefinition scheduleDefinition(int id) {
    ScheduleDefinition schedule;
    schedule.Id = id;
    schedule.descrption = "Daily";
    schedule.startYear = schedule.endYear = 2026;
    schedule.startMonth = schedule.endMonth = 12;
    schedule.startDay = 1;
    schedule.endDay = 31;
    schedule.dayMask = 127;
    schedule.paZones = {"Platform 1"};
    schedule.announcementType = AT_TEV;
    schedule.dictionaryItems = {12, 40};
    return schedule;
}

}  // namespace load
