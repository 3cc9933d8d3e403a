#include "simserver/audio/LevelMeters.h"

#include <algorithm>
#include <iterator>

namespace simserver {

namespace {

constexpr int sourcesPerElement = 100;
constexpr double silence = -96.0;  // dB

/// Two seconds of somebody who speaks: syllables, and a pause for breath. In dB about the gain.
constexpr double speech[] = {-7, -2, 1,  -4, -11, -3, 2,  -1,  -6,  -14,
                             -5, 0,  -3, -9, -2,  -8, -1, -16, -28, -24};

bool isOpen(const PlayEngine& engine, const Source& source) {
    const auto& parts = engine.parts();
    return std::any_of(parts.begin(), parts.end(), [&source](const auto& entry) {
        const auto* const live = std::get_if<LiveContent>(&entry.second.request.content);
        return live != nullptr && live->sourceId == source.id;
    });
}

/// Each source speaks at a place of its own in the pattern.
double levelOf(const Source& source, std::size_t count) {
    const std::size_t place = (count + static_cast<std::size_t>(source.id)) % std::size(speech);
    return std::max(silence, source.inputGain + speech[place]);
}

}  // namespace

void LevelMeters::subscribe(bool on, int element, std::int64_t nowMS) {
    if (elements_.empty()) {
        nextMS_ = nowMS + periodMS;
    }
    if (on) {
        elements_.insert(element);
    } else {
        elements_.erase(element);
    }
}

void LevelMeters::clear() {
    elements_.clear();
}

std::optional<std::int64_t> LevelMeters::nextReading() const {
    return elements_.empty() ? std::nullopt : std::optional(nextMS_);
}

std::vector<palink::LevelReading> LevelMeters::read(const Station& station,
                                                    const PlayEngine& engine, std::int64_t nowMS) {
    std::vector<palink::LevelReading> readings;
    for (const int element : elements_) {
        double loudest = silence;
        for (const Source& source : station.sources) {
            if (source.id / sourcesPerElement == element && isOpen(engine, source)) {
                loudest = std::max(loudest, levelOf(source, count_));
            }
        }
        readings.push_back({element, loudest});
    }
    ++count_;
    nextMS_ += periodMS * ((nowMS - nextMS_) / periodMS + 1);
    return readings;
}

}  // namespace simserver
