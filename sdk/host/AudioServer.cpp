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
    std::mutex uploads;  // guards the ways
    std::condition_variable uploadEnded;
    std::mutex facts;  // guards the media log and what the server says of itself

    pa::ForkParticipant acrossFork{pa::ForkRank::Facades,
                                   {[this] { uploads.lock(), facts.lock(); }, [this] { unlock(); },
                                    [this] {
                                        pa::forgetWaiters(uploadEnded);
                                        unlock();
                                    }}};

    void unlock() {
        facts.unlock();
        uploads.unlock();
    }
};

Facades& facades() {
    static Facades& theFacades = *new Facades;  // never destroyed, as the threads that use it
    return theFacades;
}

PASDK_EARLIEST const pa::MadeEarly made(facades);

}  // namespace

/// A way of uploads, and how many uploads it has at the moment.
struct AudioServer::Way {
    /// Whether it leads anywhere: not in the child of a fork, nor do its uploads go on there.
    bool isOfThisProcess() const { return generation == pa::forkGeneration(); }

    Uploader upload;
    const unsigned generation = pa::forkGeneration();
    int underWay = 0;
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

/// One upload on the way in force, from its beginning to its end.
class AudioServer::Passage {
public:
    explicit Passage(AudioServer& server) {
        const std::lock_guard guard(facades().uploads);
        if (server.way_ != nullptr && server.way_->isOfThisProcess()) {
            way_ = server.way_;
            ++way_->underWay;
        }
    }
    Passage(const Passage&) = delete;
    Passage& operator=(const Passage&) = delete;
    ~Passage() {
        if (way_ != nullptr) {
            const std::lock_guard guard(facades().uploads);
            --way_->underWay;
            facades().uploadEnded.notify_all();
        }
    }

    /// Null when there is no way.
    const Way* way() const { return way_.get(); }

private:
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
    std::unique_lock guard(facades().uploads);
    way_.swap(way);
    if (way != nullptr && way->isOfThisProcess()) {
        facades().uploadEnded.wait(guard, [&way] { return way->underWay == 0; });
    }
}

void AudioServer::addCampaignLog(const std::string& text) {
    const std::lock_guard guard(facades().facts);
    campaignLog_.push_back(text);
    if (campaignLog_.size() > campaignLogCapacity) {
        campaignLog_.pop_front();
    }
}

std::vector<std::string> AudioServer::getCampaignLog() const {
    const std::lock_guard guard(facades().facts);
    return {campaignLog_.begin(), campaignLog_.end()};
}

KeyValueMap AudioServer::getServerInfo() const {
    const std::lock_guard guard(facades().facts);
    return serverInfo_;
}

void AudioServer::setServerInfo(const KeyValueMap& info) {
    const std::lock_guard guard(facades().facts);
    serverInfo_ = info;
}
