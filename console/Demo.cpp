#include "console/Demo.h"

#include <algorithm>
#include <cstdio>

#include "console/TextTable.h"
#include "console/cleanText.h"
#include "console/playMessage.h"
#include "console/resources.h"
#include "framework/uuid.h"
#include "sdk/PAController.h"

namespace console {

namespace {

constexpr double stepSeconds = 3;      // simulated, between two announcements
constexpr double settleSeconds = 0.2;  // for what follows the end of the last announcement

}  // namespace

Demo::Demo(const Context& context)
    : context_(context),
      limit_(after(context.settings.timeout.value_or(60 + 90 / context.settings.speed))) {
    if (context.terminal >= 0 && !context.settings.json) {
        view_.emplace(context.out);
    }
}

void Demo::play(const std::vector<DemoItem>& plan) {
    for (const DemoItem& item : plan) {
        zones_.insert(item.request.zones.begin(), item.request.zones.end());
    }
    for (const DemoItem& item : plan) {
        begin(item);
        const Moment next = after(stepSeconds / context_.settings.speed);
        watchUntil(next, [] { return false; });
    }
    for (const Playing& playing : playing_) {
        if (playing.item.expected == Outcome::Cancelled) {
            gPaController.cancelMessage(playing.follower.requestId());
        }
    }
    watchUntil(limit_, [this] { return isOver(); });
    // What was to be ended by something else has ended by now, or will not.
    watchUntil(after(settleSeconds), [] { return false; });
    view_.reset();
}

void Demo::begin(const DemoItem& item) {
    std::string id;
    generateUUID(id);
    playing_.push_back({item, RequestFollower(id, 1), "sent"});
    context_.connection.playedIds.push_back(id);
    tell(item.name, std::string("sent to ") + valueText(item.request.zones) + ": " + item.kind);
    Message message = messageFor(item.request, id);
    gPaController.playMessage(zonesFor(item.request), message);
}

bool Demo::isOver() const {
    return std::all_of(playing_.begin(), playing_.end(), [](const Playing& playing) {
        return playing.item.expected != Outcome::Finished || playing.follower.isOver();
    });
}

template <class Condition>
void Demo::watchUntil(Moment deadline, Condition isReached) {
    constexpr std::chrono::milliseconds drawingPeriod{100};
    while (!isReached() && std::chrono::steady_clock::now() < deadline) {
        const Moment nextDrawing = drawnAt_ + drawingPeriod;
        const auto change =
            context_.session().nextChange(changes_, std::min(deadline, nextDrawing));
        if (change) {
            take(*change);
        }
        if (std::chrono::steady_clock::now() >= nextDrawing) {
            draw();
        }
    }
    draw();
}

void Demo::take(const Change& change) {
    for (Playing& playing : playing_) {
        if (const auto news = playing.follower.take(change)) {
            playing.state = news->stateText;
            tell(playing.item.name, playing.state);
        }
    }
    const auto* const zone = std::get_if<PaZone>(&change.what);
    if (zone != nullptr && zones_.count(zone->id) > 0) {
        tell(zone->id, zone->activityText + ' ' + zone->announcementTypeText);
    }
}

/// One plain line, where no table is drawn.
void Demo::tell(const std::string& who, const std::string& what) {
    if (view_ || context_.settings.json) {
        return;
    }
    constexpr std::size_t nameWidth = 16;
    context_.out.write(elapsed() + "  " + fitted(clean(who), nameWidth) + ' ' + clean(what) + '\n');
}

void Demo::draw() {
    drawnAt_ = std::chrono::steady_clock::now();
    if (!view_) {
        return;
    }
    // What matters most stands where a small terminal has room for it.
    TextTable requestTable({"REQUEST", "STATE", "KIND", "ZONES"});
    for (const Playing& playing : playing_) {
        requestTable.addRow({playing.item.name, playing.state, playing.item.kind,
                             valueText(playing.item.request.zones)});
    }
    TextTable zoneTable({"ZONE", "ACTIVITY", "ANNOUNCEMENT"});
    for (const PaZone& zone : zones.all()) {
        if (zones_.count(zone.id) > 0) {
            zoneTable.addRow({zone.id, zone.activityText, zone.announcementTypeText});
        }
    }
    std::vector<std::string> lines = {elapsed(), ""};
    for (const auto& part : {requestTable.lines(), {""}, zoneTable.lines()}) {
        lines.insert(lines.end(), part.begin(), part.end());
    }
    view_->draw(lines, sizeOfTerminal(context_.terminal));
}

std::string Demo::elapsed() const {
    const std::chrono::duration<double> passed = std::chrono::steady_clock::now() - start_;
    char text[32];
    std::snprintf(text, sizeof text, "%6.1f s", passed.count());
    return text;
}

}  // namespace console
