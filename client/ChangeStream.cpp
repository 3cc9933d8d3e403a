// SPDX-License-Identifier: Apache-2.0
#include "client/ChangeStream.h"

#include <memory>
#include <utility>

#include "client/ChangeStreamState.h"
#include "sdk/PAController.h"
#include "sdk/globals.h"

namespace paclient {

namespace {

/// The observer of the stream.
class StreamObserver final : public PAControllerObserver {
public:
    explicit StreamObserver(ChangeStream& stream) : stream_(stream) {}

    void onPaSourceUpdate(PaSource source) override { updated(std::move(source)); }
    void onPaSourceDelete(int id) override { stream_.publish(Deleted<PaSource>{id}); }
    void onPaSinkUpdate(PaSink sink) override { updated(std::move(sink)); }
    void onPaSinkDelete(int id) override { stream_.publish(Deleted<PaSink>{id}); }
    void onPaZoneUpdate(PaZone zone) override { updated(std::move(zone)); }
    void onPaZoneDelete(std::string id) override {
        stream_.publish(Deleted<PaZone>{std::move(id)});
    }
    void onPaTriggerUpdate(PaTrigger trigger) override { updated(std::move(trigger)); }
    void onPaTriggerDelete(int id) override { stream_.publish(Deleted<PaTrigger>{id}); }
    void onPaSelectorUpdate(PaSelector selector) override { updated(std::move(selector)); }
    void onPaSelectorDelete(int id) override { stream_.publish(Deleted<PaSelector>{id}); }
    void onScheduleUpdate(ScheduleDefinition schedule) override { updated(std::move(schedule)); }
    void onScheduleDelete(ScheduleDefinition schedule) override {
        stream_.publish(Deleted<ScheduleDefinition>{std::move(schedule)});
    }
    void onMessageUpdate(AnnouncementRequest request) override { updated(std::move(request)); }
    void onMessageDelete(AnnouncementRequest request) override {
        stream_.publish(Deleted<AnnouncementRequest>{std::move(request)});
    }
    void onAudioMessageRetrievalComplete(const std::string& requestId, bool success,
                                         MessageRetrievalError error,
                                         const std::string& uri) override {
        stream_.publish(Retrieval{requestId, success, error, uri});
    }

private:
    template <class Record>
    void updated(Record record) {
        stream_.publish(Updated<Record>{std::move(record)});
    }

    ChangeStream& stream_;
};

}  // namespace

ChangeStream& ChangeStream::instance() {
    static ChangeStream& stream = []() -> ChangeStream& {
        auto& made = *new ChangeStream;
        gPaController.registerObserver(new StreamObserver(made));
        return made;
    }();
    return stream;
}

ChangeStream::ChangeStream() : state_(*new State) {}

void ChangeStream::publish(Change change) {
    if (const auto* const connection = std::get_if<palink::ConnectionChange>(&change)) {
        using Link = palink::ConnectionChange::State;
        // Before the subscribers are read: a new one sees the state or receives the change.
        state_.isAway =
            connection->state == Link::Connected || connection->state == Link::Disconnected;
    }
    const auto subscribers = state_.current();
    const std::size_t kind = change.index();
    ChangePtr shared;
    std::size_t bytes = 0;
    const auto share = [&] {
        if (shared == nullptr) {
            bytes = bytesOf(change);
            shared = std::make_shared<const Change>(std::move(change));
        }
    };
    for (const auto& queue : subscribers->queues) {
        if (queue->wanted[kind]) {
            share();
            queue->add(shared, bytes);
        }
    }
    for (const auto& listener : subscribers->listeners) {
        if (listener->wanted[kind]) {
            share();
            listener->slot.call(shared);
        }
    }
}

bool ChangeStream::isAway() const {
    return state_.isAway;
}

void ChangeStream::compareLocks() {
    state_.locks.compare([this](LockChange change) { publish(std::move(change)); });
}

void ChangeStream::forgetLocks() {
    state_.locks.forget();
}

}  // namespace paclient
