#include "console/text/knownNames.h"

#include <algorithm>
#include <iterator>

#include "client/resources.h"

namespace console {

namespace {

template <const auto& kind>
std::vector<std::string> allNames() {
    std::vector<std::string> names;
    const auto records = kind.all();
    for (auto* const textOf : {kind.number, kind.name}) {
        if (textOf != nullptr) {
            std::transform(records.begin(), records.end(), std::back_inserter(names), textOf);
        }
    }
    return names;
}

struct KindRow {
    const char* kind;
    std::vector<std::string> (*names)();
};

using paclient::memberTexts;

constexpr KindRow kindRows[] = {
    {paclient::sources.one, allNames<paclient::sources>},
    {paclient::sinks.one, allNames<paclient::sinks>},
    {paclient::zones.one, allNames<paclient::zones>},
    {paclient::triggers.one, allNames<paclient::triggers>},
    {paclient::selectors.one, allNames<paclient::selectors>},
    {paclient::schedules.one, allNames<paclient::schedules>},
    {paclient::announcements.one, allNames<paclient::announcements>},
    {paclient::ttsItems.one, allNames<paclient::ttsItems>},
    {paclient::locks.one, allNames<paclient::locks>},
    // Not by the port: it is no name of a voice when something is to be spoken.
    {paclient::voices.one, [] { return memberTexts<&TTSVocalizer::voice>(paclient::allVoices()); }},
    {"language", [] { return memberTexts<&TTSVocalizer::language>(paclient::allVoices()); }},
};

}  // namespace

std::vector<std::string> knownNames(const std::string& kind) {
    for (const KindRow& row : kindRows) {
        if (row.kind == kind) {
            return row.names();
        }
    }
    return {};
}

}  // namespace console
