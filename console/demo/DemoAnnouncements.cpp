#include "console/demo/DemoAnnouncements.h"

#include <algorithm>

#include "console/commands/playMessage.h"
#include "console/text/recordText.h"
#include "framework/uuid.h"
#include "sdk/PAController.h"

namespace console {

namespace {

constexpr double stepSeconds = 3;      // simulated, between two announcements
constexpr double settleSeconds = 0.2;  // for what follows the end of the last announcement

}  // namespace

DemoAnnouncements::DemoAnnouncements(const Context& context, DemoScreen& screen)
    : context_(context), screen_(screen) {}

DemoAnnouncements::~DemoAnnouncements() {
    for (const Playing& playing : playing_) {
        if (!playing.follower.isOver()) {
            gPaController.cancelMessage(playing.follower.requestId());
        }
    }
}

std::vector<DemoResult> DemoAnnouncements::play(const std::vector<DemoItem>& plan) {
    const double speed = context_.settings.speed;
    const Moment limit = after(context_.settings.timeout.value_or(60 + 90 / speed));
    for (const DemoItem& item : plan) {
        screen_.addZones(item.request.zones);
    }
    for (const DemoItem& item : plan) {
        begin(item);
        screen_.showFor(*this, stepSeconds / speed);
    }
    for (const Playing& playing : playing_) {
        if (playing.item.expected == Outcome::Cancelled) {
            gPaController.cancelMessage(playing.follower.requestId());
        }
    }
    screen_.showUntil(*this, limit, [this] { return isOver(); });
    // What was to be ended by something else has ended by now, or will not.
    screen_.showFor(*this, settleSeconds);
    return results();
}

void DemoAnnouncements::begin(const DemoItem& item) {
    std::string id;
    generateUUID(id);
    playing_.push_back({item, RequestFollower(id, 1), "sent"});
    context_.connection.playedIds.push_back(id);
    screen_.tell(item.name,
                 std::string("sent to ") + valueText(item.request.zones) + ": " + item.kind);
    Message message = messageFor(item.request, id);
    gPaController.playMessage(zonesFor(item.request.zones), message);
}

/// Whether everything is over that is to end by itself.
bool DemoAnnouncements::isOver() const {
    return std::all_of(playing_.begin(), playing_.end(), [](const Playing& playing) {
        return playing.item.expected != Outcome::Finished || playing.follower.isOver();
    });
}

void DemoAnnouncements::take(const Change& change) {
    for (Playing& playing : playing_) {
        if (const auto news = playing.follower.take(change)) {
            playing.state = news->stateText;
            screen_.tell(playing.item.name, playing.state);
        }
    }
}

TextTable DemoAnnouncements::table() const {
    TextTable result({"REQUEST", "STATE", "KIND", "ZONES"});
    for (const Playing& playing : playing_) {
        result.addRow({playing.item.name, playing.state, playing.item.kind,
                       valueText(playing.item.request.zones)});
    }
    return result;
}

std::vector<DemoResult> DemoAnnouncements::results() const {
    std::vector<DemoResult> all;
    for (const auto& [item, follower, state] : playing_) {
        const bool asExpected = follower.isOver() && follower.outcome() == item.expected;
        const Json details = {{"zones", item.request.zones}, {"requestId", follower.requestId()}};
        all.push_back({item.name, item.kind, nameOf(item.expected),
                       asExpected ? nameOf(item.expected) : follower.summary(), asExpected,
                       details});
    }
    return all;
}

}  // namespace console
