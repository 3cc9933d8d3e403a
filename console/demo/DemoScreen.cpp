#include "console/demo/DemoScreen.h"

#include <cstdio>
#include <regex>

#include "client/resources.h"
#include "console/ExitCode.h"
#include "console/following/connectionText.h"
#include "console/interrupt.h"
#include "console/text/cleanText.h"

namespace console {

using namespace paclient;

std::string withShortIds(const std::string& text) {
    static const std::regex uuid("([0-9a-f]{8})(-[0-9a-f]{4}){3}-[0-9a-f]{12}");
    return std::regex_replace(text, uuid, "$1…");
}

DemoScreen::DemoScreen(const Context& context, std::size_t steps)
    : context_(context), steps_(steps) {
    if (context.terminal >= 0 && !context.settings.json) {
        view_.emplace(context.out, hasColours(context.terminal));
    }
}

void DemoScreen::beginStep(const std::string& name) {
    ++step_;
    stepName_ = name;
    await("");
    report("step " + std::to_string(step_) + " of " + std::to_string(steps_), name);
}

void DemoScreen::await(const std::string& what) {
    awaited_ = what;
    awaitedSince_ = std::chrono::steady_clock::now();
    if (!what.empty()) {
        report(stepName_, "waiting for " + what);
    }
}

void DemoScreen::showNext(DemoPage& page, Moment deadline) {
    constexpr std::chrono::milliseconds drawingPeriod{100};
    const Moment nextDrawing = drawnAt_ + drawingPeriod;
    const std::chrono::duration<double> left =
        std::min(deadline, nextDrawing) - std::chrono::steady_clock::now();
    interrupt::check();
    if (const auto change = changes_.next(interruptibleWait(std::max(left.count(), 0.0)))) {
        if (isLoss(*change)) {
            throw Failure(ExitCode::ConnectionLost, "the connection to the server is lost");
        }
        page.take(*change);
        const auto* const zone = std::get_if<Updated<PaZone>>(change.get());
        if (zone != nullptr && zones_.count(zone->record.id) > 0) {
            report(zone->record.id,
                   zone->record.activityText + ' ' + zone->record.announcementTypeText);
        }
    }
    if (std::chrono::steady_clock::now() >= nextDrawing) {
        draw(page);
    }
}

void DemoScreen::report(const std::string& who, const std::string& what) {
    if (view_ || context_.settings.json) {
        return;
    }
    constexpr std::size_t nameWidth = 16;
    context_.out.write(elapsed() + "  " + fitted(clean(who), nameWidth) + ' ' + clean(what) + '\n');
}

void DemoScreen::draw(const DemoPage& page) {
    drawnAt_ = std::chrono::steady_clock::now();
    if (!view_) {
        return;
    }
    TextTable zoneTable({"ZONE", "ACTIVITY", "ANNOUNCEMENT"});
    for (const PaZone& zone : zones.all()) {
        if (zones_.count(zone.id) > 0) {
            zoneTable.addRow({zone.id, zone.activityText, zone.announcementTypeText});
        }
    }
    // A small terminal shows the first lines.
    std::vector<std::string> lines = {heading(page), waitText(), ""};
    for (const auto& part : {page.table().lines(), {""}, zoneTable.lines()}) {
        lines.insert(lines.end(), part.begin(), part.end());
    }
    view_->draw(lines, sizeOfTerminal(context_.terminal));
}

std::string DemoScreen::heading(const DemoPage& page) const {
    return elapsed() + "  " + page.title + ", step " + std::to_string(step_) + " of " +
           std::to_string(steps_) + ": " + stepName_;
}

std::string DemoScreen::waitText() const {
    const auto waited = std::chrono::duration_cast<std::chrono::seconds>(
        std::chrono::steady_clock::now() - awaitedSince_);
    return awaited_.empty()
               ? ""
               : "waiting for " + awaited_ + ": " + std::to_string(waited.count()) + " s";
}

std::string DemoScreen::elapsed() const {
    const std::chrono::duration<double> passed = std::chrono::steady_clock::now() - start_;
    char text[32];
    std::snprintf(text, sizeof text, "%6.1f s", passed.count());
    return text;
}

}  // namespace console
