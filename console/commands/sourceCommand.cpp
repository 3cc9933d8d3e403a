// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <chrono>
#include <cmath>

#include "client/ChangeStream.h"
#include "console/commands/devices.h"
#include "console/text/changeText.h"
#include "framework/clock.h"
#include "sdk/PAController.h"
#include "util/AtEnd.h"

namespace console {

using namespace paclient;

namespace {

constexpr GainRules sourceGainRules = {
    {paoperating::sourceGain.least, paoperating::sourceGain.greatest},
    "In dB, -96 to 42",
    {{"--first", "The server's own first flag"}, {"--second", "The server's own second flag"}}};

/// Asks for a change of a lock, and prints who holds it then.
/// @throws Failure that names the holder, when the lock is the reason
template <class Operation>
void changeLock(const Context& context, const PaSource& source, const std::string& effect,
                Operation operation) {
    const auto sentence = [&source] {
        return titleOf(sources, source) + " is locked by " + holderText(lockOf(source.id));
    };
    operate(context, titleOf(sources, source) + effect, [&](const Wait& wait) {
        Confirmation confirmation = operation(source.id, wait);
        if (confirmation.state == Confirmation::State::Refused &&
            lockHolder(source.id) != ownUUID()) {
            throw Failure(ExitCode::Refused, sentence());
        }
        return confirmation;
    });
    printOutcome(context, sentence(), toJson(lockOf(source.id)));
}

void attach(const Context& context, const PaSource& source) {
    changeLock(context, source, " is locked", takeLock);
    if (!context.session.lasts) {
        context.diagnostics.diagnostic(
            "the lock lapses when this command has ended; a script keeps it, and 'paconsole "
            "shell'");
    }
}

void detach(const Context& context, const PaSource& source) {
    changeLock(context, source, " is released", releaseLock);
}

void printZones(const Context& context, const PaSource& source) {
    const std::vector<std::string> attached = source.getAttachedPaZones();
    const SourceLock lock = lockOf(source.id);
    Json report = toJson(lock);
    report["zones"] = attached;
    TextTable table({"ITEM", "VALUE"});
    table.addRow({"source", std::to_string(source.id) + ' ' + source.label});
    table.addRow({"locked by", holderText(lock)});
    for (const std::string& zone : attached) {
        table.addRow({"zone", zone});
    }
    context.settings.json ? context.writeJson(report) : context.out.write(table.text());
}

// -------------------------------------------------------------------------------------- levels

constexpr double levelRange = 60;      // dB below 0 at which the bar is empty
constexpr double readingSeconds = 10;  // the longest time between two readings

/// @param view null where readings are lines
void show(const Context& context, LiveView* view, const palink::LevelReading& reading) {
    const std::string text = fixedText(reading.level, 1, 6) + " dB";
    if (context.settings.json) {
        context.writeJson(toJson(reading));
    } else if (view == nullptr) {
        context.out.write(text + '\n');
    } else {
        const TerminalSize size = sizeOfTerminal(context.terminal);
        const std::size_t taken = text.size() + 3;
        const std::size_t free = size.columns > taken ? size.columns - taken : 0;
        view->draw({text + "  " + bar(1 + reading.level / levelRange, free)}, size);
    }
}

/// Shows the level of a source's amplifier element: a bar on a terminal, else a line for each
/// reading. The feed ends with it. Without a limit the user interrupts.
struct SourceLevel : Named<sources> {
    std::optional<int> count;       // readings
    std::optional<double> seconds;  // since the start

    void define(CLI::App& app) {
        Named::define(app);
        addWhole(app, "--count", count, {1, greatestWhole}, "End after so many readings");
        addNumber(app, "--seconds", seconds, {0, forEver}, "End after so many seconds");
    }

    void run(const Context& context) const {
        const PaSource source = find(context);
        const int element = source.id / 100;
        const std::int64_t startMS = pa::monotonicMS();
        Subscription changes(kinds<palink::LevelReading, palink::ConnectionChange>());
        gPaController.enablePaSourceVUMeter(source.id);
        const pautil::AtEnd noFeed([&] { gPaController.disablePaSourceVUMeter(source.id); });
        const std::unique_ptr<LiveView> view = context.liveView();
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
            require(change != nullptr,
                    "the meter of element " + std::to_string(element) + " reports nothing",
                    ExitCode::TimedOut);
            requireNoLoss(*change);  // and with it the feed
            const auto* const reading = std::get_if<palink::LevelReading>(change.get());
            if (reading != nullptr && reading->element == element) {
                show(context, view.get(), *reading);
                ++shown;
            }
        }
    }
};

}  // namespace

Command sourceCommand() {
    return group(
        "source", "Take a source, set its gain, see its zones and its level",
        {command<OfNamed<sources, attach>>("attach", "Take the lock of a source for this client"),
         command<OfNamed<sources, detach>>("detach", "Release it"),
         command<SetGain<sources, sourceGainRules>>("gain", "Set the input gain"),
         command<OfNamed<sources, printZones>>(
             "zones", "Show the zones attached to a source, and who holds its lock"),
         command<SourceLevel>("vu", "Show the level of its amplifier element, until Ctrl-C")});
}

}  // namespace console
