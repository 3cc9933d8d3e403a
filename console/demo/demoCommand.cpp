// SPDX-License-Identifier: Apache-2.0
#include <algorithm>

#include "client/resources.h"
#include "console/commands/commands.h"
#include "console/demo/DemoRun.h"
#include "console/text/cleanText.h"

namespace console {

using namespace paclient;

namespace {

/// The zones that are not part of another one.
std::vector<std::string> wholeZones() {
    std::vector<std::string> ids = memberTexts<&PaZone::id>(zones.all());
    const auto isPart = [](const std::string& id) { return id.find('/') != std::string::npos; };
    ids.erase(std::remove_if(ids.begin(), ids.end(), isPart), ids.end());
    return ids;
}

void showStation(const Context& context) {
    if (context.settings.json) {
        return;
    }
    const auto count = [](const auto& kind) {
        return std::to_string(kind.all().size()) + ' ' + kind.many;
    };
    context.out.write("Connected to " +
                      clean(context.connected().connection().serverInfo().get_value("name")) +
                      ": " + count(sources) + ", " + count(sinks) + ", " + count(zones) + ", " +
                      count(voices) + "\n\n");
}

void showSummary(const Context& context, const std::vector<DemoProgress>& steps) {
    Json array = Json::array();
    TextTable table({"STEP", "EXPECTED", "SEEN"});
    for (const DemoProgress& step : steps) {
        const std::string seen = withShortIds(step.seen);
        table.addRow({step.step.name, step.step.expected, seen});
        array.push_back({{"name", step.step.name},
                         {"kind", step.step.kind},
                         {"expected", step.step.expected},
                         {"seen", seen},
                         {"asExpected", step.isAsExpected()},
                         {"requestId", step.requestId}});
    }
    if (context.settings.json) {
        context.writeJson(array);
        return;
    }
    const bool isCut = context.terminal >= 0 && !context.settings.wide;
    const auto lines = table.lines(isCut ? sizeOfTerminal(context.terminal).columns : 0);
    std::string text = '\n' + lines[0] + '\n';
    for (std::size_t i = 0; i < steps.size(); ++i) {
        text += styled(lines[i + 1], steps[i].isAsExpected() ? Style::Good : Style::Bad,
                       hasColours(context.terminal)) +
                '\n';
    }
    context.out.write(text);
}

void demo(const Context& context) {
    context.connected();
    const auto zoneIds = wholeZones();
    require(zoneIds.size() >= 2, "the demo needs a station with two zones", ExitCode::NotFound);
    showStation(context);
    const std::vector<DemoProgress> steps = DemoRun(context, zoneIds).run();
    showSummary(context, steps);
    const auto surprises = std::count_if(
        steps.begin(), steps.end(), [](const DemoProgress& step) { return !step.isAsExpected(); });
    require(surprises == 0,
            std::to_string(surprises) + " of " + std::to_string(steps.size()) +
                " steps did not go as expected",
            ExitCode::Refused);
    if (!context.settings.json) {
        context.out.write("\nEvery step went as expected.\n");
    }
}

}  // namespace

Command demoCommand() {
    return command<demo>("demo", "Show the main jobs in about a minute");
}

}  // namespace console
