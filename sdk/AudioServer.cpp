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

int AudioServer::uploadFileToActiveServer(const std::string& localPath,
                                          const std::string& serverPath) {
    const std::shared_lock guard(uploaderLock_);
    if (!uploader_) {
        handleError(2, "upload of %s: no connection to the server", localPath.c_str());
        return 0;
    }
    try {
        return uploader_(localPath, serverPath);
    } catch (const std::exception& e) {
        handleError(2, "upload of %s: %s", localPath.c_str(), e.what());
        return 0;
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

void AudioServer::setUploader(Uploader uploader) {
    const std::unique_lock guard(uploaderLock_);
    uploader_ = std::move(uploader);
}

KeyValueMap AudioServer::getServerInfo() const {
    const std::lock_guard guard(lock_);
    return serverInfo_;
}

void AudioServer::setServerInfo(const KeyValueMap& info) {
    const std::lock_guard guard(lock_);
    serverInfo_ = info;
}
