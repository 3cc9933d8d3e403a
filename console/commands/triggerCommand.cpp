// SPDX-License-Identifier: Apache-2.0
#include <algorithm>

#include "console/commands/devices.h"
#include "console/text/resourceTable.h"
#include "operating/operations.h"
#include "sdk/PAController.h"

namespace console {

using namespace paclient;
using paoperating::softwareTriggers;

namespace {

void deleteTrigger(const Context& context, const PaSWTrigger& trigger) {
    gPaController.deleteSwPaTrigger(trigger.trigger.id);
    printOutcome(context, titleOf(softwareTriggers, trigger) + " is deleted",
                 {{"id", trigger.trigger.id}});
}

void activate(const Context& context, const PaSWTrigger& trigger) {
    const std::string effect = titleOf(softwareTriggers, trigger) + " is active";
    const auto send = [&](const Wait& wait) { return paclient::activate(trigger, wait); };
    const AnnouncementRequest started = resultOf(context, effect, send).announcement.value();
    context.session.startedAnnouncements[trigger.associatedSourceId] = started.id;
    printOutcome(context,
                 effect + ": request " + started.getRequestID() + " in " + valueText(started.zones),
                 toJson(started));
    warnOfEnd(context, "the announcement");
}

void deactivate(const Context& context, const PaSWTrigger& trigger) {
    const auto& startedBy = context.session.startedAnnouncements;
    const auto started = startedBy.find(trigger.associatedSourceId);
    const auto announcement =
        started == startedBy.end() ? std::nullopt : std::optional(started->second);
    const std::string effect = titleOf(softwareTriggers, trigger) + " is inactive";
    operate(context, effect, [&](const Wait& wait) {
        return paoperating::deactivateTrigger(trigger, announcement, wait);
    });
    printOutcome(context, effect, {{"id", trigger.trigger.id}});
}

/// The state of the hardware trigger and of the software trigger with a number.
struct TriggerState {
    std::string number;

    void define(CLI::App& app) {
        addText(app, "ID", number, "The number of a trigger")->required();
    }

    void run(const Context& context) const {
        context.connected();
        std::vector<Naming> others;
        std::string lines;
        Json array = Json::array();
        for (const AnyTrigger& trigger : allTriggers()) {
            if (std::to_string(trigger.id) != number) {
                others.push_back({std::to_string(trigger.id), ""});
                continue;
            }
            const std::string state = nameOf(trigger.state);
            lines += trigger.kind + " trigger " + number + ": " + state + '\n';
            array.push_back({{"kind", trigger.kind},
                             {"id", trigger.id},
                             {"state", static_cast<int>(trigger.state)},
                             {"stateText", state}});
        }
        if (array.empty()) {
            findNamed("trigger", number, others);  // throws
        }
        context.settings.json ? context.writeJson(array) : context.out.write(lines);
    }
};

/// Lists triggers or selectors.
template <const auto& kind>
struct ListOfSource {
    std::optional<std::string> source;

    void define(CLI::App& app) {
        addText(app, "--source", source, "Of one source: its number or its label", "ID");
    }

    void run(const Context& context) const {
        context.connected();
        auto records = kind.all();
        if (source) {
            const int id = findOne(paclient::sources, *source).id;
            const auto isOther = [id](const auto& r) { return r.associatedSourceId != id; };
            records.erase(std::remove_if(records.begin(), records.end(), isOther), records.end());
        }
        print(context, kind, records);
    }
};

void printState(const Context& context, const PaSelector& selector) {
    const PaSelector::State state = gPaController.getPaSelectorState(selector.id);
    printOutcome(
        context, titleOf(selectors, selector) + ": " + nameOf(state),
        {{"id", selector.id}, {"state", static_cast<int>(state)}, {"stateText", nameOf(state)}});
}

struct TriggerCreate : Named<paclient::sources> {
    int priority = 0;
    std::string preChime;
    std::string display;

    void define(CLI::App& app) {
        Named::define(app, "--source");
        addWhole(app, "--priority", priority, {0, paoperating::greatestTriggerPriority},
                 "Of the announcement, 0 to 100")
            ->required();
        addText(app, "--pre-chime", preChime, "A chime of the server, played first", "CHIME");
        addText(app, "--display", display, "A text that the zones show meanwhile");
    }

    void run(const Context& context) const {
        paoperating::checkTrigger(preChime, display);
        const int sourceId = find(context).id;
        const int id = paoperating::createTrigger(sourceId, priority, preChime, display);
        printOutcome(
            context,
            "software trigger " + std::to_string(id) + " starts source " + std::to_string(sourceId),
            {{"id", id}, {"associatedSourceId", sourceId}});
        warnOfEnd(context, "the trigger");
    }
};

}  // namespace

Command triggerCommand() {
    return group(
        "trigger", "Make software triggers and use them, see all triggers",
        {command<ListOfSource<triggers>>("list",
                                         "List the triggers of the hardware and of this client"),
         command<TriggerCreate>("create", "Make a software trigger for a source"),
         command<OfNamed<softwareTriggers, deleteTrigger>>("delete", "Delete a software trigger"),
         command<OfNamed<softwareTriggers, activate>>(
             "activate", "Start the announcement of a software trigger"),
         command<OfNamed<softwareTriggers, deactivate>>("deactivate", "Stop it"),
         command<TriggerState>("state", "Show the state of a trigger")});
}

Command selectorCommand() {
    return group(
        "selector", "See the selectors",
        {command<ListOfSource<selectors>>("list", "List the selectors"),
         command<OfNamed<selectors, printState>>("state", "Show the state of a selector")});
}

}  // namespace console
