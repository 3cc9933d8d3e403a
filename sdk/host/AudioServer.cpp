// SPDX-License-Identifier: Apache-2.0
#include "sdk/AudioServer.h"

#include <condition_variable>
#include <exception>
#include <mutex>
#include <utility>

#include "framework/earlyObject.h"
#include "framework/fork.h"
#include "framework/log.h"
#include "framework/uuid.h"

namespace {

/// The locks of all facades. A process has one facade, and a fork takes them.
struct Facades {
    std::mutex uploads;  // guards the upload functions
    std::condition_variable uploadEnded;
    std::mutex info;  // guards the media log and the server's description

    pa::ForkParticipant acrossFork{pa::ForkRank::Facades,
                                   {[this] { uploads.lock(), info.lock(); }, [this] { unlock(); },
                                    [this] {
                                        pa::forgetWaiters(uploadEnded);
                                        unlock();
                                    }}};

    void unlock() {
        info.unlock();
        uploads.unlock();
    }
};

Facades& facades() {
    static Facades& theFacades = *new Facades;  // never destroyed, like the threads that use it
    return theFacades;
}

PASDK_EARLIEST const pa::MadeEarly made(facades);

}  // namespace

/// A function for uploads, and how many uploads use it now.
struct AudioServer::UploadRoute {
    /// False in the child of a fork, where neither the function nor its uploads continue.
    bool belongsToThisProcess() const { return generation == pa::forkGeneration(); }

    Uploader upload;
    const unsigned generation = pa::forkGeneration();
    int running = 0;
};

AudioServer::AudioServer(PAController& controller) : controller_(controller) {
    generateUUID(uuid_);
}

AudioServer::~AudioServer() = default;

std::string AudioServer::getUUID() const {
    return uuid_;
}

PAController& AudioServer::getPAController() const {
    return controller_;
}

/// One upload, from its beginning to its end.
class AudioServer::RunningUpload {
public:
    explicit RunningUpload(AudioServer& server) {
        const std::lock_guard guard(facades().uploads);
        if (server.route_ != nullptr && server.route_->belongsToThisProcess()) {
            route_ = server.route_;
            ++route_->running;
        }
    }
    RunningUpload(const RunningUpload&) = delete;
    RunningUpload& operator=(const RunningUpload&) = delete;
    ~RunningUpload() {
        if (route_ != nullptr) {
            const std::lock_guard guard(facades().uploads);
            --route_->running;
            facades().uploadEnded.notify_all();
        }
    }

    /// Null when no function is set.
    const UploadRoute* route() const { return route_.get(); }

private:
    std::shared_ptr<UploadRoute> route_;
};

int AudioServer::uploadFileToActiveServer(const std::string& localPath,
                                          const std::string& serverPath) {
    const RunningUpload running(*this);
    if (running.route() == nullptr) {
        handleError(2, "upload of %s: no connection to the server", localPath.c_str());
        return 0;
    }
    try {
        return running.route()->upload(localPath, serverPath);
    } catch (const std::exception& e) {
        handleError(2, "upload of %s: %s", localPath.c_str(), e.what());
        return 0;
    }
}

void AudioServer::setUploader(Uploader uploader) {
    auto route =
        uploader ? std::make_shared<UploadRoute>(UploadRoute{std::move(uploader)}) : nullptr;
    std::unique_lock guard(facades().uploads);
    route_.swap(route);
    if (route != nullptr && route->belongsToThisProcess()) {
        facades().uploadEnded.wait(guard, [&route] { return route->running == 0; });
    }
}

void AudioServer::addCampaignLog(const std::string& text) {
    const std::lock_guard guard(facades().info);
    campaignLog_.push_back(text);
    if (campaignLog_.size() > campaignLogCapacity) {
        campaignLog_.pop_front();
    }
}

std::vector<std::string> AudioServer::getCampaignLog() const {
    const std::lock_guard guard(facades().info);
    return {campaignLog_.begin(), campaignLog_.end()};
}

KeyValueMap AudioServer::getServerInfo() const {
    const std::lock_guard guard(facades().info);
    return serverInfo_;
}

void AudioServer::setServerInfo(const KeyValueMap& info) {
    const std::lock_guard guard(facades().info);
    serverInfo_ = info;
}
