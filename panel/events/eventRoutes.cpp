// SPDX-License-Identifier: Apache-2.0
#include "panel/events/eventRoutes.h"

#include <chrono>

#include "client/resources.h"
#include "panel/Services.h"
#include "panel/access/Sessions.h"
#include "panel/api/LockKeeper.h"
#include "panel/api/outcome.h"
#include "panel/events/EventHub.h"
#include "util/AtEnd.h"

namespace papanel {

using namespace paclient;

namespace {

using Stopped = std::function<bool()>;
using Clock = std::chrono::steady_clock;

/// So often a stream looks whether its client is away.
constexpr std::chrono::milliseconds turn{1000};
/// A stream without an event has a comment so often, by which a page knows that it is connected.
constexpr std::chrono::seconds quietTime{5};

ApiReply eventStream(std::function<void(const Write& write, const Stopped& stopped)> stream) {
    ApiReply reply;
    reply.contentType = "text/event-stream";
    reply.headers = {{"X-Accel-Buffering", "no"}};  // by a proxy
    reply.stream = std::move(stream);
    return reply;
}

/// Writes what a function returns, until that or the client ends. An empty text is none.
void writeEvents(const Write& write, const Stopped& stopped,
                 const std::function<bool(const Write& write)>& writeNext) {
    auto written = Clock::now();
    const Write counted = [&](const std::string& text) {
        written = Clock::now();
        return write(text);
    };
    bool isOpen = counted("retry: 1000\n\n");
    while (isOpen && !stopped()) {
        isOpen = writeNext(counted);
        if (isOpen && Clock::now() >= written + quietTime) {
            isOpen = counted(":\n\n");
        }
    }
}

ApiReply events(Services& services, const ApiRequest& request) {
    const std::string before = request.queryOr("after", request.header("last-event-id"));
    const std::string token = request.token;
    const std::string session = request.caller.sessionId;
    return eventStream([=, &services](const Write& write, const Stopped& stopped) {
        EventLog::Page page(services.events.log(), before, session);
        if (!services.sessions.find(token)) {
            return;  // it has ended before the page was known
        }
        services.locks.pageOpened(session);
        const pautil::AtEnd closed([&] { services.locks.pageClosed(session); });
        writeEvents(write, stopped, [&](const Write& writeText) {
            services.sessions.notePage(session);
            const EventLog::Text text = page.next(turn);
            return (text == nullptr || writeText(*text)) && !page.isOver();
        });
    });
}

ApiReply levels(Services& services, const ApiRequest& request) {
    const int sourceId = findOne(sources, request.parts.front()).id;
    const std::string session = request.caller.sessionId;
    return eventStream([=, &services](const Write& write, const Stopped& stopped) {
        Subscription readings(kinds<palink::LevelReading>());
        const LevelFeeds::Feed feed(services.events.levels(), sourceId);
        writeEvents(write, stopped, [&](const Write& writeText) {
            const ChangePtr change = readings.next(turn);
            const auto* const reading =
                change != nullptr ? std::get_if<palink::LevelReading>(change.get()) : nullptr;
            const bool isWanted = reading != nullptr && reading->element == feed.element();
            return services.sessions.lasts(session) &&
                   (!isWanted || writeText("event: level\ndata: " +
                                           Json{{"level", reading->level}}.dump() + "\n\n"));
        });
    });
}

}  // namespace

Routes eventRoutes() {
    return {
        {"GET", "/events", Access::Monitor, Effect::Reads, nullptr, answered<events>},
        {"GET", "/sources/{id}/levels", Access::Monitor, Effect::Reads, nullptr, answered<levels>},
    };
}

}  // namespace papanel
