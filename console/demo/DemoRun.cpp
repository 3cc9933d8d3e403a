// SPDX-License-Identifier: Apache-2.0
#include "console/demo/DemoRun.h"

#include <algorithm>
#include <utility>

#include "client/Announcement.h"
#include "client/StationClock.h"
#include "client/resources.h"
#include "console/Console.h"
#include "console/arguments/words.h"
#include "console/following/operate.h"
#include "console/interrupt.h"
#include "console/text/changeText.h"
#include "sdk/PAController.h"

namespace console {

using namespace paclient;

namespace {

/// The values that are zones.
std::set<std::string> zonesOf(const std::map<std::string, std::string>& values) {
    std::set<std::string> ids;
    for (const auto& [name, value] : values) {
        if (name.rfind("zone", 0) == 0) {
            ids.insert(value);
        }
    }
    return ids;
}

}  // namespace

DemoRun::DemoRun(const Context& context, const std::vector<std::string>& zoneIds)
    : context_(context),
      lasted_(std::exchange(context.session.lasts, true)),
      values_(demoValues(zoneIds, folder_.path())),
      firstPlayed_(context.session.playedIds.size()),
      screen_(context, steps_, zonesOf(values_)),
      lineContext_{context.settings, out_, out_, -1, context.session} {
    lineContext_.settings.json = false;
    for (const DemoStep& step : demoSteps) {
        steps_.push_back({step});
    }
}

DemoRun::~DemoRun() {
    const auto deferral = interrupt::deferChecks();
    constexpr double stepSeconds = 2;
    lineContext_.settings.timeout = stepSeconds;
    std::vector<std::string> lines;
    const auto& played = context_.session.playedIds;
    for (std::size_t i = firstPlayed_; i < played.size(); ++i) {
        lines.push_back("cancel " + played[i]);
    }
    lines.insert(lines.end(), demoCleanUp.begin(), demoCleanUp.end());
    context_.session.lasts = lasted_;
    try {
        context_.connected().waitUntilDelivered();  // what was sent last may be unknown still
    } catch (const std::exception&) {
        return;  // nothing can be undone without a connection
    }
    for (const std::string& line : lines) {
        try {
            runLine(filled(line));
        } catch (const std::exception&) {
            continue;  // there is nothing to undo
        }
    }
}

const std::vector<DemoProgress>& DemoRun::run() {
    perform(steps_.back(), demoBeginning);
    for (DemoProgress& step : steps_) {
        screen_.beginStep(step);
        for (const std::string& line : step.step.lines) {
            perform(step, line);
        }
    }
    return steps_;
}

/// Runs a line, unless one before has failed.
void DemoRun::perform(DemoProgress& step, const std::string& line) try {
    if (step.hasFailed) {
        return;
    }
    if (line.rfind("wait ", 0) == 0) {
        const std::string reached = waitedFor(line);
        step.seen += (step.seen.empty() || reached.empty() ? "" : ", ") + reached;
        return;
    }
    const auto& played = context_.session.playedIds;
    const std::size_t before = played.size();
    const std::vector<std::string> words = filled(line);
    std::string typed;
    for (const std::string& word : words) {
        typed += ' ' + quoted(word);
    }
    screen_.report(step.step.name, '$' + typed);
    const std::string printed = runLine(words);
    if (played.size() > before) {
        step.requestId = values_["request"] = played.back();
    }
    step.seen = step.requestId.empty() ? printed : step.seen;
    screen_.report(step.step.name, printed);
} catch (const Failure& failure) {
    if (failure.code == ExitCode::Interrupted || failure.code == ExitCode::ConnectionLost) {
        throw;
    }
    step.hasFailed = true;
    step.seen = failure.what();
    screen_.report(step.step.name, step.seen);
}

/// @return the last line that is printed, without the folder of the demo's files
std::string DemoRun::runLine(const std::vector<std::string>& words) {
    printed_.str("");
    console::runLine(lineContext_, words, LineKind::Shell);
    std::string text = printed_.str();
    text.erase(text.find_last_not_of('\n') + 1);
    text.erase(0, text.rfind('\n') + 1);
    const std::string folder = folder_.path().string() + '/';
    return text.compare(0, folder.size(), folder) == 0 ? text.substr(folder.size()) : text;
}

/// The words of a line.
std::vector<std::string> DemoRun::filled(const std::string& line) const {
    std::vector<std::string> words = splitWords(line);
    for (std::string& word : words) {
        if (const std::size_t open = word.find('{'); open != std::string::npos) {
            const std::string name = word.substr(open + 1, word.find('}') - open - 1);
            word.replace(open, name.size() + 2, valueOf(name));
        }
    }
    return words;
}

std::string DemoRun::valueOf(const std::string& name) const {
    if (name == "trigger") {
        for (const PaSWTrigger& trigger : gPaController.getSwPaTriggers()) {
            if (std::to_string(trigger.associatedSourceId) == valueOf("other")) {
                return std::to_string(trigger.trigger.id);
            }
        }
    }
    const auto found = values_.find(name);
    require(found != values_.end(), "there is no " + name + " that is free", ExitCode::NotFound);
    return found->second;
}

/// @return what has been seen
std::string DemoRun::waitedFor(const std::string& line) {
    filled(line);  // what it needs is there
    const double speed = paclient::stationClock().speed();
    const struct {
        const char* line;
        const char* awaited;
        const char* reached;
        double seconds;
        std::function<bool()> isReached;
    } events[] = {
        {"wait for ends", "the end of what plays", "", 60, [this] { return areOver(); }},
        {"wait for zones of {source}", "its announcement", "plays there", 12,
         [this] { return isLive(); }},
        {"wait for renewals of {source}", "two renewals of its lock", "renewed twice", 30,
         [this] { return renewals_ >= 2; }},
        {"wait for run", "the run at the next minute", "played", 12, [this] { return hasRun_; }},
    };
    const auto* const event = std::find_if(std::begin(events), std::end(events),
                                           [&](const auto& e) { return e.line == line; });
    if (event == std::end(events)) {
        const double seconds = std::stod(line.substr(line.find(' ')));
        showUntil(seconds / speed, "", [] { return false; });
        return "";
    }
    constexpr double stationSeconds = 90;  // the next minute, and the length of the longest text
    const double limit =
        context_.settings.timeout.value_or(event->seconds + stationSeconds / speed);
    const bool isReached = showUntil(limit, event->awaited, event->isReached);
    require(isReached, std::string("waited in vain for ") + event->awaited, ExitCode::TimedOut);
    return event->reached;
}

/// Shows the page until something is reached.
/// @param awaited empty for nothing
/// @return false when `seconds` have passed before
/// @throws Failure when the user interrupts, or the connection is lost
bool DemoRun::showUntil(double seconds, const std::string& awaited,
                        const std::function<bool()>& isReached) {
    screen_.beginWait(awaited);
    WaitCourse course(interruptibleWait(seconds));
    while (!isReached()) {
        const auto slice = course.next();
        if (!slice) {
            return false;
        }
        if (const auto change = changes_.next(*slice)) {
            requireNoLoss(*change);
            take(*change);
            screen_.reportZone(*change);
        }
        screen_.drawAgain();
    }
    screen_.draw();
    return true;
}

bool DemoRun::areOver() const {
    return std::all_of(steps_.begin(), steps_.end(),
                       [](const DemoProgress& s) { return s.requestId.empty() || s.isOver; });
}

/// Whether a live announcement plays in exactly the zones of the held source.
bool DemoRun::isLive() const {
    const std::set<std::string> held = {valueOf("zone0"), valueOf("zoneHeld")};
    const auto all = announcements.all();
    return std::any_of(all.begin(), all.end(), [&](const AnnouncementRequest& record) {
        return record.getAudioMessageType() == Message::LIVE_STREAM &&
               std::set<std::string>(record.zones.begin(), record.zones.end()) == held;
    });
}

void DemoRun::take(const Change& change) {
    const auto* const update = std::get_if<Updated<AnnouncementRequest>>(&change);
    const auto* const end = std::get_if<Deleted<AnnouncementRequest>>(&change);
    if (const auto* const sent = std::get_if<SentOperation>(&change)) {
        const bool isRenewal = sent->operation.type == pa::operations::renewLock &&
                               values_.count("source") > 0 &&
                               sent->operation.payload.rfind(values_["source"] + ',', 0) == 0;
        renewals_ += isRenewal ? 1 : 0;
    }
    if (update == nullptr && end == nullptr) {
        return;
    }
    const AnnouncementRequest& record = update != nullptr ? update->record : end->record;
    const std::string state = nameOf(stateOf(record));
    const auto step = std::find_if(steps_.begin(), steps_.end(), [&](const DemoProgress& s) {
        return s.requestId == record.getRequestID();
    });
    if (step == steps_.end()) {
        const bool isScheduled = valueText(record.zones) == values_["zoneScheduled"] &&
                                 record.getAudioMessageType() == Message::TTS;
        hasRun_ = hasRun_ || (isScheduled && state == "finished");
        return;
    }
    step->isOver = end != nullptr;
    const bool isUnexpected = isEnd(stateOf(record)) && state != step->step.expected;
    const std::string seen = state + (isUnexpected ? ": " + record.completionMsg : "");
    if (seen != std::exchange(step->seen, seen)) {
        screen_.report(step->step.name, seen);
    }
}

}  // namespace console
