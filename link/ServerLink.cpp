#include "link/ServerLink.h"

#include <exception>
#include <utility>
#include <variant>

#include "framework/levelMeter.h"
#include "framework/log.h"
#include "sdk/globals.h"

namespace palink {

ServerLink::ServerLink(AudioServer& audioServer, Transport& transport)
    : audioServer_(audioServer), transport_(transport), router_(audioServer.getPAController()) {}

ServerLink::~ServerLink() {
    stop();
}

void ServerLink::start() {
    if (std::exchange(started_, true)) {
        return;
    }
    gAudioServerInstance = &audioServer_;
    audioServer_.setUploader([this](const std::string& localPath, const std::string& serverPath) {
        return upload(localPath, serverPath);
    });
    transport_.start(*this);
}

void ServerLink::stop() {
    if (!std::exchange(started_, false)) {
        return;
    }
    audioServer_.setUploader({});
    transport_.stop();
    pa::setLevelMeterSwitch({});  // not before: a connection that is just being made sets it
    gQXReceiver.disconnect();
    router_.waitUntilIdle();
    setState(false, false);
}

bool ServerLink::waitUntilReady(std::chrono::milliseconds limit) {
    std::unique_lock guard(lock_);
    return changed_.wait_for(guard, limit, [this] { return ready_; });
}

void ServerLink::waitUntilHandled() {
    router_.waitUntilIdle();
}

bool ServerLink::isConnected() const {
    const std::lock_guard guard(lock_);
    return connected_;
}

void ServerLink::setRefusalHandler(RefusalHandler handler) {
    const std::lock_guard guard(lock_);
    refusalHandler_ = std::move(handler);
}

void ServerLink::setLevelHandler(LevelHandler handler) {
    const std::lock_guard guard(lock_);
    levelHandler_ = std::move(handler);
}

void ServerLink::deliver(ServerEvent event) {
    try {
        std::visit([this](auto& what) { on(std::move(what)); }, event);
    } catch (const std::exception& e) {
        // Short of memory or threads: that costs this event alone.
        handleError(1, "an event of the server is lost: %s", e.what());
    }
}

void ServerLink::on(const Connected& connected) {
    setState(false, false);
    router_.reset();  // under the globals of the connection that the caches came from
    gLocalDstNo = connected.localDstNo;
    gActiveAudioServerDstNo = connected.activeDstNo;
    gIndirectCXSConnection = connected.indirect;
    audioServer_.setServerInfo(connected.serverInfo);
    setState(true, false);
    gQXReceiver.connect(*this);
    pa::setLevelMeterSwitch(
        [this](bool subscribe, int element) { transport_.meterLevel(subscribe, element); });
}

void ServerLink::on(const Disconnected& disconnected) {
    handleError(2, "the connection to the server is lost: %s", disconnected.reason.c_str());
    gQXReceiver.disconnect();
    setState(false, false);
}

void ServerLink::on(Record record) {
    router_.handle(std::move(record));
}

void ServerLink::on(const Withdrawal& withdrawal) {
    router_.handle(withdrawal);
}

void ServerLink::on(const Refusal& refusal) {
    if (!tell(refusalHandler_, refusal)) {
        handleError(2, "the server refuses operation %d/%d of request >%s<: %s",
                    refusal.operationClass, refusal.operationNumber, refusal.requestId.c_str(),
                    refusal.reason.c_str());
    }
}

void ServerLink::on(const LevelReading& reading) {
    tell(levelHandler_, reading);
}

/// Calls a handler of the application without a lock.
/// @return false when there is none
template <class What>
bool ServerLink::tell(const std::function<void(const What&)>& handler, const What& what) {
    std::function<void(const What&)> current;
    {
        const std::lock_guard guard(lock_);
        current = handler;
    }
    if (!current) {
        return false;
    }
    try {
        current(what);
    } catch (const std::exception& e) {
        handleError(1, "a handler of the server link threw >%s<", e.what());
    } catch (...) {
        handleError(1, "a handler of the server link threw");
    }
    return true;
}

void ServerLink::on(const InitialSetComplete& /*complete*/) {
    router_.waitUntilIdle();
    setState(true, true);
}

void ServerLink::setState(bool connected, bool ready) {
    const std::lock_guard guard(lock_);
    connected_ = connected;
    ready_ = ready;
    changed_.notify_all();
}

bool ServerLink::sendOperation(const pa::Operation& operation) {
    return transport_.send(operation);
}

int ServerLink::upload(const std::string& localPath, const std::string& serverPath) {
    const UploadResult result = transport_.upload(localPath, serverPath);
    if (!result.stored) {
        handleError(2, "upload of %s: %s", localPath.c_str(), result.reason.c_str());
    }
    return result.stored ? 1 : 0;
}

}  // namespace palink
