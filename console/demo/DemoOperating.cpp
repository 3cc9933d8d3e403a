#include "console/demo/DemoOperating.h"

#include <iterator>
#include <utility>

#include "client/Preview.h"
#include "client/confirmedOperations.h"
#include "client/recordText.h"
#include "client/resources.h"
#include "console/commands/playMessage.h"
#include "console/commands/sourceLock.h"
#include "console/files/fileUri.h"
#include "console/files/wavFile.h"
#include "sdk/PAController.h"

namespace console {

using namespace paclient;

namespace {

constexpr double answerSeconds = 12;   // for the server to confirm a step
constexpr double previewSeconds = 20;  // for the text to be spoken
constexpr double renewalSeconds = 30;  // three passes of the worker, and some
constexpr double triggerSeconds = 2;   // for which the software trigger is active
constexpr int renewalsToSee = 2;
constexpr const char* text = "This is a preview. Only the operator hears it.";

std::string nameOf(const PaSource& source) {
    return "source " + std::to_string(source.id) + " " + source.label;
}

std::vector<std::string> listOf(const std::set<std::string>& ids) {
    return {ids.begin(), ids.end()};
}

}  // namespace

const DemoOperating::Step DemoOperating::steps[stepCount] = {
    {"take a source", "source lock", "locked", &DemoOperating::takeSource},
    {"attach zones", "live from the source", "plays", &DemoOperating::attachZones},
    {"trigger", "software trigger", "plays, then stops", &DemoOperating::useTrigger},
    {"preview", "spoken text", "WAV, 48000 Hz", &DemoOperating::savePreview},
    {"hold the source", "keep-alive", "locked, renewals: 2", &DemoOperating::holdSource},
    {"release it", "source lock", "free", &DemoOperating::releaseSource},
};

DemoOperating::DemoOperating(const Context& context, DemoScreen& screen,
                             const std::vector<std::string>& zoneIds, std::filesystem::path wav)
    : DemoPage("Operating"),
      context_(context),
      screen_(screen),
      heldZones_(zoneIds.begin(), zoneIds.begin() + (zoneIds.size() > 2 ? 2 : 1)),
      triggerZone_(zoneIds.back()),
      wav_(std::move(wav)) {
    screen_.addZones(listOf(heldZones_));
    screen_.addZones({triggerZone_});
    chooseSources();
}

/// Two without a lock and without zones, so that they are left as they were.
void DemoOperating::chooseSources() {
    for (const PaSource& source : sources.all()) {
        const bool isFree =
            lockOf(source.id).lockedUUID.empty() && source.getAttachedPaZones().empty();
        if (isFree && !held_) {
            held_ = source;
        } else if (isFree && !triggered_) {
            triggered_ = source;
        }
    }
}

DemoOperating::~DemoOperating() {
    endTrigger();
    if (held_ && isHolder()) {
        held_->detachAllPaZones();
        gPaController.detachPaSource(held_->id);
    }
}

std::vector<DemoResult> DemoOperating::run() {
    for (const Step& step : steps) {
        refusal_.clear();
        screen_.beginStep(step.name);
        results_.push_back(
            {step.name, step.kind, step.expected, "under way", false, Json::object()});
        const bool asExpected = (this->*step.perform)();
        results_.back().asExpected = asExpected;
        if (!asExpected && !refusal_.empty()) {
            see("refused: " + refusal_);
        }
    }
    return results_;
}

// ------------------------------------------------------------------------------------------ steps

bool DemoOperating::takeSource() {
    if (!held_) {
        return fail("there is no free source");
    }
    const bool isTaken = holds(takeLock(held_->id, showing(answerSeconds)));
    see(sentence(lockOf(held_->id)));
    return isTaken;
}

bool DemoOperating::attachZones() {
    if (!isHolder()) {
        return fail("no source is held");
    }
    const auto mode = PaSource::REPLACE_EXISTING_SET;
    const bool isLive =
        holds(paclient::attachZones(*held_, listOf(heldZones_), mode, showing(answerSeconds))) &&
        waitFor(answerSeconds, [this] { return playsLive(heldZones_); });
    see(nameOf(*held_) + (isLive ? " plays in " : " does not play in ") +
        valueText(held_->getAttachedPaZones()));
    return isLive;
}

bool DemoOperating::useTrigger() {
    trigger_ = triggered_ ? gPaController.createSwPaTrigger(triggered_->id, 50, "1", "") : 0;
    if (trigger_ == 0) {
        return fail("there is no second free source");
    }
    const std::set<std::string> zone = {triggerZone_};
    triggered_->attachPaZone(triggerZone_, PaSource::ADD_TO_EXISTING_SET);
    gPaController.activateSwPaTrigger(trigger_);
    const bool isLive = waitFor(answerSeconds, [&] { return playsLive(zone); });
    see(nameOf(*triggered_) + (isLive ? " plays in " : " does not play in ") + triggerZone_);
    if (isLive) {
        screen_.showFor(*this, triggerSeconds / context_.settings.speed);
        gPaController.deactivateSwPaTrigger(trigger_);
    }
    const bool hasEnded = isLive && waitFor(answerSeconds, [&] { return !playsLive(zone); });
    endTrigger();
    if (hasEnded) {
        see("played in " + triggerZone_ + ", has stopped");
    }
    return hasEnded;
}

void DemoOperating::endTrigger() {
    if (trigger_ == 0) {
        return;
    }
    if (playsLive({triggerZone_})) {
        gPaController.deactivateSwPaTrigger(trigger_);
    }
    triggered_->detachPaZone(triggerZone_);
    gPaController.deleteSwPaTrigger(std::exchange(trigger_, 0));
}

bool DemoOperating::savePreview() try {
    const TTSVocalizer voice = voiceFor({}, {});
    const RenderedPreview preview = renderPreview(text, voice, showing(previewSeconds));
    if (!holds(preview.confirmation)) {
        return fail("no audio");
    }
    std::filesystem::copy_file(pathOfFileUri(preview.uri), wav_);
    const WavFormat format = checkWav(wav_.string());
    see(formatText(format) + ", saved");
    return format.rate == TTSVocalizer::usableRate;
} catch (const std::runtime_error& error) {
    return fail(error.what());
}

bool DemoOperating::holdSource() {
    if (!isHolder()) {
        return fail("no source is held");
    }
    int shown = 0;
    screen_.await("two renewals of its lock");
    const bool renewed = waitFor(renewalSeconds, [&] {
        if (renewals_ != std::exchange(shown, renewals_)) {
            see(sentence(lockOf(held_->id)) + ", renewals: " + std::to_string(renewals_));
        }
        return renewals_ >= renewalsToSee;
    });
    return renewed && isHolder();
}

bool DemoOperating::releaseSource() {
    if (!isHolder()) {
        return fail("no source is held");
    }
    const bool isLeftAsItWas = holds(detachAllZones(*held_, showing(answerSeconds))) &&
                               holds(releaseLock(held_->id, showing(answerSeconds)));
    see(sentence(lockOf(held_->id)));
    return isLeftAsItWas && lockOf(held_->id).lockedUUID.empty() && !playsLive(heldZones_);
}

// ---------------------------------------------------------------------------------------- helpers

/// Shows the page until the condition holds, or the server refuses.
template <class Condition>
bool DemoOperating::waitFor(double seconds, Condition isReached) {
    const Moment deadline = after(context_.settings.timeout.value_or(seconds));
    bool reached = false;
    screen_.showUntil(*this, deadline, [&] {
        reached = isReached();
        return reached || !refusal_.empty();
    });
    return reached;
}

/// A wait that shows the page.
Wait DemoOperating::showing(double seconds) {
    Wait wait = interruptibleWait(context_.settings.timeout.value_or(seconds));
    wait.tick = std::chrono::milliseconds(0);  // the page waits
    wait.whileWaiting = [this](std::chrono::milliseconds /*waited*/) {
        constexpr double tickSeconds = 0.05;
        screen_.showFor(*this, tickSeconds);
    };
    return wait;
}

/// Whether an operation has had its effect. Notes the reason of a refusal.
bool DemoOperating::holds(const Confirmation& confirmation) {
    if (confirmation.state == Confirmation::State::Refused) {
        refusal_ = confirmation.reason;
    }
    return confirmation.holds();
}

/// Notes what the server reports of the step.
void DemoOperating::see(const std::string& what) {
    results_.back().seen = withShortIds(what);
    screen_.report(results_.back().name, results_.back().seen);
}

/// Notes why the step fails.
bool DemoOperating::fail(const std::string& why) {
    see(why);
    return false;
}

void DemoOperating::take(const Change& change) {
    namespace operations = pa::operations;
    const auto* const refusal = std::get_if<palink::Refusal>(&change);
    if (refusal != nullptr && refusal->operation != operations::renewLock) {
        refusal_ = refusal->reason;
    } else if (const auto* const sent = std::get_if<SentOperation>(&change)) {
        const pa::Operation& operation = sent->operation;
        const bool isRenewal = operation.type == operations::renewLock && held_ &&
                               operation.payload.rfind(std::to_string(held_->id) + ',', 0) == 0;
        renewals_ += isRenewal ? 1 : 0;
    }
}

TextTable DemoOperating::table() const {
    TextTable result({"STEP", "SEEN"});
    for (const DemoResult& step : results_) {
        result.addRow({step.name, step.seen});
    }
    return result;
}

/// Whether a live announcement plays in exactly these zones.
bool DemoOperating::playsLive(const std::set<std::string>& zoneIds) const {
    for (const AnnouncementRequest& record : announcements.all()) {
        const std::set<std::string> its(record.zones.begin(), record.zones.end());
        if (record.getAudioMessageType() == Message::LIVE_STREAM && its == zoneIds) {
            return true;
        }
    }
    return false;
}

bool DemoOperating::isHolder() const {
    return held_ && lockOf(held_->id).holder == "this client";
}

}  // namespace console
