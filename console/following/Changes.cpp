#include "console/following/Changes.h"

#include <set>
#include <utility>

#include "sdk/PAController.h"

namespace console {

namespace {

/// The one observer of the process. Observers are never removed, so subscribers come and go here.
class Hub final : public pa::PAControllerObserverAdapter {
public:
    using Kind = Change::Kind;

    void onPaSourceUpdate(PaSource source) override {
        tell({Kind::Update, "sourceUpdate", std::move(source)});
    }
    void onPaSourceDelete(int id) override { tell({Kind::Delete, "sourceDelete", GoneNumber{id}}); }
    void onPaSinkUpdate(PaSink sink) override {
        tell({Kind::Update, "sinkUpdate", std::move(sink)});
    }
    void onPaSinkDelete(int id) override { tell({Kind::Delete, "sinkDelete", GoneNumber{id}}); }
    void onPaZoneUpdate(PaZone zone) override {
        tell({Kind::Update, "zoneUpdate", std::move(zone)});
    }
    void onPaZoneDelete(std::string id) override {
        tell({Kind::Delete, "zoneDelete", GoneName{std::move(id)}});
    }
    void onPaTriggerUpdate(PaTrigger trigger) override {
        tell({Kind::Update, "triggerUpdate", std::move(trigger)});
    }
    void onPaTriggerDelete(int id) override {
        tell({Kind::Delete, "triggerDelete", GoneNumber{id}});
    }
    void onPaSelectorUpdate(PaSelector selector) override {
        tell({Kind::Update, "selectorUpdate", std::move(selector)});
    }
    void onPaSelectorDelete(int id) override {
        tell({Kind::Delete, "selectorDelete", GoneNumber{id}});
    }
    void onScheduleUpdate(ScheduleDefinition schedule) override {
        tell({Kind::Update, "scheduleUpdate", std::move(schedule)});
    }
    void onScheduleDelete(ScheduleDefinition schedule) override {
        tell({Kind::Delete, "scheduleDelete", std::move(schedule)});
    }
    void onAudioMessageRetrievalComplete(const std::string& requestId, bool success,
                                         MessageRetrievalError error,
                                         const std::string& uri) override {
        tell({Kind::Retrieval, "audioRetrieval", Retrieval{requestId, success, error, uri}});
    }
    void onMessageUpdate(AnnouncementRequest request) override {
        tell({Kind::Update, "announcementUpdate", std::move(request)});
    }
    void onMessageDelete(AnnouncementRequest request) override {
        tell({Kind::Delete, "announcementDelete", std::move(request)});
    }

    void tell(const Change& change) {
        const std::lock_guard guard(lock_);
        for (Changes* const subscriber : subscribers_) {
            subscriber->add(change);
        }
    }

    void subscribe(Changes& subscriber) {
        const std::lock_guard guard(lock_);
        subscribers_.insert(&subscriber);
    }

    void unsubscribe(Changes& subscriber) {
        const std::lock_guard guard(lock_);
        subscribers_.erase(&subscriber);
    }

private:
    std::mutex lock_;
    std::set<Changes*> subscribers_;  // guarded by lock_
};

/// Never destroyed: the controller calls it for as long as the process lives.
Hub& hub() {
    static Hub& instance = []() -> Hub& {
        auto* const made = new Hub;
        gPaController.registerObserver(made);
        return *made;
    }();
    return instance;
}

}  // namespace

Changes::Changes() {
    hub().subscribe(*this);
}

Changes::~Changes() {
    hub().unsubscribe(*this);
}

std::size_t Changes::waiting() {
    const std::lock_guard guard(lock_);
    return waiting_.size();
}

std::optional<Change> Changes::next(std::chrono::milliseconds limit) {
    std::unique_lock guard(lock_);
    if (!added_.wait_for(guard, limit, [this] { return !waiting_.empty(); })) {
        return std::nullopt;
    }
    Change change = std::move(waiting_.front());
    waiting_.pop_front();
    return change;
}

void Changes::add(const Change& change) {
    {
        const std::lock_guard guard(lock_);
        waiting_.push_back(change);
    }
    added_.notify_one();
}

void tellRefusal(const palink::Refusal& refusal) {
    hub().tell({Change::Kind::Refusal, "refusal", refusal});
}

void tellLevel(const palink::LevelReading& reading) {
    hub().tell({Change::Kind::Level, "level", reading});
}

}  // namespace console
