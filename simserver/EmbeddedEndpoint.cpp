// SPDX-License-Identifier: Apache-2.0
#include "simserver/EmbeddedEndpoint.h"

#include <mutex>
#include <stdexcept>
#include <utility>

namespace simserver {

EmbeddedEndpoint::EmbeddedEndpoint(Station station, Options options)
    : station_(std::move(station)),
      options_(std::move(options)),
      server_(std::make_unique<SimServer>(station_, options_)),
      transport_(*this) {}

EmbeddedEndpoint::~EmbeddedEndpoint() {
    transport_.stop();  // the server must not be called while it is destroyed
}

/// Calls the server, which is not replaced meanwhile.
/// @throws std::runtime_error when there is none
template <class Call>
auto EmbeddedEndpoint::withServer(Call call) const {
    const std::shared_lock guard(replaced_);
    if (server_ == nullptr) {
        throw std::runtime_error("the server does not run");
    }
    return call(*server_);
}

void EmbeddedEndpoint::restart() {
    const std::lock_guard guard(replaced_);
    if (server_ != nullptr) {
        server_->dropClient();  // with the lock: it must not connect again to the old server
        server_.reset();        // before the new one: it holds the state folder
    }
    server_ = std::make_unique<SimServer>(station_, options_);
}

void EmbeddedEndpoint::setTrigger(int triggerId, bool active) {
    withServer([&](SimServer& server) { server.setTrigger(triggerId, active); });
}

void EmbeddedEndpoint::setSelector(int selectorId, int state) {
    withServer([&](SimServer& server) { server.setSelector(selectorId, state); });
}

void EmbeddedEndpoint::lockSource(int sourceId, const std::string& client) {
    withServer([&](SimServer& server) { server.lockSource(sourceId, client); });
}

void EmbeddedEndpoint::unlockSource(int sourceId, const std::string& client) {
    withServer([&](SimServer& server) { server.unlockSource(sourceId, client); });
}

void EmbeddedEndpoint::ignoreRenewals(bool on) {
    withServer([&](SimServer& server) { server.ignoreRenewals(on); });
}

void EmbeddedEndpoint::ignoreRequests(bool on) {
    withServer([&](SimServer& server) { server.ignoreRequests(on); });
}

IgnoredOperations EmbeddedEndpoint::ignored() const {
    return withServer([](SimServer& server) { return server.ignored(); });
}

Contents EmbeddedEndpoint::contents() const {
    return withServer([](SimServer& server) { return server.contents(); });
}

void EmbeddedEndpoint::dropClient() {
    withServer([](SimServer& server) { server.dropClient(); });
}

void EmbeddedEndpoint::connectClient(palink::ServerEventSink& client) {
    withServer([&](SimServer& server) { server.connectClient(client); });
}

void EmbeddedEndpoint::disconnectClient() {
    const std::shared_lock guard(replaced_);
    if (server_ != nullptr) {
        server_->disconnectClient();
    }
}

void EmbeddedEndpoint::handleOperation(const pa::Operation& operation) {
    withServer([&](SimServer& server) { server.handleOperation(operation); });
}

void EmbeddedEndpoint::finishReports() {
    withServer([](SimServer& server) { server.finishReports(); });
}

void EmbeddedEndpoint::meterLevel(bool subscribe, int element) {
    withServer([&](SimServer& server) { server.meterLevel(subscribe, element); });
}

palink::UploadResult EmbeddedEndpoint::storeFile(const std::string& localPath,
                                                 const std::string& serverPath) {
    return withServer([&](SimServer& server) { return server.storeFile(localPath, serverPath); });
}

}  // namespace simserver
