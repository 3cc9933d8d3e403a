#include <filesystem>
#include <stdlib.h>

#include "console/Demo.h"
#include "console/ExitCode.h"
#include "console/TextTable.h"
#include "console/cleanText.h"
#include "console/commands.h"
#include "console/resources.h"
#include "console/wavFile.h"

namespace console {

namespace {

constexpr int recordingSeconds = 15;

/// A folder that goes with the object.
class TemporaryFolder {
public:
    TemporaryFolder() {
        std::string pattern =
            (std::filesystem::temp_directory_path() / "paconsole-XXXXXX").string();
        if (mkdtemp(pattern.data()) == nullptr) {
            throw Failure(ExitCode::Usage, pattern + ": cannot be made");
        }
        path_ = pattern;
    }
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;
    ~TemporaryFolder() {
        std::error_code ignored;
        std::filesystem::remove_all(path_, ignored);
    }

    const std::filesystem::path& path() const { return path_; }

private:
    std::filesystem::path path_;
};

/// The zones that are no part of another one.
std::vector<std::string> wholeZones() {
    std::vector<std::string> ids;
    for (const PaZone& zone : zones.all()) {
        if (zone.id.find('/') == std::string::npos) {
            ids.push_back(zone.id);
        }
    }
    return ids;
}

void showStation(const Context& context) {
    if (context.settings.json) {
        return;
    }
    const auto count = [](const auto& kind) {
        return std::to_string(kind.all().size()) + ' ' + kind.many;
    };
    context.out.write("Connected to " + clean(context.session().serverInfo().get_value("name")) +
                      ": " + count(sources) + ", " + count(sinks) + ", " + count(zones) + ", " +
                      count(voices) + "\n\n");
}

/// @return how many announcements did not end as the plan says
int showSummary(const Context& context, const std::vector<Playing>& played) {
    int surprises = 0;
    Json array = Json::array();
    TextTable table({"ANNOUNCEMENT", "EXPECTED", "SEEN"});
    for (const Playing& playing : played) {
        const auto& [item, follower, state] = playing;
        const bool asExpected = follower.isOver() && follower.outcome() == item.expected;
        surprises += asExpected ? 0 : 1;
        table.addRow({item.name, nameOf(item.expected),
                      asExpected ? nameOf(follower.outcome()) : follower.summary()});
        array.push_back({{"name", item.name},
                         {"kind", item.kind},
                         {"zones", item.request.zones},
                         {"requestId", follower.requestId()},
                         {"expected", nameOf(item.expected)},
                         {"seen", nameOf(follower.outcome())},
                         {"asExpected", asExpected}});
    }
    context.settings.json ? context.writeJson(array) : context.out.write('\n' + table.text());
    return surprises;
}

void demo(const Context& context) {
    context.session();
    const auto zoneIds = wholeZones();
    if (zoneIds.size() < 2) {
        throw Failure(ExitCode::NotFound, "the demo needs a station with two zones");
    }
    showStation(context);
    const TemporaryFolder folder;
    const auto recording = folder.path() / "recording.wav";
    writeTone(recording, recordingSeconds);
    Demo show(context);
    show.play(demoPlan(zoneIds, recording));
    const int surprises = showSummary(context, show.played());
    if (surprises > 0) {
        throw Failure(ExitCode::Refused,
                      std::to_string(surprises) + " of the announcements did not end as expected");
    }
    if (!context.settings.json) {
        context.out.write("\nEvery announcement ended as expected.\n");
    }
}

}  // namespace

Handler defineDemo(CLI::App& /*parser*/) {
    return demo;
}

}  // namespace console
