// SPDX-License-Identifier: Apache-2.0
#include "client/Announcement.h"
#include "client/resources.h"
#include "console/commands/commands.h"
#include "console/following/operate.h"
#include "operating/operations.h"

namespace console {

using namespace paclient;

namespace {

void print(const Context& context, const std::vector<AnnouncementRequest>& records) {
    TextTable table({"REQUEST", "PART", "STATE"});
    for (const AnnouncementRequest& record : records) {
        table.addRow({record.getRequestID(), partName(record), record.stateText});
    }
    context.write(table, toJson(records));
}

/// Prints what has been withdrawn, and how it ended when it was not by this.
void report(const Context& context, const Cancellation& cancellation) {
    if (!cancellation.ended.empty()) {
        print(context, cancellation.ended);
    }
    const Confirmation& result = cancellation.confirmation;
    require(result.state != Confirmation::State::Refused || cancellation.ended.empty(),
            result.reason, ExitCode::Refused);
    requireConfirmed(result, unknownWhether("anything is cancelled"));
}

struct Cancel {
    std::optional<std::string> id;
    std::optional<Message::Type> type;

    void define(CLI::App& app) {
        CLI::Option* const idOption =
            addText(app, "ID", id, "The request id, or the number of a record");
        const auto takeType = [this](const std::string& name) {
            type = messageTypeNamed(name);
            require(type.has_value(), "--type: '" + name + "' is none of " + messageTypeNames());
        };
        addParsed(app, "--type", takeType, messageTypeNames(), "TYPE")->excludes(idOption);
    }

    void run(const Context& context) const {
        require(id || type, "cancel what? ID or --type TYPE is missing");
        context.connected();
        const Wait wait = waitOf(context, "until the server has withdrawn it",
                                 unknownWhether("anything is cancelled"));
        report(context, id ? cancelAnnouncement(paoperating::chooseRequest(*id), wait)
                           : paoperating::cancelType(*type, wait));
    }
};

}  // namespace

Command cancelCommand() {
    return command<Cancel>("cancel", "Cancel an announcement, or all of a type");
}

}  // namespace console
