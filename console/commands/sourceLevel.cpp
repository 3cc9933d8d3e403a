#include "console/commands/sourceLevel.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

#include "console/ExitCode.h"
#include "console/following/LiveView.h"
#include "sdk/PAController.h"

namespace console {

namespace {

constexpr double readingSeconds = 10;  // the longest silence of a meter

/// The feed of a source, for as long as the object lives.
class Feed {
public:
    explicit Feed(int sourceId) : sourceId_(sourceId) {
        gPaController.enablePaSourceVUMeter(sourceId_);
    }
    Feed(const Feed&) = delete;
    Feed& operator=(const Feed&) = delete;
    ~Feed() { gPaController.disablePaSourceVUMeter(sourceId_); }

private:
    const int sourceId_;
};

std::string levelText(double level) {
    char text[32];
    std::snprintf(text, sizeof text, "%6.1f dB", level);
    return text;
}

/// Shows readings one after the other.
class Meter {
public:
    explicit Meter(const Context& context) : context_(context) {
        if (context.terminal >= 0 && !context.settings.json) {
            view_.emplace(context.out);
        }
    }

    void show(const palink::LevelReading& reading) {
        if (context_.settings.json) {
            context_.writeJson(toJson(reading));
        } else if (view_) {
            const TerminalSize size = sizeOfTerminal(context_.terminal);
            const std::string text = levelText(reading.level) + "  ";
            const std::size_t taken = text.size() + 1;
            const std::size_t free = size.columns > taken ? size.columns - taken : 0;
            view_->draw({text + levelBar(reading.level, free)}, size);
        } else {
            context_.out.write(levelText(reading.level) + '\n');
        }
    }

private:
    const Context& context_;
    std::optional<LiveView> view_;
};

}  // namespace

std::string levelBar(double level, std::size_t columns) {
    constexpr double lowest = -60;
    const double share = std::isnan(level) ? 0 : std::clamp(1 - level / lowest, 0.0, 1.0);
    return std::string(static_cast<std::size_t>(std::lround(share * static_cast<double>(columns))),
                       '#');
}

void showLevel(const Context& context, const PaSource& source, const LevelLimits& limits) {
    const int element = source.id / 100;
    const Moment end = after(limits.seconds.value_or(forEver));
    Changes changes;
    const Feed feed(source.id);
    Meter meter(context);
    int shown = 0;
    Moment deadline = after(context.settings.timeout.value_or(readingSeconds));
    while (!limits.count || shown < *limits.count) {
        const auto change = context.session().nextChange(changes, std::min(deadline, end));
        if (std::chrono::steady_clock::now() >= end) {
            return;
        }
        const auto* const reading =
            change ? std::get_if<palink::LevelReading>(&change->what) : nullptr;
        if (reading != nullptr && reading->element == element) {
            meter.show(*reading);
            ++shown;
            deadline = after(context.settings.timeout.value_or(readingSeconds));
        } else if (std::chrono::steady_clock::now() >= deadline) {
            throw Failure(ExitCode::TimedOut,
                          "the meter of element " + std::to_string(element) + " tells nothing");
        }
    }
}

}  // namespace console
