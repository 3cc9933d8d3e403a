#include <algorithm>
#include <memory>
#include <set>

#include "console/arguments/Parser.h"
#include "console/commands/commands.h"
#include "console/following/operate.h"
#include "console/text/cleanText.h"
#include "console/text/resourceTable.h"
#include "sdk/PAController.h"

namespace console {

namespace {

struct NewTrigger {
    std::string source;
    int priority = 0;
    std::string preChime;
    std::string display;
};

/// The chime is sent as it stands between commas; the display parameters are all that follows.
void check(const NewTrigger& wanted) {
    if (wanted.preChime.find(',') != std::string::npos) {
        throw Failure(ExitCode::Usage,
                      "the pre-chime '" + wanted.preChime + "' has a comma, which ends it");
    }
    for (const std::string& text : {wanted.preChime, wanted.display}) {
        if (!isUtf8(text)) {
            throw Failure(ExitCode::Usage, "the text '" + text + "' is not UTF-8");
        }
    }
}

std::string titleOf(const Trigger& trigger) {
    return trigger.kind + " trigger " + std::to_string(trigger.id);
}

void create(const Context& context, const NewTrigger& wanted) {
    check(wanted);
    context.session();
    const PaSource source = findOne(sources, wanted.source);
    const int id = gPaController.createSwPaTrigger(source.id, wanted.priority, wanted.preChime,
                                                   wanted.display);
    if (id == 0) {
        throw Failure(ExitCode::Refused,
                      "source " + std::to_string(source.id) + " can have no software trigger");
    }
    printOutcome(
        context,
        "software trigger " + std::to_string(id) + " starts source " + std::to_string(source.id),
        {{"id", id}, {"associatedSourceId", source.id}});
    if (!context.connection.lasts) {
        context.diagnostics.diagnostic(
            "the trigger is gone when this command has ended; a script keeps it, and 'paconsole "
            "shell'");
    }
}

/// Every trigger with this number, of one kind or of both.
std::vector<Trigger> triggersNumbered(const std::string& number, const char* kindOrNull) {
    std::vector<Trigger> candidates = triggers.all();
    const auto removeUnless = [&candidates](const char* member, const std::string& text) {
        const auto isOther = [&](const Trigger& t) { return memberText(t, member) != text; };
        candidates.erase(std::remove_if(candidates.begin(), candidates.end(), isOther),
                         candidates.end());
    };
    if (kindOrNull != nullptr) {
        removeUnless("kind", kindOrNull);
    }
    const auto texts = memberTexts(candidates, "id");
    const std::set<std::string> distinct(texts.begin(), texts.end());
    const std::vector<std::string> ids(distinct.begin(), distinct.end());
    const std::string what =
        (kindOrNull != nullptr ? kindOrNull + std::string(" ") : "") + "trigger";
    removeUnless("id", ids[findName(what, number, ids)]);
    return candidates;
}

Trigger softwareTrigger(const std::string& number) {
    return triggersNumbered(number, "software").front();
}

void forget(const Context& context, const Trigger& trigger) {
    gPaController.deleteSwPaTrigger(trigger.id);
    printOutcome(context, titleOf(trigger) + " is deleted", {{"id", trigger.id}});
}

/// The announcement shows that the server has started it: a live one that was not there before, in
/// the zones of the source.
void activate(const Context& context, const Trigger& trigger) {
    std::set<int> before;
    for (const AnnouncementRequest& record : announcements.all()) {
        before.insert(record.id);
    }
    std::vector<std::string> attached;
    gPaController.getAttachedPaZoneList(trigger.associatedSourceId, &attached);
    std::optional<AnnouncementRequest> started;
    const auto take = [&](const std::optional<Change>& change) {
        const auto* const record = change && change->kind == Change::Kind::Update
                                       ? std::get_if<AnnouncementRequest>(&change->what)
                                       : nullptr;
        const auto isAttached = [&](const std::string& zone) {
            return std::find(attached.begin(), attached.end(), zone) != attached.end();
        };
        const bool isIt = record != nullptr && before.count(record->id) == 0 &&
                          record->getAudioMessageType() == Message::LIVE_STREAM &&
                          std::all_of(record->zones.begin(), record->zones.end(), isAttached);
        if (isIt) {
            started = *record;
        }
        return isIt;
    };
    operate(
        context, {titleOf(trigger) + " is active", {pa::operations::activateTrigger}},
        [&] { gPaController.activateSwPaTrigger(trigger.id); }, take);
    context.connection.startedAnnouncements[trigger.associatedSourceId] = started->id;
    printOutcome(context,
                 titleOf(trigger) + " is active: request " + started->getRequestID() + " in " +
                     valueText(started->zones),
                 toJson(*started));
}

void deactivate(const Context& context, const Trigger& trigger) {
    const auto& startedBy = context.connection.startedAnnouncements;
    const auto started = startedBy.find(trigger.associatedSourceId);
    const auto isOver = [&] {
        return started == startedBy.end() ||
               !knowsName(std::to_string(started->second), memberTexts(announcements.all(), "id"));
    };
    const Request request{titleOf(trigger) + " is inactive", {pa::operations::deactivateTrigger}};
    const auto send = [&] { gPaController.deactivateSwPaTrigger(trigger.id); };
    // Without an announcement that could go, nothing is heard but a refusal.
    isOver() ? operateUnseen(context, request, send)
             : operate(context, request, send, seen(isOver));
    printOutcome(context, request.effect, {{"id", trigger.id}});
}

void showState(const Context& context, const std::string& number) {
    context.session();
    std::string lines;
    Json array = Json::array();
    for (const Trigger& trigger : triggersNumbered(number, nullptr)) {
        lines += titleOf(trigger) + ": " + nameOf(trigger.state) + '\n';
        array.push_back(
            {{"kind", trigger.kind}, {"id", trigger.id}, {"state", jsonValue(trigger.state)}});
    }
    context.settings.json ? context.writeJson(array) : context.out.write(lines);
}

Handler defineTriggerList(Parser& parser) {
    const auto source = std::make_shared<std::optional<std::string>>();
    parser.addText("--source", *source, "Of one source: its number or its label", "ID");
    return [source](const Context& context) {
        context.session();
        printOfSource(context, triggers, *source);
    };
}

Handler defineCreate(Parser& parser) {
    const auto wanted = std::make_shared<NewTrigger>();
    parser.addText("--source", wanted->source, "The source: its number or its label", "ID")
        .required();
    parser.addWhole("--priority", wanted->priority, {0, 100}, "Of the announcement, 0 to 100")
        .required();
    parser.addText("--pre-chime", wanted->preChime, "A chime of the server, played first", "CHIME");
    parser.addText("--display", wanted->display, "A text shown in the zones meanwhile");
    return [wanted](const Context& context) { create(context, *wanted); };
}

Handler defineState(Parser& parser) {
    const auto number = std::make_shared<std::string>();
    parser.addText("ID", *number, "The number of a trigger").required();
    return [number](const Context& context) { showState(context, *number); };
}

/// A subcommand that needs nothing but a software trigger.
template <void (*act)(const Context&, const Trigger&)>
Handler define(Parser& parser) {
    const auto number = std::make_shared<std::string>();
    parser.addText("ID", *number, "The number of a software trigger").required();
    return [number](const Context& context) {
        context.session();
        act(context, softwareTrigger(*number));
    };
}

}  // namespace

Handler defineTrigger(Parser& parser) {
    return defineSubcommands(
        parser,
        {{"list", "List the triggers of the hardware and of this client", defineTriggerList},
         {"create", "Make a software trigger for a source", defineCreate},
         {"delete", "Forget a software trigger", define<forget>},
         {"activate", "Start the announcement of a software trigger", define<activate>},
         {"deactivate", "Stop it", define<deactivate>},
         {"state", "Show the state of a trigger", defineState}});
}

}  // namespace console
