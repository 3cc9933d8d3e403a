#include <algorithm>
#include <atomic>
#include <map>
#include <memory>

#include "console/Console.h"
#include "console/ExitCode.h"
#include "console/arguments/Parser.h"
#include "console/commands/commands.h"
#include "console/text/changeText.h"
#include "console/text/resources.h"
#include "framework/posixThread.h"
#include "sdk/PAController.h"

namespace console {

namespace {

/// For what follows the end of a request: zones and sinks fall silent.
constexpr double settleSeconds = 0.1;

/// Finds what has changed in the locks of sources, which the controller tells nobody of.
class LockWatch {
public:
    std::vector<Change> changes() {
        std::vector<Change> result;
        for (const Lock& lock : locks.all()) {
            std::string& before =
                holders_.try_emplace(lock.sourceId, lock.lockedUUID).first->second;
            if (before != lock.lockedUUID) {
                before = lock.lockedUUID;
                result.push_back({Change::Kind::Update, "lockUpdate", lock});
            }
        }
        return result;
    }

private:
    std::map<int, std::string> holders_;  // by source
};

/// Prints every change on a thread of its own. The destructor prints what has been told so far.
class Printer {
public:
    explicit Printer(const Context& context)
        : out_(context.out), json_(context.settings.json), thread_("monitor", [this] { run(); }) {}
    Printer(const Printer&) = delete;
    Printer& operator=(const Printer&) = delete;
    ~Printer() { finishing_ = true; }

    /// @throws Failure when a change could not be printed
    void check() const {
        if (failed_) {
            throw Failure(ExitCode::Usage, "the output cannot be written");
        }
    }

private:
    void run() {
        constexpr std::chrono::milliseconds tick{50};
        bool isLastRound = false;
        while (!isLastRound && !failed_) {
            isLastRound = finishing_;
            auto change = changes_.next(isLastRound ? tick * 0 : tick);
            std::size_t left = changes_.waiting();  // what comes meanwhile has to wait
            while (change && !failed_) {
                print(*change);
                change = left > 0 ? changes_.next(tick * 0) : std::nullopt;
                left -= left > 0 ? 1 : 0;
            }
            for (const Change& lockChange : locks_.changes()) {
                print(lockChange);
            }
        }
    }

    void print(const Change& change) {
        if (change.kind == Change::Kind::Level) {
            return;  // of a meter that another command reads
        }
        try {
            out_.write(json_ ? changeJson(change) : changeText(change));
        } catch (const Failure&) {
            failed_ = true;
        }
    }

    Output& out_;
    const bool json_;
    Changes changes_;
    LockWatch locks_;
    std::atomic<bool> finishing_{false};
    std::atomic<bool> failed_{false};
    pa::PosixThread thread_;  // last: it uses the others
};

void watch(const Context& context, double seconds) {
    Changes changes;
    const Printer printer(context);
    const Moment deadline = after(seconds);
    while (context.session().nextChange(changes, deadline)) {
        printer.check();
    }
}

/// Waits until nothing that the script has played is active any more.
void waitForRequests(const Context& context, Changes& changes) {
    const auto& ids = context.connection.playedIds;
    const auto isOurs = [&ids](const AnnouncementRequest& record) {
        return std::find(ids.begin(), ids.end(), record.getRequestID()) != ids.end();
    };
    const Moment deadline = after(context.settings.timeout.value_or(forEver));
    while (true) {
        const auto active = gPaController.getAnnouncementRequests();
        if (std::none_of(active.begin(), active.end(), isOurs)) {
            return;
        }
        if (!context.session().nextChange(changes, deadline)) {
            throw Failure(ExitCode::TimedOut, "the script's announcements are not over in time");
        }
    }
}

/// Runs the script beside the monitor: its commands write to the diagnostics.
void watchScript(const Context& context) {
    Changes changes;
    const Printer printer(context);
    runScriptLines(
        {context.settings, context.diagnostics, context.diagnostics, -1, context.connection});
    waitForRequests(context, changes);
    const Moment settled = after(settleSeconds);
    while (context.session().nextChange(changes, settled)) {
    }
    printer.check();
}

}  // namespace

Handler defineMonitor(Parser& parser) {
    const auto seconds = std::make_shared<std::optional<double>>();
    parser.addNumber("--seconds", *seconds, {0, forEver}, "End after so many seconds");
    return [seconds](const Context& context) {
        const bool hasScript = !context.settings.script.empty();
        if (hasScript && *seconds) {
            throw Failure(ExitCode::Usage, "--seconds does not go with --script");
        }
        context.session();
        hasScript ? watchScript(context) : watch(context, seconds->value_or(forEver));
    };
}

}  // namespace console
