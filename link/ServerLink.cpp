#include "link/ServerLink.h"

#include <utility>
#include <variant>

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
    gQXReceiver.disconnect();
    router_.waitUntilIdle();
    const std::lock_guard guard(lock_);
    connected_ = false;
    ready_ = false;
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

void ServerLink::deliver(ServerEvent event) {
    std::visit([this](const auto& what) { on(what); }, event);
}

void ServerLink::on(const Connected& connected) {
    gLocalDstNo = connected.localDstNo;
    gActiveAudioServerDstNo = connected.activeDstNo;
    gIndirectCXSConnection = connected.indirect;
    audioServer_.setServerInfo(connected.serverInfo);
    router_.reset();
    {
        const std::lock_guard guard(lock_);
        connected_ = true;
        ready_ = false;
    }
    gQXReceiver.connect(*this);
}

void ServerLink::on(const Disconnected& disconnected) {
    handleError(2, "the connection to the server is lost: %s", disconnected.reason.c_str());
    gQXReceiver.disconnect();
    const std::lock_guard guard(lock_);
    connected_ = false;
    ready_ = false;
}

void ServerLink::on(const Record& record) {
    router_.handle(record);
}

void ServerLink::on(const Withdrawal& withdrawal) {
    router_.handle(withdrawal);
}

void ServerLink::on(const Refusal& refusal) {
    RefusalHandler handler;
    {
        const std::lock_guard guard(lock_);
        handler = refusalHandler_;
    }
    if (handler) {
        handler(refusal);
        return;
    }
    handleError(2, "the server refuses operation %d/%d of request >%s<: %s", refusal.operationClass,
                refusal.operationNumber, refusal.requestId.c_str(), refusal.reason.c_str());
}

void ServerLink::on(const InitialSetComplete& /*complete*/) {
    router_.waitUntilIdle();
    const std::lock_guard guard(lock_);
    ready_ = true;
    changed_.notify_all();
}

bool ServerLink::sendOperation(const Operation& operation) {
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
