// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <atomic>

#include "client/ChangeFilter.h"
#include "client/choose.h"
#include "client/resources.h"
#include "console/Console.h"
#include "console/commands/commands.h"
#include "console/files/LineFile.h"
#include "console/following/operate.h"
#include "console/interrupt.h"
#include "console/text/changeText.h"
#include "framework/posixThread.h"
#include "sdk/PAController.h"

namespace console {

using namespace paclient;

namespace {

void print(const Context& context, const ChangeFilter& filter, const Change& change) {
    if (filter.passes(change)) {
        context.out.write(
            changeLine(change, context.settings.json ? LineForm::Json : LineForm::Text));
    }
}

/// Prints what the server holds now, as if all of it had just changed.
void printSnapshot(const Context& context, const ChangeFilter& filter) {
    const auto write = [&](const auto& records) {
        for (const auto& record : records) {
            print(context, filter, Updated<std::decay_t<decltype(record)>>{record});
        }
    };
    write(gPaController.getPaSources());
    write(gPaController.getPaSinks());
    write(gPaController.getPaZones());
    write(gPaController.getHwPaTriggers());
    write(gPaController.getPaSelectors());
    write(gPaController.listSchedules());
    write(gPaController.getAnnouncementRequests());
    for (const SourceLock& lock : allLocks()) {
        print(context, filter, LockChange{lock.sourceId, lock.lockedUUID, ""});
    }
}

/// Prints every change on a thread of its own. The destructor prints what has been notified so far.
class Printer {
public:
    Printer(const Context& context, const ChangeFilter& filter)
        : context_(context),
          filter_(filter),
          changes_(filter.kinds | kinds<palink::ConnectionChange>()),
          thread_("monitor", [this] { run(); }) {}
    Printer(const Printer&) = delete;
    Printer& operator=(const Printer&) = delete;
    ~Printer() { finishing_ = true; }

private:
    void run() try {
        while (!finishing_) {
            constexpr std::chrono::milliseconds tick{50};
            printNext(tick);
        }
        for (std::size_t left = changes_.waiting(); left > 0; --left) {  // later ones are too late
            printNext({});
        }
    } catch (const Failure&) {
        interrupt::outputFailed = true;
    }

    void printNext(std::chrono::milliseconds wait) {
        if (const auto change = changes_.next(wait)) {
            if (const std::string text = connectionText(*change); !text.empty()) {
                context_.diagnostics.diagnostic(text);
            }
            print(context_, filter_, *change);
        }
    }

    const Context& context_;
    const ChangeFilter& filter_;
    Subscription changes_;
    std::atomic<bool> finishing_{false};
    pa::PosixThread thread_;  // last: it uses the others
};

/// A wait that ends when the user interrupts, a change cannot be printed, or the connection has
/// been away for longer than --timeout.
Wait watchWait(const Context& context, double seconds) {
    Wait wait = interruptibleWait(seconds);
    context.connected();
    wait.whileWaiting = [&context](std::chrono::milliseconds /*waited*/) {
        interrupt::check();
        context.session.requireBackWithin(context.settings.timeout.value_or(forEver));
    };
    return wait;
}

void watch(const Context& context, double seconds) {
    if (context.diagnostics.isTerminal()) {
        context.diagnostics.diagnostic("watching the server, until Ctrl-C");
    }
    Subscription(kinds<>()).next(watchWait(context, seconds));
}

/// Waits until nothing that the script has played is active any more.
void waitForRequests(const Context& context, Subscription& ends) {
    const auto& ids = context.session.playedIds;
    const auto isOurs = [&ids](const AnnouncementRequest& record) {
        return std::find(ids.begin(), ids.end(), record.getRequestID()) != ids.end();
    };
    // An end is notified just before the controller forgets the request: look again soon.
    WaitCourse course(watchWait(context, context.settings.timeout.value_or(forEver)));
    while (true) {
        const auto active = gPaController.getAnnouncementRequests();
        if (std::none_of(active.begin(), active.end(), isOurs)) {
            return;
        }
        const auto slice = course.next();
        require(slice.has_value(), "the script's announcements are not over in time",
                ExitCode::TimedOut);
        ends.next(*slice);
    }
}

/// Runs the script beside the monitor: its commands write to the diagnostics.
void watchScript(const Context& context) {
    Subscription ends(kinds<Deleted<AnnouncementRequest>>());
    runScriptLines(
        {context.settings, context.diagnostics, context.diagnostics, -1, context.session});
    waitForRequests(context, ends);
    context.connected().waitUntilDelivered();  // zones and sinks end after the announcements
    interrupt::check();
}

/// A value of --kind.
struct MonitoredKind {
    const char* name;
    ChangeKinds kinds;
};

const std::vector<MonitoredKind>& monitoredKinds() {
    static const std::vector<MonitoredKind> rows = {
        {"sources", kinds<Updated<PaSource>, Deleted<PaSource>>()},
        {"sinks", kinds<Updated<PaSink>, Deleted<PaSink>>()},
        {"zones", kinds<Updated<PaZone>, Deleted<PaZone>>()},
        {"triggers", kinds<Updated<PaTrigger>, Deleted<PaTrigger>>()},
        {"selectors", kinds<Updated<PaSelector>, Deleted<PaSelector>>()},
        {"schedules", kinds<Updated<ScheduleDefinition>, Deleted<ScheduleDefinition>>()},
        {"announcements", kinds<Updated<AnnouncementRequest>, Deleted<AnnouncementRequest>>()},
        {"locks", kinds<LockChange>()},
        {"previews", kinds<Retrieval>()},
        {"refusals", kinds<palink::Refusal>()}};
    return rows;
}

struct Monitor {
    std::optional<double> seconds;
    bool isSnapshot = false;
    std::vector<std::string> kindNames;
    std::vector<std::string> zoneNames;
    std::vector<std::string> sourceNames;

    void define(CLI::App& app) {
        CLI::Option* const limit =
            addNumber(app, "--seconds", seconds, {0, forEver}, "End after so many seconds");
        app.add_flag("--snapshot", isSnapshot, "Print the present state and end")->excludes(limit);
        std::vector<std::string> names;
        for (const MonitoredKind& row : monitoredKinds()) {
            names.emplace_back(row.name);
        }
        const auto check = [names](const std::string& text) {
            const auto isIt = [&text](const std::string& name) { return isNamed(text, name); };
            const bool isKnown = std::any_of(names.begin(), names.end(), isIt);
            return isKnown ? std::string() : unknownName("kind", text, names);
        };
        addTexts(app, "--kind", kindNames, "Only changes of a kind; repeatable", "KIND")
            ->check({check, CLI::detail::generate_set(names)});
        addTexts(app, "--zones", zoneNames, "Only what concerns a zone; repeatable", "ZONES");
        addTexts(app, "--source", sourceNames, "Only what concerns a source; repeatable", "ID");
    }

    void run(const Context& context) const {
        const bool hasScript = !context.settings.script.empty();
        require(!hasScript || (!seconds && !isSnapshot),
                "--seconds and --snapshot cannot be combined with --script");
        const std::filesystem::path& script = context.settings.script;
        std::error_code unknown;
        if (hasScript && !std::filesystem::is_fifo(script, unknown)) {  // which can be opened once
            LineFile(script.string(), "script");
        }
        context.connected();
        const ChangeFilter filter = wantedChanges();
        if (isSnapshot) {
            printSnapshot(context, filter);
        } else {
            const Printer printer(context, filter);
            hasScript ? watchScript(context) : watch(context, seconds.value_or(forEver));
        }
    }

private:
    /// A kind is also named by its singular.
    static bool isNamed(const std::string& text, const std::string& kind) {
        return text == kind || text + 's' == kind;
    }

    ChangeFilter wantedChanges() const {
        ChangeFilter filter;
        for (const MonitoredKind& row : monitoredKinds()) {
            const auto isIt = [&row](const std::string& text) { return isNamed(text, row.name); };
            const bool isWanted = std::any_of(kindNames.begin(), kindNames.end(), isIt);
            filter.kinds |= isWanted || kindNames.empty() ? row.kinds : ChangeKinds();
        }
        const std::vector<std::string> zoneIds = chooseZones(zoneNames);
        filter.zones = {zoneIds.begin(), zoneIds.end()};
        for (const std::string& name : sourceNames) {
            filter.sources.insert(findOne(sources, name).id);
        }
        return filter;
    }
};

}  // namespace

Command monitorCommand() {
    return command<Monitor>("monitor", "Print every change, until Ctrl-C");
}

}  // namespace console
