#include "console/commands/sourceLevel.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>

#include "client/ChangeStream.h"
#include "console/ExitCode.h"
#include "console/following/LiveView.h"
#include "console/text/changeText.h"
#include "framework/clock.h"
#include "sdk/PAController.h"

namespace console {

using namespace paclient;

namespace {

constexpr double readingSeconds = 10;  // the longest time between two readings

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

void SourceLevel::define(CLI::App& app) {
    Named::define(app);
    addWhole(app, "--count", count, {1, greatestWhole}, "End after so many readings");
    addNumber(app, "--seconds", seconds, {0, forEver}, "End after so many seconds");
}

void SourceLevel::run(const Context& context) const {
    const PaSource source = find(context);
    const int element = source.id / 100;
    const std::int64_t startMS = pa::monotonicMS();
    Subscription changes(kinds<palink::LevelReading, palink::ConnectionChange>());
    const Feed feed(source.id);
    Meter meter(context);
    for (int shown = 0; !count || shown < *count;) {
        const double passed = static_cast<double>(pa::monotonicMS() - startMS) / 1000;
        const double left = seconds.value_or(forEver) - passed;
        Wait wait = waitOf(context, "for a reading", "", readingSeconds);
        const bool endsFirst = std::chrono::duration<double>(left) < wait.limit;
        if (endsFirst) {
            wait.limit = std::chrono::milliseconds(std::max(0LL, std::llround(left * 1000)));
        }
        const ChangePtr change = changes.next(wait);
        if (change == nullptr && endsFirst) {
            return;
        }
        if (change == nullptr) {
            throw Failure(ExitCode::TimedOut,
                          "the meter of element " + std::to_string(element) + " reports nothing");
        }
        if (isLoss(*change)) {  // and with it the feed
            throw Failure(ExitCode::ConnectionLost, "the connection to the server is lost");
        }
        const auto* const reading = std::get_if<palink::LevelReading>(change.get());
        if (reading != nullptr && reading->element == element) {
            meter.show(*reading);
            ++shown;
        }
    }
}

}  // namespace console
