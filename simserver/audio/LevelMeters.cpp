// SPDX-License-Identifier: Apache-2.0
#include "simserver/audio/LevelMeters.h"

#include <algorithm>
#include <iterator>

#include "framework/clock.h"

namespace simserver {

namespace {

constexpr std::int64_t periodMS = 100;
constexpr int sourcesPerElement = 100;
constexpr double lowest = -96.0;  // dB

/// Two seconds of a person who speaks, in dB relative to the gain: syllables, and a pause for
/// breath.
constexpr double speech[] = {-7, -2, 1,  -4, -11, -3, 2,  -1,  -6,  -14,
                             -5, 0,  -3, -9, -2,  -8, -1, -16, -28, -24};

bool isOpen(const PlayEngine& engine, const Source& source) {
    const auto& parts = engine.parts();
    return std::any_of(parts.begin(), parts.end(), [&source](const auto& entry) {
        const auto* const live = std::get_if<LiveContent>(&entry.second.request.content);
        return live != nullptr && live->sourceId == source.id;
    });
}

/// Each source begins at another place of the pattern.
double levelOf(const Source& source, std::size_t count) {
    const std::size_t place = (count + static_cast<std::size_t>(source.id)) % std::size(speech);
    return std::max(lowest, source.inputGain + speech[place]);
}

}  // namespace

LevelMeters::LevelMeters(ServerContext& context, const PlayEngine& engine)
    : context_(context), engine_(engine) {}

void LevelMeters::subscribe(bool on, int element) {
    if (elements_.empty()) {
        nextMS_ = nowMS() + periodMS;
    }
    if (on) {
        elements_.insert(element);
    } else {
        elements_.erase(element);
    }
}

std::optional<std::int64_t> LevelMeters::nextReading() const {
    return elements_.empty() ? std::nullopt : std::optional(nextMS_);
}

std::optional<SimTime> LevelMeters::nextDue() const {
    return elements_.empty() || !context_.clock.isManual() ? std::nullopt
                                                           : std::optional(SimTime(nextMS_));
}

void LevelMeters::takeDue() {
    if (elements_.empty() || nextMS_ > nowMS()) {
        return;
    }
    for (const int element : elements_) {
        double loudest = lowest;
        for (const Source& source : context_.station.sources) {
            if (source.id / sourcesPerElement == element && isOpen(engine_, source)) {
                loudest = std::max(loudest, levelOf(source, count_));
            }
        }
        context_.publisher.event(palink::LevelReading{element, loudest});
    }
    ++count_;
    nextMS_ += periodMS * ((nowMS() - nextMS_) / periodMS + 1);
}

std::int64_t LevelMeters::nowMS() const {
    return context_.clock.isManual() ? context_.clock.now().count() : pa::monotonicMS();
}

}  // namespace simserver
