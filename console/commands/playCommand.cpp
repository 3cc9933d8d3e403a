// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <mutex>

#include "client/Announcement.h"
#include "client/StationClock.h"
#include "client/checkMessage.h"
#include "client/choose.h"
#include "client/recordText.h"
#include "console/commands/commands.h"
#include "console/commands/playOptions.h"
#include "console/following/operate.h"
#include "console/text/cleanText.h"
#include "framework/clock.h"
#include "operating/simulation.h"
#include "operating/wavFile.h"

namespace console {

using namespace paclient;
using namespace paoperating;

namespace {

constexpr double refusalSeconds = 1;  // for a request that the server answers only by a refusal

double secondsSince(std::int64_t startMS) {
    return static_cast<double>(pa::monotonicMS() - startMS) / 1000;
}

/// Shows the states of the parts as they come: a line each, and on a terminal, below them, how long
/// it has taken so far.
class PartStates {
public:
    /// @param expected how long it plays, in seconds, when that is known
    PartStates(const Context& context, std::optional<double> expected)
        : context_(context), expected_(expected), view_(context.liveView()) {}

    /// Whether the time that has passed is shown.
    bool isDrawn() const { return view_ != nullptr; }

    /// From a callback: notes a state, to be shown by `show`.
    void add(const Announcement::Part& part) {
        const std::lock_guard guard(lock_);
        waiting_.emplace_back(secondsSince(startMS_), part.record);
    }

    /// @param isOver shows no time any more
    void show(bool isOver = false) {
        std::vector<Entry> entries;
        {
            const std::lock_guard guard(lock_);
            entries.swap(waiting_);
        }
        for (const Entry& entry : entries) {
            context_.settings.json ? writeJson(entry) : writeLine(entry);
        }
        if (view_) {
            std::vector<std::string> lines = lines_;
            if (!isOver) {
                lines.push_back(elapsedLine());
            }
            view_->draw(lines, sizeOfTerminal(context_.terminal));
        }
    }

private:
    using Entry = std::pair<double, AnnouncementRequest>;  // with the seconds since the start

    void writeJson(const Entry& entry) const {
        const auto& [seconds, record] = entry;
        Json line = {{"seconds", seconds}, {"part", partName(record)}};
        line.update(toJson(record));
        context_.writeJson(line);
    }

    void writeLine(const Entry& entry) {
        const auto& [seconds, record] = entry;
        const std::string line = fixedText(seconds, 2, 8) + " s  " + fitted(partName(record), 8) +
                                 clean(record.stateText) +
                                 (record.completionMsg.empty() ? "" : ": ") +
                                 clean(record.completionMsg);
        view_ ? lines_.push_back(line) : context_.out.write(line + '\n');
    }

    std::string elapsedLine() const {
        return fixedText(secondsSince(startMS_), 1, 8) + " s" +
               (expected_ ? " of about" + fixedText(*expected_, 1, 8) + " s" : std::string());
    }

    const Context& context_;
    const std::optional<double> expected_;
    const std::int64_t startMS_ = pa::monotonicMS();
    const std::unique_ptr<LiveView> view_;
    std::vector<std::string> lines_;  // on a terminal

    std::mutex lock_;
    std::vector<Entry> waiting_;  // guarded by lock_
};

/// How long a request plays, in seconds: that of its file and its text to show. Nothing when it has
/// a content whose length only the server knows.
std::optional<double> expectedSeconds(const PlayRequest& request) {
    const AudioRequest& wanted = request.audio;
    if (!wanted.items.empty() || !wanted.texts.empty() || request.recording) {
        return std::nullopt;
    }
    const double audio = wanted.file ? checkWav(*wanted.file).seconds : 0;
    return std::max<double>(audio, request.display ? request.validity : 0) / stationClock().speed();
}

/// @throws Failure when it has not ended well
void requireGood(const Announcement& announcement) {
    const Announcement::State state = announcement.state();
    const std::string reason = announcement.reason();
    require(state <= Announcement::State::Finished,
            "request " + announcement.requestId() + ' ' + nameOf(state) +
                (reason.empty() ? "" : ": " + reason),
            state == Announcement::State::Unknown ? ExitCode::ConnectionLost : ExitCode::Refused);
}

void requireInTime(bool isReached, const Announcement& announcement, const std::string& awaited) {
    require(isReached,
            "request " + announcement.requestId() + " is not " + awaited +
                " in time; its outcome is unknown",
            ExitCode::TimedOut);
}

/// What an interruption of the wait means for the request.
std::string afterInterruption(const Context& context, const std::string& id) {
    if (context.session.survivesInterruption) {
        return "request " + id + " plays on, 'cancel " + id + "' ends it";
    }
    return context.connected().connection().endpoint().endsWithProcess()
               ? "request " + id + " ends with this command, as the server does"
               : "the outcome is unknown";
}

void playAndWait(const Context& context, const PlayRequest& request,
                 const std::vector<std::string>& zones, const Message& message) {
    PartStates states(context, expectedSeconds(request));
    Announcement announcement(zones, message,
                              [&](Announcement::State, const Announcement::Part* part) {
                                  if (part != nullptr) {
                                      states.add(*part);
                                  }
                              });
    const std::string& id = announcement.requestId();
    context.session.playedIds.push_back(id);
    printOutcome(context, id, {{"requestId", id}});
    const std::string unknown = afterInterruption(context, id);
    const std::string what = states.isDrawn() ? "" : "until request " + id + " is over";
    Wait wait = waitOf(context, what, unknown, forEver);
    const auto check = wait.whileWaiting;
    wait.whileWaiting = [&](std::chrono::milliseconds waited) {
        states.show();
        check(waited);
    };
    announcement.wait(wait);
    states.show(true);
    requireInTime(announcement.isOver(), announcement, "over");
    requireGood(announcement);
}

void playOnly(const Context& context, const std::vector<std::string>& zones,
              const Message& message) {
    Announcement announcement(zones, message);
    const std::string& id = announcement.requestId();
    context.session.playedIds.push_back(id);
    const bool isReported = announcement.partCount() > 0;
    announcement.waitUntilAccepted(waitOf(context, "until the server accepts it",
                                          "the outcome is unknown",
                                          isReported ? answerSeconds : refusalSeconds));
    requireGood(announcement);
    requireInTime(!isReported || announcement.state() != Announcement::State::Sending, announcement,
                  "accepted");
    printOutcome(context, id, {{"requestId", id}});
    warnOfEnd(context, "the announcement");
}

/// Prints the problems of the request.
/// @throws Failure when the server would refuse it
void dryRun(const Context& context, const std::vector<std::string>& zones, const Message& message) {
    Json array = Json::array();
    TextTable table({"PROBLEM"});
    bool isRefused = false;
    Endpoint& endpoint = context.connected().connection().endpoint();
    for (const Finding& finding : checkMessage(zones, message, playableAt(endpoint))) {
        array.push_back({{"subject", finding.subject}, {"text", finding.text}});
        table.addRow({finding.text});
        isRefused = isRefused || paclient::isRefused(finding.kind);
    }
    context.settings.json ? context.writeJson(array)
                          : context.out.write(array.empty() ? "no problems found\n" : table.text());
    require(!isRefused, "the server would refuse the request", ExitCode::Refused);
}

struct Play {
    PlayOptions options;

    void define(CLI::App& app) { addPlayOptions(app, options); }

    void run(const Context& context) const {
        const PlayRequest request = checkedRequest(options);
        context.connected();
        const auto zones = chooseZones(request.zones);
        const Message message = messageFor(request);
        if (options.dryRun) {
            dryRun(context, zones, message);
        } else if (options.wait) {
            playAndWait(context, request, zones, message);
        } else {
            playOnly(context, zones, message);
        }
    }
};

}  // namespace

Command playCommand() {
    return command<Play>("play", "Play an announcement, or show a text");
}

}  // namespace console
