#include <algorithm>
#include <atomic>

#include "console/Console.h"
#include "console/ExitCode.h"
#include "console/commands/commands.h"
#include "console/following/connectionText.h"
#include "console/interrupt.h"
#include "console/text/changeText.h"
#include "framework/posixThread.h"
#include "sdk/PAController.h"

namespace console {

using namespace paclient;

namespace {

/// Everything but the readings of a meter that another command reads.
ChangeKinds printedKinds() {
    return allKinds() & ~kinds<palink::LevelReading, SentOperation>();
}

/// Prints every change on a thread of its own. The destructor prints what has been notified so far.
class Printer {
public:
    explicit Printer(const Context& context)
        : out_(context.out),
          diagnostics_(context.diagnostics),
          form_(context.settings.json ? LineForm::Json : LineForm::Text),
          changes_(printedKinds()),
          thread_("monitor", [this] { run(); }) {}
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
            while (change != nullptr && !failed_) {
                print(*change);
                change = left > 0 ? changes_.next() : nullptr;
                left -= left > 0 ? 1 : 0;
            }
        }
    }

    void print(const Change& change) {
        if (const std::string text = connectionText(change); !text.empty()) {
            diagnostics_.diagnostic(text);
        }
        const std::string line = changeLine(change, form_);
        if (line.empty()) {
            return;
        }
        try {
            out_.write(line);
        } catch (const Failure&) {
            failed_ = true;
        }
    }

    Output& out_;
    Output& diagnostics_;
    const LineForm form_;
    Subscription changes_;
    std::atomic<bool> finishing_{false};
    std::atomic<bool> failed_{false};
    pa::PosixThread thread_;  // last: it uses the others
};

/// A wait that ends when the user interrupts, a change cannot be printed, or the connection has
/// been away for longer than --timeout.
paclient::Wait watchWait(const Context& context, const Printer& printer, double seconds) {
    paclient::Wait wait = interruptibleWait(seconds);
    const double awaySeconds = context.settings.timeout.value_or(forEver);
    Session& session = context.session();
    wait.whileWaiting = [&printer, &session, awaySeconds](std::chrono::milliseconds /*waited*/) {
        interrupt::check();
        printer.check();
        session.requireBackWithin(awaySeconds);
    };
    return wait;
}

void watch(const Context& context, double seconds) {
    const Printer printer(context);
    if (context.diagnostics.isTerminal()) {
        context.diagnostics.diagnostic("watching the server, until Ctrl-C");
    }
    Subscription nothing(paclient::kinds<>());
    nothing.next(watchWait(context, printer, seconds));
}

/// Waits until nothing that the script has played is active any more.
void waitForRequests(const Context& context, const Printer& printer, Subscription& ends) {
    const auto& ids = context.connection.playedIds;
    const auto isOurs = [&ids](const AnnouncementRequest& record) {
        return std::find(ids.begin(), ids.end(), record.getRequestID()) != ids.end();
    };
    // An end is notified just before the controller forgets the request: look again soon.
    paclient::WaitCourse course(
        watchWait(context, printer, context.settings.timeout.value_or(forEver)));
    while (true) {
        const auto active = gPaController.getAnnouncementRequests();
        if (std::none_of(active.begin(), active.end(), isOurs)) {
            return;
        }
        const auto slice = course.next();
        if (!slice) {
            throw Failure(ExitCode::TimedOut, "the script's announcements are not over in time");
        }
        ends.next(*slice);
    }
}

/// Runs the script beside the monitor: its commands write to the diagnostics.
void watchScript(const Context& context) {
    Subscription ends(paclient::kinds<Deleted<AnnouncementRequest>>());
    const Printer printer(context);
    runScriptLines(
        {context.settings, context.diagnostics, context.diagnostics, -1, context.connection});
    waitForRequests(context, printer, ends);
    context.session().waitUntilDelivered();  // zones and sinks end after the announcements
    printer.check();
}

struct Monitor {
    std::optional<double> seconds;

    void define(CLI::App& app) {
        addNumber(app, "--seconds", seconds, {0, forEver}, "End after so many seconds");
    }

    void run(const Context& context) const {
        const bool hasScript = !context.settings.script.empty();
        if (hasScript && seconds) {
            throw Failure(ExitCode::Usage, "--seconds does not go with --script");
        }
        context.session();
        hasScript ? watchScript(context) : watch(context, seconds.value_or(forEver));
    }
};

}  // namespace

Command monitorCommand() {
    return command<Monitor>("monitor", "Print every change, until Ctrl-C");
}

}  // namespace console
