#include "client/resources.h"
#include "console/ExitCode.h"
#include "console/commands/commands.h"
#include "console/demo/DemoAnnouncements.h"
#include "console/demo/DemoOperating.h"
#include "console/demo/DemoSchedule.h"
#include "console/files/wavFile.h"
#include "console/text/TextTable.h"
#include "console/text/cleanText.h"
#include "util/TemporaryFolder.h"

namespace console {

using namespace paclient;

namespace {

constexpr int recordingSeconds = 15;

/// The zones that are not part of another one.
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

/// @return how many steps did not go as expected
int showSummary(const Context& context, const std::vector<DemoResult>& results) {
    int surprises = 0;
    Json array = Json::array();
    TextTable table({"STEP", "EXPECTED", "SEEN"});
    for (const DemoResult& result : results) {
        surprises += result.asExpected ? 0 : 1;
        table.addRow({result.name, result.expected, result.seen});
        Json object = {{"name", result.name},
                       {"kind", result.kind},
                       {"expected", result.expected},
                       {"seen", result.seen},
                       {"asExpected", result.asExpected}};
        object.update(result.details);
        array.push_back(object);
    }
    if (context.settings.json) {
        context.writeJson(array);
        return surprises;
    }
    const auto lines = table.lines();
    std::string text = '\n' + lines[0] + '\n';
    for (std::size_t i = 0; i < results.size(); ++i) {
        text += styled(lines[i + 1], results[i].asExpected ? Style::Good : Style::Bad,
                       hasColours(context.terminal)) +
                '\n';
    }
    context.out.write(text);
    return surprises;
}

std::vector<DemoResult> showPages(const Context& context, const std::vector<std::string>& zoneIds) {
    const pautil::TemporaryFolder folder("paconsole");
    const auto recording = folder.path() / "recording.wav";
    writeTone(recording, recordingSeconds);
    const auto plan = demoPlan(zoneIds, recording);
    DemoScreen screen(context, plan.size() + DemoOperating::stepCount + 1);
    DemoSchedule schedule(context, screen, zoneIds[zoneIds.size() - 2]);
    auto results = DemoAnnouncements(context, screen).play(plan);
    const auto preview = folder.path() / "preview.wav";
    for (const DemoResult& result : DemoOperating(context, screen, zoneIds, preview).run()) {
        results.push_back(result);
    }
    results.push_back(schedule.finish());
    return results;
}

void demo(const Context& context) {
    context.session();
    const auto zoneIds = wholeZones();
    if (zoneIds.size() < 2) {
        throw Failure(ExitCode::NotFound, "the demo needs a station with two zones");
    }
    showStation(context);
    const auto results = showPages(context, zoneIds);
    const int surprises = showSummary(context, results);
    if (surprises > 0) {
        throw Failure(ExitCode::Refused, std::to_string(surprises) + " of " +
                                             std::to_string(results.size()) +
                                             " steps did not go as expected");
    }
    if (!context.settings.json) {
        context.out.write("\nEvery step went as expected.\n");
    }
}

}  // namespace

Command demoCommand() {
    return command<demo>("demo", "Show the main jobs in about a minute");
}

}  // namespace console
