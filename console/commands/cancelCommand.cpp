#include <algorithm>
#include <map>
#include <memory>

#include "console/arguments/Parser.h"
#include "console/commands/commands.h"
#include "console/following/RequestFollower.h"
#include "console/text/TextTable.h"
#include "console/text/resources.h"
#include "sdk/PAController.h"

namespace console {

namespace {

constexpr double cancelSeconds = 10;

using Records = std::map<int, AnnouncementRequest>;  // by record number

/// The active records that `matches`.
template <class Predicate>
Records activeRecords(Predicate matches) {
    Records records;
    for (const AnnouncementRequest& record : announcements.all()) {
        if (matches(record)) {
            records.emplace(record.id, record);
        }
    }
    return records;
}

/// The request id of what is named by its request id, or by the number of one of its records.
std::string requestIdOf(const std::string& wanted) {
    const auto records = announcements.all();
    const auto numbers = memberTexts(records, "id");
    if (knowsName(wanted, numbers)) {
        return records[findName("announcement", wanted, numbers)].getRequestID();
    }
    auto ids = memberTexts(records, "requestId");
    std::sort(ids.begin(), ids.end());
    ids.erase(std::unique(ids.begin(), ids.end()), ids.end());  // one for each part
    return ids[findName("announcement", wanted, ids)];
}

/// Waits until all of the records are withdrawn.
/// @return their last states
Records waitUntilGone(const Context& context, Changes& changes, const Records& open) {
    const Moment deadline = after(context.settings.timeout.value_or(cancelSeconds));
    Records gone;
    while (gone.size() < open.size()) {
        const auto change = context.session().nextAnswer(changes, deadline);
        if (!change) {
            throw Failure(ExitCode::TimedOut,
                          "the server has not answered; whether anything is "
                          "cancelled is unknown");
        }
        const auto* const refusal = std::get_if<palink::Refusal>(&change->what);
        if (refusal != nullptr && refusal->operation == pa::operations::cancelMessage) {
            throw Failure(ExitCode::Refused, "the server refuses: " + refusal->reason);
        }
        const auto* const record = std::get_if<AnnouncementRequest>(&change->what);
        if (change->kind == Change::Kind::Delete && record != nullptr &&
            open.count(record->id) > 0) {
            gone.emplace(record->id, *record);
        }
    }
    return gone;
}

void print(const Context& context, const Records& records) {
    Json array = Json::array();
    TextTable table({"REQUEST", "PART", "STATE"});
    for (const auto& entry : records) {
        const AnnouncementRequest& record = entry.second;
        array.push_back(toJson(record));
        table.addRow({record.getRequestID(), partName(record), record.stateText});
    }
    context.settings.json ? context.writeJson(array) : context.out.write(table.text());
}

/// Has the server cancel, and sees to it that it does.
/// @param send    sends the operation
/// @param active what is to end then
template <class Send>
void cancel(const Context& context, Changes& changes, const Records& active, Send send) {
    send();
    const Records records = waitUntilGone(context, changes, active);
    print(context, records);
    for (const auto& entry : records) {
        if (outcomeOf(entry.second) != Outcome::Cancelled) {
            throw Failure(ExitCode::Refused, "request " + entry.second.getRequestID() + ' ' +
                                                 nameOf(outcomeOf(entry.second)) +
                                                 " before it could be cancelled");
        }
    }
}

void cancelRequest(const Context& context, const std::string& wanted) {
    context.session();
    Changes changes;
    const std::string id = requestIdOf(wanted);
    const auto hasId = [&id](const AnnouncementRequest& r) { return r.getRequestID() == id; };
    cancel(context, changes, activeRecords(hasId), [&id] { gPaController.cancelMessage(id); });
}

void cancelType(const Context& context, Message::Type type) {
    context.session();
    Changes changes;
    const auto records = activeRecords([type](const AnnouncementRequest& record) {
        return record.getAudioMessageType() == type || record.getVisualMessageType() == type;
    });
    if (records.empty()) {
        throw Failure(ExitCode::NotFound, "no announcement of type " + nameOf(type) + " is active");
    }
    cancel(context, changes, records, [type] { gPaController.cancelMessage(type); });
}

Message::Type typeNamed(const std::string& name) {
    const auto type = messageTypeNamed(name);
    if (!type) {
        throw wrongValue("--type", "'" + name + "' is none of " + messageTypeNames());
    }
    return *type;
}

}  // namespace

Handler defineCancel(Parser& parser) {
    struct Arguments {
        std::optional<std::string> id;
        std::optional<Message::Type> type;
    };
    const auto arguments = std::make_shared<Arguments>();
    const Argument id =
        parser.addText("ID", arguments->id, "The request id, or the number of a record");
    const auto takeType = [arguments](const std::string& name) {
        arguments->type = typeNamed(name);
    };
    parser.add("--type", takeType, messageTypeNames(), "TYPE").excludes(id);
    return [arguments](const Context& context) {
        if (!arguments->id && !arguments->type) {
            throw Failure(ExitCode::Usage, "cancel what? ID or --type TYPE is missing");
        }
        arguments->id ? cancelRequest(context, *arguments->id)
                      : cancelType(context, *arguments->type);
    };
}

}  // namespace console
