// SPDX-License-Identifier: Apache-2.0
#include "simserver/playback/PartType.h"

#include <algorithm>
#include <iterator>

namespace simserver {

namespace {

constexpr const char* needsSource = "comes from a source, not from a request";
constexpr const char* holdsNothing = "holds nothing to play";

constexpr PartType types[] = {
    {liveAnnouncement, "Live", Medium::Audio, ContentForm::None, needsSource},
    {1, "Recorded", Medium::Audio, ContentForm::Recorded},
    {2, "Dictionary", Medium::Audio, ContentForm::Dictionary},
    {displayAnnouncement, "Display", Medium::Visual, ContentForm::Text},
    {4, "TTS", Medium::Audio, ContentForm::Spoken},
    {5, "BGM", Medium::Audio, ContentForm::None, needsSource},
    {6, "Mixed", Medium::Audio, ContentForm::None, holdsNothing},
    {noAnnouncement, "None", Medium::Audio, ContentForm::None, holdsNothing},
    {8, "Template", Medium::Audio, ContentForm::None, holdsNothing},
    {9, "Display template", Medium::Visual, ContentForm::Template},
    {10, "TTS store and forward", Medium::Audio, ContentForm::Spoken},
    {11, "Recorded store and forward", Medium::Audio, ContentForm::Recorded},
};

}  // namespace

const PartType* findType(int number) {
    const auto* const found =
        std::find_if(std::begin(types), std::end(types),
                     [number](const PartType& type) { return type.number == number; });
    return found == std::end(types) ? nullptr : found;
}

}  // namespace simserver
