#include "console/text/knownNames.h"

#include "console/text/resources.h"

namespace console {

namespace {

template <const auto& kind>
std::vector<std::string> allNames() {
    std::vector<std::string> names;
    const auto records = kind.all();
    for (const char* const key : kind.keys) {
        const auto texts = memberTexts(records, key);
        names.insert(names.end(), texts.begin(), texts.end());
    }
    return names;
}

struct KindRow {
    std::string kind;
    std::vector<std::string> (*names)();
};

const std::vector<KindRow>& kindRows() {
    static const std::vector<KindRow> rows = {
        {sources.one, allNames<sources>},
        {sinks.one, allNames<sinks>},
        {zones.one, allNames<zones>},
        {triggers.one, allNames<triggers>},
        {selectors.one, allNames<selectors>},
        {schedules.one, allNames<schedules>},
        {announcements.one, allNames<announcements>},
        {ttsItems.one, allNames<ttsItems>},
        {locks.one, allNames<locks>},
        // Not by the port: it is no name of a voice when something is to be spoken.
        {voices.one, [] { return memberTexts(voices.all(), "voice"); }},
        {"language", [] { return memberTexts(voices.all(), "language"); }},
    };
    return rows;
}

}  // namespace

std::vector<std::string> knownNames(const std::string& kind) {
    for (const KindRow& row : kindRows()) {
        if (row.kind == kind) {
            return row.names();
        }
    }
    return {};
}

}  // namespace console
