#include "console/demo/DemoSchedule.h"

#include <algorithm>
#include <thread>

#include "client/Announcement.h"
#include "client/schedules.h"
#include "console/ExitCode.h"
#include "console/schedule/ScheduleOptions.h"
#include "sdk/PAController.h"

namespace console {

using namespace paclient;

namespace {

constexpr double answerSeconds = 12;
constexpr double runSeconds = 90;  // simulated: the next minute, and the length of the text
constexpr int lowPriority = 100;
constexpr const char* text = "This announcement comes every minute by itself.";

/// Waits for the clean-up, also after an interruption.
template <class Condition>
void waitBriefly(Condition isReached) {
    constexpr int pollMS = 50;
    constexpr int longestMS = 2000;
    for (int waited = 0; waited < longestMS && !isReached(); waited += pollMS) {
        std::this_thread::sleep_for(std::chrono::milliseconds(pollMS));
    }
}

}  // namespace

DemoSchedule::DemoSchedule(const Context& context, DemoScreen& screen, const std::string& zone)
    : DemoPage("Schedule"), context_(context), screen_(screen), result_{"schedule",
                                                                        "spoken text, every minute",
                                                                        "played, then deleted",
                                                                        "under way",
                                                                        false,
                                                                        Json::object()} {
    screen_.addZones({zone});
    try {
        makeSchedule(zone);
        gPaController.createSchedule(schedule_);
        isLeft_ = true;
        see("sent, every minute in " + zone);
    } catch (const Failure& failure) {
        refusal_ = failure.what();
    }
}

DemoSchedule::~DemoSchedule() {
    if (!isLeft_ || !refusal_.empty()) {
        return;
    }
    const auto isKnown = [this] { return gPaController.findSchedule(schedule_.Id).has_value(); };
    waitBriefly(isKnown);  // none can be deleted before
    gPaController.deleteSchedule(schedule_.Id);
    waitBriefly([&] { return !isKnown(); });
}

DemoResult DemoSchedule::finish() {
    screen_.beginStep(result_.name);
    screen_.await("the run at the next minute");
    const double limit = answerSeconds + runSeconds / context_.settings.speed;
    if (waitFor(limit, [this] { return hasRun_ || !refusal_.empty(); }) && hasRun_) {
        see("played in " + schedule_.paZones.front());
        screen_.await("its deletion");
    }
    const auto isDeleted = [this] { return !gPaController.findSchedule(schedule_.Id); };
    if (!refusal_.empty()) {
        see("refused: " + refusal_);
    } else {
        gPaController.deleteSchedule(schedule_.Id);
        const bool deleted = waitFor(answerSeconds, isDeleted);
        see(result_.seen + (deleted ? ", then deleted" : ", not deleted"));
        result_.asExpected = hasRun_ && deleted;
        isLeft_ = !deleted;
    }
    return result_;
}

void DemoSchedule::makeSchedule(const std::string& zone) {
    ScheduleOptions options;
    options.description = "demo";
    options.every = 1;
    options.zones = {zone};
    options.texts = {text};
    options.priority = lowPriority;
    schedule_ = changed(blankSchedule(), options);
    schedule_.Id = paclient::freeScheduleId();
}

/// Notes whether the server has played something spoken in the zone without a request of this
/// process.
void DemoSchedule::catchUp() {
    const auto& own = context_.connection.playedIds;
    while (const auto change = changes_.next()) {
        const auto* const update = std::get_if<Updated<AnnouncementRequest>>(change.get());
        const auto* const refusal = std::get_if<palink::Refusal>(change.get());
        if (refusal != nullptr && refusal->operation == pa::operations::putSchedule) {
            refusal_ = refusal->reason;
        }
        if (update == nullptr) {
            continue;
        }
        const AnnouncementRequest& record = update->record;
        const bool isIts = record.zones == schedule_.paZones &&
                           record.getAudioMessageType() == Message::TTS &&
                           std::find(own.begin(), own.end(), record.getRequestID()) == own.end();
        hasRun_ = hasRun_ || (isIts && stateOf(record) == Announcement::State::Finished);
    }
}

template <class Condition>
bool DemoSchedule::waitFor(double seconds, Condition isReached) {
    const Moment deadline = after(context_.settings.timeout.value_or(seconds));
    return screen_.showUntil(*this, deadline, [&] {
        catchUp();
        return isReached();
    });
}

TextTable DemoSchedule::table() const {
    TextTable result({"STEP", "SEEN"});
    result.addRow({result_.name, result_.seen});
    return result;
}

void DemoSchedule::see(const std::string& what) {
    result_.seen = what;
    screen_.report(result_.name, what);
}

}  // namespace console
