#include "console/demo/DemoAnnouncements.h"

#include <algorithm>

#include "client/recordText.h"
#include "console/commands/playMessage.h"
#include "sdk/PAController.h"

namespace console {

using namespace paclient;

namespace {

using State = paclient::Announcement::State;

constexpr double stepSeconds = 3;      // simulated, between two announcements
constexpr double settleSeconds = 0.2;  // for what follows the end of the last announcement

}  // namespace

DemoAnnouncements::DemoAnnouncements(const Context& context, DemoScreen& screen)
    : DemoPage("Announcements"), context_(context), screen_(screen) {}

DemoAnnouncements::~DemoAnnouncements() {
    for (const Playing& playing : playing_) {
        if (!playing.announcement->isOver()) {
            gPaController.cancelMessage(playing.announcement->requestId());
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
        if (playing.item.expected == State::Cancelled) {
            gPaController.cancelMessage(playing.announcement->requestId());
        }
    }
    screen_.await("the end of what plays");
    screen_.showUntil(*this, limit, [this] { return isOver(); });
    // The end of what another one ends follows at once.
    screen_.showFor(*this, settleSeconds);
    return results();
}

void DemoAnnouncements::begin(const DemoItem& item) {
    screen_.beginStep(item.name);
    screen_.report(item.name,
                   std::string("sent to ") + valueText(item.request.zones) + ": " + item.kind);
    playing_.push_back({item,
                        std::make_unique<paclient::Announcement>(zonesFor(item.request.zones),
                                                                 messageFor(item.request)),
                        "sent"});
    context_.connection.playedIds.push_back(playing_.back().announcement->requestId());
}

/// Whether everything that ends by itself is over.
bool DemoAnnouncements::isOver() const {
    return std::all_of(playing_.begin(), playing_.end(), [](const Playing& playing) {
        return playing.item.expected != State::Finished || playing.announcement->isOver();
    });
}

void DemoAnnouncements::take(const Change& change) {
    const auto* const update = std::get_if<Updated<AnnouncementRequest>>(&change);
    for (Playing& playing : playing_) {
        const bool isIts =
            update != nullptr && update->record.getRequestID() == playing.announcement->requestId();
        if (isIts && update->record.stateText != playing.state) {
            playing.state = update->record.stateText;
            screen_.report(playing.item.name, playing.state);
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
    for (const auto& [item, announcement, lastState] : playing_) {
        const State state = announcement->state();
        const bool asExpected = announcement->isOver() && state == item.expected;
        const Json details = {{"zones", item.request.zones},
                              {"requestId", announcement->requestId()}};
        all.push_back({item.name, item.kind, nameOf(item.expected),
                       asExpected ? nameOf(state) : nameOf(state) + (": " + announcement->reason()),
                       asExpected, details});
    }
    return all;
}

}  // namespace console
