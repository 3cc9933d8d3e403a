#include "console/demo/DemoScreen.h"

#include <algorithm>
#include <cstdio>
#include <regex>

#include "client/resources.h"
#include "console/ExitCode.h"
#include "console/interrupt.h"
#include "console/text/changeText.h"
#include "console/text/cleanText.h"

namespace console {

using namespace paclient;
using Clock = std::chrono::steady_clock;

std::string withShortIds(const std::string& text) {
    static const std::regex uuid("([0-9a-f]{8})(-[0-9a-f]{4}){3}-[0-9a-f]{12}");
    return std::regex_replace(text, uuid, "$1...");
}

DemoScreen::DemoScreen(const Context& context) : context_(context) {
    if (context.terminal >= 0 && !context.settings.json) {
        view_.emplace(context.out, hasColours(context.terminal));
    }
}

void DemoScreen::beginStep(const DemoStep& step) {
    step_ = &step;
    ++number_;
    report(numberText(), std::string(step.name) + ": " + step.kind);
}

bool DemoScreen::showUntil(double seconds, const std::string& awaited,
                           const std::function<bool()>& isReached) {
    awaited_ = awaited;
    awaitedSince_ = Clock::now();
    if (!awaited.empty()) {
        report(step_->name, "waiting for " + awaited);
    }
    const Moment deadline = after(seconds);
    while (!isReached()) {
        if (Clock::now() >= deadline) {
            return false;
        }
        showNext(deadline);
    }
    draw();
    return true;
}

void DemoScreen::showNext(Moment deadline) {
    constexpr std::chrono::milliseconds drawingPeriod{100};
    const Moment nextDrawing = drawnAt_ + drawingPeriod;
    const std::chrono::duration<double> left = std::min(deadline, nextDrawing) - Clock::now();
    interrupt::check();
    if (const auto change = changes_.next(interruptibleWait(std::max(left.count(), 0.0)))) {
        require(!isLoss(*change), "the connection to the server is lost", ExitCode::ConnectionLost);
        take(*change);
        const auto* const zone = std::get_if<Updated<PaZone>>(change.get());
        if (zone != nullptr && zones_.count(zone->record.id) > 0) {
            report(zone->record.id,
                   zone->record.activityText + ' ' + zone->record.announcementTypeText);
        }
    }
    if (Clock::now() >= nextDrawing) {
        draw();
    }
}

void DemoScreen::report(const std::string& who, const std::string& what) {
    constexpr std::size_t nameWidth = 16;
    if (!view_ && !context_.settings.json) {
        context_.out.write(elapsed() + "  " + fitted(clean(who), nameWidth) + ' ' +
                           clean(withShortIds(what)) + '\n');
    }
}

void DemoScreen::draw() {
    drawnAt_ = Clock::now();
    if (!view_) {
        return;
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
        elapsed() + "  " + page() + ", " + numberText() + ": " + step_->name,
        awaited_.empty() ? "" : "waiting for " + awaited_ + ": " + std::to_string(waited) + " s",
        ""};
    for (const auto& part : {table().lines(), {""}, zoneTable.lines()}) {
        lines.insert(lines.end(), part.begin(), part.end());
    }
    view_->draw(lines, sizeOfTerminal(context_.terminal));
}

std::string DemoScreen::numberText() const {
    return "step " + std::to_string(number_) + " of " + std::to_string(demoSteps.size());
}

std::string DemoScreen::elapsed() const {
    const std::chrono::duration<double> passed = Clock::now() - start_;
    char text[32];
    std::snprintf(text, sizeof text, "%6.1f s", passed.count());
    return text;
}

}  // namespace console
