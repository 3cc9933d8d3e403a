#include "console/demo/DemoScreen.h"

#include <cstdio>

#include "console/text/cleanText.h"
#include "console/text/resources.h"

namespace console {

DemoScreen::DemoScreen(const Context& context) : context_(context) {
    if (context.terminal >= 0 && !context.settings.json) {
        view_.emplace(context.out);
    }
}

void DemoScreen::showNext(DemoPage& page, Moment deadline) {
    constexpr std::chrono::milliseconds drawingPeriod{100};
    const Moment nextDrawing = drawnAt_ + drawingPeriod;
    const auto change = context_.session().nextChange(changes_, std::min(deadline, nextDrawing));
    if (change) {
        page.take(*change);
        const auto* const zone = std::get_if<PaZone>(&change->what);
        if (zone != nullptr && zones_.count(zone->id) > 0) {
            tell(zone->id, zone->activityText + ' ' + zone->announcementTypeText);
        }
    }
    if (std::chrono::steady_clock::now() >= nextDrawing) {
        draw(page);
    }
}

void DemoScreen::tell(const std::string& who, const std::string& what) {
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
    // What matters most stands where a small terminal has room for it.
    std::vector<std::string> lines = {elapsed(), ""};
    for (const auto& part : {page.table().lines(), {""}, zoneTable.lines()}) {
        lines.insert(lines.end(), part.begin(), part.end());
    }
    view_->draw(lines, sizeOfTerminal(context_.terminal));
}

std::string DemoScreen::elapsed() const {
    const std::chrono::duration<double> passed = std::chrono::steady_clock::now() - start_;
    char text[32];
    std::snprintf(text, sizeof text, "%6.1f s", passed.count());
    return text;
}

}  // namespace console
