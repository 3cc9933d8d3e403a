// SPDX-License-Identifier: Apache-2.0
#include "paserver/BrokerServer.h"

#include <algorithm>
#include <filesystem>
#include <limits>
#include <system_error>
#include <utility>

#include "framework/clock.h"
#include "framework/log.h"

namespace paserver {

namespace {

/// The size of the files in a folder; 0 when there is none.
std::uintmax_t bytesIn(const std::filesystem::path& folder) {
    std::uintmax_t bytes = 0;
    std::error_code fault;
    const std::filesystem::directory_iterator end;
    for (std::filesystem::directory_iterator entry(folder, fault); entry != end;
         entry.increment(fault)) {
        std::error_code isGone;
        const std::uintmax_t size = entry->file_size(isGone);
        bytes += isGone ? 0 : size;
    }
    return bytes;
}

}  // namespace

BrokerServer::BrokerServer(ServerSettings settings)
    : settings_(std::move(settings)),
      dstNo_(settings_.station.dstNo),
      publications_(dstNo_, wake_),
      generation_(hostClockMS()),
      role_(dstNo_, settings_.precedence) {
    startSimulation();
    join();
    thread_ = std::make_unique<pa::PosixThread>("broker-server", [this] { run(); });
}

BrokerServer::~BrokerServer() {
    requestStop();
    thread_.reset();
}

void BrokerServer::requestStop() {
    stopping_ = true;
    wake_.wake();
}

ServerState BrokerServer::state() const {
    constexpr double msPerSecond = 1e3;
    ServerState state;
    state.isActive = active_;
    state.isReady = ready_;
    state.generation = generation_;
    state.requestsWaiting = requests_.size();
    state.clients = clients_;
    state.publications = publications_.state();
    state.keptBytes = bytesIn(settings_.simulation.state);
    const std::lock_guard guard(lock_);
    state.isConnected = network_.connected;
    state.connections = network_.connections;
    if (network_.connected) {
        state.connectedSeconds =
            static_cast<double>(pa::monotonicMS() - network_.connectedMS) / msPerSecond;
    }
    return state;
}

bool BrokerServer::isConnected() const {
    const std::lock_guard guard(lock_);
    return network_.connected;
}

std::string BrokerServer::failure() const {
    const std::lock_guard guard(lock_);
    return network_.failure;
}

void BrokerServer::fail(const std::string& reason) {
    const std::lock_guard guard(lock_);
    if (network_.failure.empty()) {
        network_.failure = reason;
    }
    wake_.wake();
}

// ----------------------------------------------------------------------------- the own thread

void BrokerServer::run() {
    while (!stopping_ && failure().empty()) {
        try {
            turn();
        } catch (const std::exception& error) {
            fail(error.what());
        }
    }
    if (simulation_ != nullptr) {
        simulation_->disconnectClient();  // or what it reports now would stay on the broker
    }
    leave(!settings_.keepsRecords);
    ended_ = true;
}

void BrokerServer::turn() {
    constexpr std::size_t most = 1000;
    constexpr std::chrono::milliseconds wait{20};
    takeConnection();
    takeStatuses();
    if (replaced_) {
        return;
    }
    takeRequests();
    if (simulation_ == nullptr) {
        return;  // it ends
    }
    if (rejoin_ != Rejoin::No) {
        rejoin();
    }
    if (joined_ != 0) {
        keepStatus(publishWaiting(most, wait, wait));
    }
    if (publications_.takeOverflows() > 0) {
        handleError(2, "the broker takes too little: everything is published again");
    }
    uploads_->expire(pa::monotonicMS());
    answers_.expire(pa::monotonicMS());
    clients_ = answers_.clients();
    expireMeters();
    ++beats_;
    wake_.waitFor(pause());
}

/// How long the thread waits for work.
std::chrono::milliseconds BrokerServer::pause() const {
    constexpr std::int64_t longest = 500;  // what expires has time
    const std::int64_t now = pa::monotonicMS();
    std::int64_t wait = longest;
    if (joined_ != 0) {
        for (const auto& due : {publications_.statusDueMS(), role_.nextMS()}) {
            wait = std::min(wait, due ? *due - now : longest);
        }
    }
    return std::chrono::milliseconds(std::max<std::int64_t>(wait, 0));
}

// --------------------------------------------------------------------------------- the generation

void BrokerServer::startSimulation() {
    simulation_ = std::make_unique<simserver::SimServer>(settings_.station, settings_.simulation);
    uploads_ = std::make_unique<IncomingUploads>(simulation_->uploads(), counters_.uploads);
    publications_.beginGeneration(generation_);
    simulation_->connectClient(*this);
}

void BrokerServer::join() {
    palink::ServerStatus offline;
    offline.generation = generation_;
    palink::MqttListener& listener = *this;
    client_ = std::make_unique<palink::MqttClient>(
        settings_.broker, "pa-server-" + std::to_string(dstNo_) + '-' + std::to_string(generation_),
        listener);
    client_->setWill(statusMessage(offline));
    client_->start();
}

/// Publishes what still waits, and that the server is offline; then it may withdraw its records,
/// which clients do not read any more. What another server has published with this number stays.
void BrokerServer::leave(bool withdrawsRecords) {
    const std::int64_t endMS = pa::monotonicMS() + stopLimit.count();
    const auto publishAll = [&] {
        const std::chrono::milliseconds left(std::max<std::int64_t>(endMS - pa::monotonicMS(), 0));
        return publishWaiting(std::numeric_limits<std::size_t>::max(), left, stopPatience);
    };
    bool isTaken = true;
    if (joined_ != 0 && !replaced_) {
        isTaken = publishAll();
        palink::ServerStatus offline;
        offline.generation = generation_;
        isTaken = publish(statusMessage(offline)) && isTaken;
        if (isTaken && withdrawsRecords) {
            publications_.withdrawAll();
            isTaken = publishAll();
        }
    }
    isTaken = client_->stop(stopPatience) && isTaken;
    if (!isTaken && joined_ != 0) {
        handleError(2, "the broker has not taken everything: records may be left on the broker");
    }
    client_.reset();
    publications_.disconnected();
    unsent_.reset();
    joined_ = 0;
    const std::lock_guard guard(lock_);
    network_.connected = false;
}

/// Leaves the broker and joins it again.
void BrokerServer::rejoin() {
    leave(false);
    if (std::exchange(rejoin_, Rejoin::No) == Rejoin::NewGeneration) {
        generation_ = std::max(generation_ + 1, hostClockMS());
        hasRole_ = false;
        requests_.clear();
        publications_.beginGeneration(generation_);
        simulation_->connectClient(*this);
    }
    join();
}

}  // namespace paserver
