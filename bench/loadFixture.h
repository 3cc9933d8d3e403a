// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <atomic>
#include <chrono>
#include <functional>
#include <string>
#include <thread>

#include "bench/sampleRecords.h"
#include "include/common/RecordList.h"
#include "link/ServerLink.h"
#include "link/embedded/EmbeddedTransport.h"
#include "sdk/AudioServer.h"
#include "sdk/PAController.h"

/// @file
/// The fixture of the load cases: a scripted server, an observer, the connection between them
/// and a clock.

namespace load {

using namespace pa;  // Operation, RecordFields, RecordList
using bench::scheduleFields;
using bench::sinkFields;
using bench::sourceFields;
using Clock = std::chrono::steady_clock;
using pa::RecordKind;

/// Keeps the processor busy.
void spin(Clock::duration time);

class FakeServer : public palink::EmbeddedServer {
public:
    void connectClient(palink::ServerEventSink& client) override;
    void disconnectClient() override {}
    /// Counts it, and takes 20 us for it.
    void handleOperation(const Operation& operation) override;
    void meterLevel(bool /*subscribe*/, int /*element*/) override {}
    palink::UploadResult storeFile(const std::string& localPath,
                                   const std::string& serverPath) override;

    void connect();
    void deliver(palink::ServerEvent event);
    void deliver(RecordKind kind, int key, RecordFields fields);

    std::atomic<int> operations{0};

private:
    palink::ServerEventSink* client_ = nullptr;
};

/// Passes sources and sinks on, and counts them.
struct CountingObserver : PAControllerObserverAdapter {
    void onPaSourceUpdate(PaSource source) override {
        onSource(source);
        ++sources;
    }
    void onPaSinkUpdate(PaSink sink) override {
        onSink(sink);
        ++sinks;
    }

    std::function<void(const PaSource&)> onSource = [](const PaSource&) {};
    std::function<void(const PaSink&)> onSink = [](const PaSink&) {};
    std::atomic<int> sources{0};
    std::atomic<int> sinks{0};
};

/// The connection of a process, with one observer. It connects on construction.
struct LoadFixture {
    LoadFixture();

    FakeServer fake;
    palink::EmbeddedTransport transport{fake};
    AudioServer audioServer{gPaController};
    palink::ServerLink link{audioServer, transport};
    CountingObserver observer;
};

/// One that lives as long as the process.
inline LoadFixture& newFixture() {
    return *new LoadFixture;
}

ScheduleDefinition scheduleDefinition(int id);

template <class Call>
Clock::duration timeOf(Call call) {
    const auto start = Clock::now();
    call();
    return Clock::now() - start;
}

/// @return false when it does not hold within the limit
template <class Condition>
bool waitFor(Condition holds, Clock::duration limit) {
    const auto deadline = Clock::now() + limit;
    while (!holds()) {
        if (Clock::now() > deadline) {
            return false;
        }
        std::this_thread::sleep_for(std::chrono::microseconds(200));
    }
    return true;
}

}  // namespace load
