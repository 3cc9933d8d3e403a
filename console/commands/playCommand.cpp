#include <algorithm>
#include <cstdio>
#include <memory>

#include "console/commands/commands.h"
#include "console/commands/playMessage.h"
#include "console/following/RequestFollower.h"
#include "console/text/cleanText.h"
#include "console/text/resources.h"
#include "framework/uuid.h"
#include "sdk/PAController.h"

namespace console {

namespace {

constexpr double acceptSeconds = 10;
constexpr double refusalSeconds = 1;  // for a request of which nothing else will be heard

/// The id that is asked for, or a new one.
std::string requestIdFor(const PlayRequest& request) {
    if (!request.requestId) {
        std::string id;
        generateUUID(id);
        return id;
    }
    const auto active = memberTexts(announcements.all(), "requestId");
    if (std::find(active.begin(), active.end(), *request.requestId) != active.end()) {
        throw Failure(ExitCode::Usage, "a request " + *request.requestId + " is active already");
    }
    return *request.requestId;
}

void printId(const Context& context, const std::string& id) {
    context.settings.json ? context.writeJson({{"requestId", id}}) : context.out.write(id + '\n');
}

void printState(const Context& context, const AnnouncementRequest& record,
                std::chrono::milliseconds passed) {
    const double seconds = static_cast<double>(passed.count()) / 1000;
    if (context.settings.json) {
        Json line = {{"seconds", seconds}, {"part", partName(record)}};
        line.update(toJson(record));
        context.writeJson(line);
        return;
    }
    char time[32];
    std::snprintf(time, sizeof time, "%8.2f s  ", seconds);
    context.out.write(time + fitted(partName(record), 8) + clean(record.stateText) +
                      (record.completionMsg.empty() ? "" : ": " + clean(record.completionMsg)) +
                      '\n');
}

/// How long the server may take.
double limitOf(const Context& context, const PlayRequest& request) {
    const double usual = trackedParts(request) == 0 ? refusalSeconds : acceptSeconds;
    return context.settings.timeout.value_or(request.wait ? forEver : usual);
}

/// Follows the request until it is accepted, or with `--wait` over.
void follow(const Context& context, Changes& changes, RequestFollower& follower,
            const PlayRequest& request) {
    const auto start = std::chrono::steady_clock::now();
    const Moment deadline = after(limitOf(context, request));
    while (!follower.isOver() && (request.wait || !follower.isAccepted())) {
        const auto change = context.session().nextAnswer(changes, deadline);
        if (!change && trackedParts(request) == 0) {
            return;  // nothing was to be heard but a refusal
        }
        if (!change) {
            throw Failure(ExitCode::TimedOut, "request " + follower.requestId() + " is not " +
                                                  (request.wait ? "over" : "accepted") +
                                                  " in time; what becomes of it is unknown");
        }
        const auto news = follower.take(*change);
        if (news && request.wait) {
            printState(context, *news,
                       std::chrono::duration_cast<std::chrono::milliseconds>(
                           std::chrono::steady_clock::now() - start));
        }
    }
    if (follower.outcome() > Outcome::Finished) {
        throw Failure(ExitCode::Refused,
                      "request " + follower.requestId() + ' ' + follower.summary());
    }
}

void play(const Context& context, const PlayRequest& request) {
    check(request);
    context.session();
    const auto zoneIds = zonesFor(request.zones);
    const std::string id = requestIdFor(request);
    Message message = messageFor(request, id);

    Changes changes;  // from before the request is sent, so that no early record is missed
    RequestFollower follower(id, trackedParts(request));
    context.connection.playedIds.push_back(id);
    gPaController.playMessage(zoneIds, message);
    if (request.wait) {
        printId(context, id);
    }
    follow(context, changes, follower, request);
    if (!request.wait) {
        printId(context, id);
    }
}

}  // namespace

Handler definePlay(Parser& parser) {
    const auto request = std::make_shared<PlayRequest>();
    addPlayOptions(parser, *request);
    return [request](const Context& context) { play(context, *request); };
}

}  // namespace console
