// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <set>

#include "client/checkMessage.h"
#include "client/readJson.h"
#include "operating/operations.h"
#include "operating/simulation.h"
#include "panel/api/AskedAnnouncement.h"
#include "panel/api/SentAnnouncements.h"
#include "panel/api/outcome.h"
#include "panel/api/records.h"
#include "panel/api/resources.h"
#include "panel/api/routes.h"
#include "panel/audit/AuditTrail.h"

namespace papanel {

using namespace paclient;

namespace {

using State = Announcement::State;

// ------------------------------------------------------------------------------ what becomes of it

Json jsonOf(const Announcement::Part& part) {
    Json json = {{"part", partName(part.record)},
                 {"state", nameOf(part.state)},
                 {"reason", part.reason},
                 {"isOver", part.isOver}};
    json.update(recordOf(part.record));
    return json;
}

Json jsonOf(const SentAnnouncements::Sent& sent) {
    const Announcement& announcement = *sent.announcement;
    Json parts = Json::array();
    for (const Announcement::Part& part : announcement.parts()) {
        parts.push_back(jsonOf(part));
    }
    Json zones = Json::array();
    for (const Announcement::ZoneState& zone : announcement.zones()) {
        zones.push_back({{"id", zone.id}, {"isPlaying", zone.isPlaying}});
    }
    return {{"requestId", announcement.requestId()},
            {"state", nameOf(announcement.state())},
            {"reason", announcement.reason()},
            {"parts", parts},
            {"zones", zones},
            {"isOver", announcement.isOver()},
            {"user", sent.user}};
}

/// The same of a request that no page has sent, by the server's records.
Json jsonOfOther(const std::string& requestId) {
    Json parts = Json::array();
    std::set<std::string> zoneIds;
    State state = State::Sending;
    for (const AnnouncementRequest& record : allAnnouncements()) {
        if (record.getRequestID() == requestId) {
            state = std::max(state, stateOf(record));
            parts.push_back(jsonOf({record, stateOf(record), record.completionMsg, false}));
            zoneIds.insert(record.zones.begin(), record.zones.end());
        }
    }
    Json zones = Json::array();
    for (const std::string& id : zoneIds) {
        zones.push_back({{"id", id}, {"isPlaying", state == State::Playing}});
    }
    return {{"requestId", requestId}, {"state", nameOf(state)}, {"reason", ""},   {"parts", parts},
            {"zones", zones},         {"isOver", false},        {"user", nullptr}};
}

/// @throws ApiError when the server has refused it, or may have
void requireAccepted(const Announcement& announcement) {
    const State state = announcement.state();
    const Json id = {{"requestId", announcement.requestId()}};
    const std::string title = "request " + announcement.requestId();
    if (state == State::Refused || state == State::Failed) {
        const std::string reason = announcement.reason();
        throw ApiError(409, "refused", reason.empty() ? title + " is refused" : reason, id);
    }
    if (state == State::Unknown) {
        throw ApiError(
            outcomeUnknown, "connection-lost",
            "the connection to the server was lost; the outcome of " + title + " is unknown", id);
    }
    if (state == State::Sending && announcement.partCount() > 0) {
        throw ApiError(outcomeUnknown, "timed-out",
                       title + " is not accepted in time; its outcome is unknown", id);
    }
}

// --------------------------------------------------------------------------------------- handlers

ApiReply play(Services& services, const ApiRequest& request) {
    constexpr std::chrono::seconds refusalLimit{1};  // when the server answers only to refuse
    const AskedAnnouncement asked = askedAnnouncement(services, request);
    const auto sent = services.announcements.send(request.caller.user, asked.zones, asked.message,
                                                  request.auditRow);
    const bool isReported = sent.announcement->partCount() > 0;
    sent.announcement->waitUntilAccepted(waitOf(services, isReported ? answerLimit : refusalLimit));
    requireAccepted(*sent.announcement);
    Json answer = jsonOf(sent);
    answer["outcome"] = AuditTrail::accepted;
    answer["text"] = "request " + sent.announcement->requestId() + " is accepted";
    return {202, answer};
}

constexpr const char* codeOf(Finding::Kind kind) {
    switch (kind) {
        case Finding::Kind::UnknownZone:
            return "unknown-zone";
        case Finding::Kind::EmptyZone:
            return "empty";
        case Finding::Kind::FaultyZone:
            return "faulty";
        case Finding::Kind::BusyZone:
            return "busy";
        case Finding::Kind::UnknownVoice:
            return "unknown-voice";
        case Finding::Kind::UnknownItem:
            break;
    }
    return "unknown-item";
}

ApiReply dryRun(Services& services, const ApiRequest& request) {
    const AskedAnnouncement asked = askedAnnouncement(services, request);
    const auto playable = paoperating::playableAt(services.connection.endpoint());
    Json problems = Json::array();
    for (const Finding& finding : checkMessage(asked.zones, asked.message, playable)) {
        const bool isOfZone = finding.kind <= Finding::Kind::BusyZone;
        problems.push_back({{"zone", isOfZone ? Json(finding.subject) : Json()},
                            {"subject", finding.subject},
                            {"code", codeOf(finding.kind)},
                            {"text", finding.text},
                            {"prevents", isRefused(finding.kind)}});
    }
    return {200, {{"problems", problems}}};
}

ApiReply getAnnouncement(Services& services, const ApiRequest& request) {
    const std::string& wanted = request.parts.at(0);
    const auto sent = services.announcements.find(wanted);
    return {200, sent ? jsonOf(*sent) : jsonOfOther(paoperating::chooseRequest(wanted))};
}

ApiReply cancelOne(Services& services, const ApiRequest& request) {
    const std::string& wanted = request.parts.at(0);
    const auto sent = services.announcements.find(wanted);
    const std::string id = sent ? wanted : paoperating::chooseRequest(wanted);
    std::vector<AnnouncementRequest> ended;
    const std::string effect = "request " + id + " is cancelled";
    const Confirmation done = operate(services, effect, [&](const Wait& wait) {
        if (sent) {
            return sent->announcement->cancel(wait);
        }
        const Cancellation cancellation = cancelAnnouncement(id, wait);
        ended = cancellation.ended;
        return cancellation.confirmation;
    });
    const bool isAsBefore = done.state == Confirmation::State::AsBefore;
    Json answer =
        doneAnswer(done, isAsBefore ? "request " + id + " is over" : effect, {{"requestId", id}});
    if (sent) {
        for (const auto& part : sent->announcement->parts()) {
            ended.push_back(part.record);
        }
    }
    answer["ended"] = toJson(ended);
    return {200, answer};
}

ApiReply cancelType(Services& services, const ApiRequest& request) {
    const std::string name = request.queryOr("type");
    const auto type = messageTypeNamed(name);
    if (!type) {
        failReading("the parameter 'type' is none of " + messageTypeNames());
    }
    std::vector<AnnouncementRequest> ended;
    const std::string effect = "every announcement of type " + nameOf(*type) + " is cancelled";
    const Confirmation done = operate(services, effect, [&](const Wait& wait) {
        const Cancellation cancellation = paoperating::cancelType(*type, wait);
        ended = cancellation.ended;
        return cancellation.confirmation;
    });
    return {200, doneAnswer(done, effect, {{"ended", toJson(ended)}})};
}

}  // namespace

Routes announcementRoutes() {
    constexpr Access who = Access::Operator;
    constexpr Effect what = Effect::Operates;
    return {
        {"POST", "/announcements", who, what, "play announcement", answered<play>},
        {"POST", "/announcements/check", who, Effect::Asks, nullptr, answered<dryRun>},
        {"GET", "/announcements/{id}", Access::Monitor, Effect::Reads, nullptr,
         answered<getAnnouncement>},
        {"DELETE", "/announcements/{id}", who, Effect::Ends, "cancel announcement",
         answeredWithoutBody<cancelOne>},
        {"DELETE", "/announcements", who, Effect::Ends, "cancel announcements",
         answeredWithoutBody<cancelType>},
    };
}

}  // namespace papanel
