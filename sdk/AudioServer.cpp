#include "sdk/AudioServer.h"

#include <exception>
#include <utility>

#include "framework/log.h"
#include "framework/uuid.h"

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

/// One upload on the way in force, from its beginning to its end.
class AudioServer::Passage {
public:
    explicit Passage(AudioServer& server) : server_(server) {
        const std::lock_guard guard(server_.uploaderLock_);
        way_ = server_.way_;
        if (way_ != nullptr) {
            ++way_->underWay;
        }
    }
    Passage(const Passage&) = delete;
    Passage& operator=(const Passage&) = delete;
    ~Passage() {
        if (way_ != nullptr) {
            const std::lock_guard guard(server_.uploaderLock_);
            --way_->underWay;
            server_.uploadEnded_.notify_all();
        }
    }

    /// Null when there is no way.
    const Way* way() const { return way_.get(); }

private:
    AudioServer& server_;
    std::shared_ptr<Way> way_;
};

int AudioServer::uploadFileToActiveServer(const std::string& localPath,
                                          const std::string& serverPath) {
    const Passage passage(*this);
    if (passage.way() == nullptr) {
        handleError(2, "upload of %s: no connection to the server", localPath.c_str());
        return 0;
    }
    try {
        return passage.way()->upload(localPath, serverPath);
    } catch (const std::exception& e) {
        handleError(2, "upload of %s: %s", localPath.c_str(), e.what());
        return 0;
    }
}

void AudioServer::setUploader(Uploader uploader) {
    auto way = uploader ? std::make_shared<Way>(Way{std::move(uploader)}) : nullptr;
    std::unique_lock guard(uploaderLock_);
    way_.swap(way);
    if (way != nullptr) {
        uploadEnded_.wait(guard, [&way] { return way->underWay == 0; });
    }
}

void AudioServer::addCampaignLog(const std::string& text) {
    const std::lock_guard guard(lock_);
    campaignLog_.push_back(text);
    if (campaignLog_.size() > campaignLogCapacity) {
        campaignLog_.pop_front();
    }
}

std::vector<std::string> AudioServer::getCampaignLog() const {
    const std::lock_guard guard(lock_);
    return {campaignLog_.begin(), campaignLog_.end()};
}

KeyValueMap AudioServer::getServerInfo() const {
    const std::lock_guard guard(lock_);
    return serverInfo_;
}

void AudioServer::setServerInfo(const KeyValueMap& info) {
    const std::lock_guard guard(lock_);
    serverInfo_ = info;
}
