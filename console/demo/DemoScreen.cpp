// SPDX-License-Identifier: Apache-2.0
#include "console/demo/DemoScreen.h"

#include <regex>

#include "client/resources.h"
#include "console/text/cleanText.h"

namespace console {

using namespace paclient;

std::string withShortIds(const std::string& text) {
    static const std::regex uuid("([0-9a-f]{8})(-[0-9a-f]{4}){3}-[0-9a-f]{12}");
    return std::regex_replace(text, uuid, "$1...");
}

DemoScreen::DemoScreen(const Context& context, const std::vector<DemoProgress>& steps,
                       const std::set<std::string>& zones)
    : context_(context),
      steps_(steps),
      zones_(zones),
      view_(context.liveView(hasColours(context.terminal))) {}

void DemoScreen::beginStep(const DemoProgress& step) {
    step_ = &step;
    report(numberText(), std::string(step.step.name) + ": " + step.step.kind);
}

void DemoScreen::beginWait(const std::string& awaited) {
    awaited_ = awaited;
    awaitedSince_ = Clock::now();
    if (!awaited.empty()) {
        report(step_->step.name, "waiting for " + awaited);
    }
}

void DemoScreen::report(const std::string& who, const std::string& what) {
    constexpr std::size_t nameWidth = 16;
    if (!view_ && !context_.settings.json) {
        context_.out.write(elapsed() + "  " + fitted(clean(who), nameWidth) + ' ' +
                           clean(withShortIds(what)) + '\n');
    }
}

void DemoScreen::reportZone(const Change& change) {
    const auto* const zone = std::get_if<Updated<PaZone>>(&change);
    if (zone != nullptr && zones_.count(zone->record.id) > 0) {
        report(zone->record.id,
               zone->record.activityText + ' ' + zone->record.announcementTypeText);
    }
}

void DemoScreen::drawAgain() {
    constexpr std::chrono::milliseconds drawingPeriod{100};
    if (Clock::now() >= drawnAt_ + drawingPeriod) {
        draw();
    }
}

void DemoScreen::draw() {
    drawnAt_ = Clock::now();
    if (!view_) {
        return;
    }
    const std::string page = step_->step.page;
    TextTable stepTable({"STEP", "KIND", "SEEN"});
    for (const DemoProgress& step : steps_) {
        if (step.step.page == page) {
            stepTable.addRow({step.step.name, step.step.kind, withShortIds(step.seen)});
        }
    }
    TextTable zoneTable({"ZONE", "ACTIVITY", "ANNOUNCEMENT"});
    for (const PaZone& zone : zones.all()) {
        if (zones_.count(zone.id) > 0) {
            zoneTable.addRow({zone.id, zone.activityText, zone.announcementTypeText});
        }
    }
    const auto waited =
        std::chrono::duration_cast<std::chrono::seconds>(drawnAt_ - awaitedSince_).count();
    // A small terminal shows the first lines.
    std::vector<std::string> lines = {
        elapsed() + "  " + page + ", " + numberText() + ": " + step_->step.name,
        awaited_.empty() ? "" : "waiting for " + awaited_ + ": " + std::to_string(waited) + " s",
        ""};
    for (const auto& part : {stepTable.lines(), {""}, zoneTable.lines()}) {
        lines.insert(lines.end(), part.begin(), part.end());
    }
    view_->draw(lines, sizeOfTerminal(context_.terminal));
}

std::string DemoScreen::numberText() const {
    return "step " + std::to_string(step_ - steps_.data() + 1) + " of " +
           std::to_string(steps_.size());
}

std::string DemoScreen::elapsed() const {
    const std::chrono::duration<double> passed = Clock::now() - start_;
    return fixedText(passed.count(), 1, 6) + " s";
}

}  // namespace console
