// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <vector>

#include "bench/controller/PlainText.h"
#include "resource/common/paInfo.h"
#include "sdk/Message.h"
#include "sdk/ScheduleDefinition.h"
#include "sdk/operations.h"

/// @file
/// Every operation: how it is requested, and the same text as the reference writes it.

namespace bench {

constexpr char recordingPath[] = "/recordings/desk 1/notice.wav";
constexpr char origin[] = "10.20.1.5";
constexpr char language[] = "en-GB";
constexpr char voice[] = "Emma";
constexpr char spokenText[] = "The train to \"Linz\" leaves at 10:25";
constexpr char screen[] = "Departures";
constexpr char scheduleText[] = "Early trains";
constexpr int freeSource = 1;
constexpr int ownSource = 2;  ///< this client holds its lock

/// What the messages hold.
struct PlainMessage {
    std::string requestId = "3f2b8c1e-5d47-4a90-9c1b-000000000001";
    int mode = 0;
    int level = 500;
    int repeats = 1;
    int preChime = 0;
    int postChime = 0;
    double gain = -3.5;
    int validity = 30;
};

/// What the operations are requested of, and what the references write.
struct Requester {
    std::string uuid;  // of this client
    PaSource source;
    PaSink sink;
    PaSink unit;  // one that can be reset
    std::vector<std::string> zones{"Platform 1/North", "Platform 1/South", "Concourse/Ticket Hall"};
    std::vector<unsigned> items{12, 40, 7};
    ScheduleDefinition schedule;
    std::string scheduleUUID;  // of the request at hand
    int trigger = 0;
    PlainMessage plain;
    Message dictionary;
    Message spoken;
    Message display;
};

/// Puts the controller into a state in which every operation is sent.
Requester makeRequester();

struct OperationRow {
    const char* name;
    pa::OperationType type;
    void (*request)(Requester& from, Message& message);
    void (*encode)(PlainText& text, const Requester& from);
    Message Requester::*message = nullptr;  // what is played
    double wantedRatio = 0;
};

extern const std::vector<OperationRow> operationRows;

}  // namespace bench
