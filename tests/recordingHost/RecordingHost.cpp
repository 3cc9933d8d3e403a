// SPDX-License-Identifier: Apache-2.0
#include "tests/recordingHost/RecordingHost.h"

#include <algorithm>
#include <array>
#include <cstdarg>
#include <cstdio>
#include <sstream>
#include <utility>

#include "framework/clock.h"
#include "framework/eventQueue.h"
#include "framework/levelMeter.h"
#include "framework/localMutex.h"
#include "framework/log.h"
#include "framework/threadClass.h"
#include "framework/uuid.h"
#include "sdk/PAController.h"
#include "sdk/QXReceiver.h"

namespace {

int mutexDepth = 0;

[[gnu::format(printf, 3, 0)]] void noteLine(const char* kind, int level, const char* format,
                                            va_list arguments) {
    std::array<char, 4096> text{};
    std::vsnprintf(text.data(), text.size(), format, arguments);
    recordingHost::note(kind + std::to_string(level) + " " + text.data());
}

}  // namespace

namespace recordingHost {

// Never destroyed, like the controller that uses it.
Host& host() {
    static Host& theHost = *new Host;
    return theHost;
}

void reset() {
    static AudioServer& audioServer = *new AudioServer(gPaController);
    host() = {};
    pa::store(debugLevel, 0);
    pa::store(gAudioServerInstance, &audioServer);
    pa::store(gLocalDstNo, 1);
    pa::store(gActiveAudioServerDstNo, 1);
    pa::store(gIndirectCXSConnection, false);
    pa::store(gMaxServerWaitTimeSeconds, 10);
    gDeviceIPAddress = "10.0.0.5";
}

std::string transcript() {
    return std::exchange(host().transcript, {});
}

int mutexEntries() {
    return std::exchange(host().mutexEntries, 0);
}

void note(const std::string& line) {
    host().transcript += (mutexDepth > 0 ? "*" : "") + line + '\n';
}

}  // namespace recordingHost

using recordingHost::host;
using recordingHost::note;

// ---- the host's functions

long debugLevel = 0;
AudioServer* gAudioServerInstance = nullptr;
QXReceiver gQXReceiver;
int gLocalDstNo = 1;
int gActiveAudioServerDstNo = 1;
bool gIndirectCXSConnection = false;
int gMaxServerWaitTimeSeconds = 10;
std::string& gDeviceIPAddress = *new std::string("10.0.0.5");

void debug(int level, const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    noteLine("log ", level, format, arguments);
    va_end(arguments);
}

void handleError(int level, const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    noteLine("error ", level, format, arguments);
    va_end(arguments);
}

std::time_t pa::wallClock() {
    return host().now;
}

void sleepMS(int ms) {
    note("sleep " + std::to_string(ms));
    if (host().sleepAction) {
        host().sleepAction(ms);
    }
}

void generateUUID(std::string& out) {
    out = "generated-" + std::to_string(++host().uuids);
}

void addNewEventItem(EventItem::EVENT_TYPE type, int key, void* data) {
    note("event " + std::to_string(type) + " " + std::to_string(key) +
         (data == nullptr ? " without data" : ""));
}

void subscribeUnsubscribeToResAmpVUMeterElement(bool subscribe, int element) {
    note(std::string("meter ") + (subscribe ? "on " : "off ") + std::to_string(element));
}

pa::ForkParticipant::ForkParticipant(ForkRank rank, ForkHooks hooks)
    : rank_(rank), hooks_(std::move(hooks)) {}

pa::ForkParticipant::~ForkParticipant() = default;

threadClass::threadClass() : acrossFork_(pa::ForkRank::Controller, {}) {}

threadClass::~threadClass() = default;

void threadClass::start(void* argument) {
    note(std::string("thread started") + (argument == nullptr ? "" : " with an argument"));
}

qxMutexBase::~qxMutexBase() = default;

qxLocalMutex::qxLocalMutex(bool reentrant) : reentrant_(reentrant) {}

qxLocalMutex::~qxLocalMutex() = default;

void qxLocalMutex::enter() {
    ++mutexDepth;
    ++host().mutexEntries;
}

void qxLocalMutex::leave() {
    if (--mutexDepth < 0) {
        note("the mutex was left once too often");
    }
}

int qxLocalMutex::init() {
    note("mutex ready");
    return 0;
}

void qxLocalMutex::assertLocked(const char* /*where*/) {}

void qxLocalMutex::forgetWaiters() {}

bool qxLocalMutex::heldByThisThread() const {
    return mutexDepth > 0;
}

void QXReceiver::addOperationToSendQueue(int destination, int operationClass, int operationNumber,
                                         int flag, const std::string& payload) {
    note("send " + std::to_string(destination) + " " + std::to_string(operationClass) + "/" +
         std::to_string(operationNumber) + " " + std::to_string(flag) + " " + payload);
}

AudioServer::AudioServer(PAController& controller) : controller_(controller), uuid_("uuid-self") {}

AudioServer::~AudioServer() = default;

std::string AudioServer::getUUID() const {
    return uuid_;
}

PAController& AudioServer::getPAController() const {
    return controller_;
}

int AudioServer::uploadFileToActiveServer(const std::string& localPath,
                                          const std::string& serverPath) {
    note("upload " + localPath + " to " + serverPath);
    return host().uploadResult;
}

void AudioServer::addCampaignLog(const std::string& text) {
    note("campaign log " + text);
}

// ---- the observer and the records

void RecordingObserver::called(const std::string& kind, const std::string& id,
                               const std::string& what) {
    note(name_ + ": " + kind + " " + id + " " + what);
    if (inCallback) {
        inCallback();
    }
}

pa::RecordFields fieldsOf(const std::string& text) {
    pa::RecordFields fields;
    std::istringstream stream(text);
    for (std::string field; std::getline(stream, field, '|');) {
        const std::size_t equals = field.find_first_not_of("0123456789");
        if (equals > 0 && equals < 3 && field[equals] == '=') {
            fields.resize(std::stoul(field));
            field = field.substr(equals + 1);
        }
        fields.push_back(field == "-" ? std::nullopt : pa::RecordFields::Field(field));
    }
    return fields;
}

pa::RecordFields with(pa::RecordFields fields, std::size_t column, const std::string& text) {
    fields.resize(std::max(fields.size(), column + 1));
    fields.set(column, text);
    return fields;
}
