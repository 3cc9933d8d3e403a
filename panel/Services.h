// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "client/Connection.h"
#include "panel/Stop.h"

namespace papanel {

class AudioStore;
class AuditTrail;
class EventHub;
class FaultTimes;
class IdempotencyStore;
class LockKeeper;
class ScheduleNumbers;
class SentAnnouncements;
class Sessions;
class UserFile;

/// What the handlers of the API work on. Everything outlives every request.
struct Services {
    paclient::Connection& connection;
    EventHub& events;
    Sessions& sessions;
    UserFile* users;  ///< null without users: on loopback only
    AuditTrail& audit;
    IdempotencyStore& answers;
    LockKeeper& locks;
    AudioStore& audio;
    SentAnnouncements& announcements;
    const FaultTimes& faults;
    ScheduleNumbers& scheduleNumbers;
    const Stop& stop;
};

}  // namespace papanel
