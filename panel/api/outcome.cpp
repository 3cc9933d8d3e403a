// SPDX-License-Identifier: Apache-2.0
#include "panel/api/outcome.h"

#include <stdexcept>

#include "client/find.h"
#include "client/sdkText.h"
#include "client/shortened.h"
#include "operating/NotPossible.h"
#include "simserver/protocol/Refused.h"

namespace papanel {

using paclient::Confirmation;

namespace {

constexpr std::size_t longestText = 400;  // characters; some quote what the request has

ApiError error(int status, const char* code, const std::string& text,
               const Json& details = Json::object()) {
    return {status, code, paclient::shortened(text, longestText), details};
}

}  // namespace

ApiError errorOf(const std::exception_ptr& thrown) {
    try {
        std::rethrow_exception(thrown);
    } catch (const ApiError& own) {
        return own;
    } catch (const paclient::NotFound& unknown) {
        return error(404, "not-found", unknown.what(), {{"suggestions", unknown.suggestions}});
    } catch (const paclient::Ambiguous& unclear) {
        return error(409, "ambiguous", unclear.what(), {{"candidates", unclear.names}});
    } catch (const paoperating::NotPossible& fault) {
        return error(409, "refused", fault.what());
    } catch (const simserver::Refused& refused) {
        return error(409, "refused", refused.what());
    } catch (const paclient::NotConnected& lost) {
        return error(503, "not-connected", lost.what());
    } catch (const std::invalid_argument& fault) {
        return error(400, "bad-request", paclient::sentenceFor(fault.what()));
    } catch (const std::out_of_range& fault) {
        return error(400, "bad-request", paclient::sentenceFor(fault.what()));
    }
}

ApiError errorOf(const std::exception_ptr& thrown, const Services& services,
                 std::uint64_t connection) {
    try {
        std::rethrow_exception(thrown);
    } catch (const paclient::NotFound&) {
        const bool isKnown = connection != 0 && services.connection.number() == connection;
        return isKnown ? errorOf(thrown)
                       : error(503, "not-connected",
                               "the connection to the server is away or was lost meanwhile");
    } catch (...) {
        return errorOf(thrown);
    }
}

void requireNoBody(const ApiRequest& request) {
    if (!request.body.is_null() && request.body != Json::object()) {
        throw error(400, "bad-request", "the request takes no body");
    }
}

paclient::Wait waitOf(const Services& services, std::chrono::milliseconds limit) {
    return {limit, [&stop = services.stop](std::chrono::milliseconds /*waited*/) {
                if (stop.isRequested()) {
                    throw error(outcomeUnknown, "connection-lost",
                                "the gateway ends; whether it is done is unknown");
                }
            }};
}

void requireConnected(const Services& services) {
    services.connection.requireConnected({std::chrono::milliseconds(0)});
}

void requireConfirmed(const Confirmation& confirmation, const std::string& effect) {
    using Outcome = Confirmation::State;
    const std::string unknown = "; whether " + effect + " is unknown";
    switch (confirmation.state) {
        case Outcome::Done:
        case Outcome::AsBefore:
            return;
        case Outcome::Refused:
            throw error(409, "refused", confirmation.reason);
        case Outcome::NotSent:
            throw error(503, "not-connected", "not sent: " + confirmation.reason);
        case Outcome::ConnectionLost:
            throw error(outcomeUnknown, "connection-lost",
                        "the connection to the server was lost" + unknown);
        case Outcome::TimedOut:
            throw error(outcomeUnknown, "timed-out",
                        "the server has not confirmed it in time" + unknown);
    }
}

Json doneAnswer(const Confirmation& confirmation, const std::string& effect, const Json& record) {
    const bool isAsBefore = confirmation.state == Confirmation::State::AsBefore;
    Json answer = {{"outcome", isAsBefore ? "as-before" : "done"},
                   {"text", effect + (isAsBefore ? ", as before" : "")}};
    answer.update(record);
    return answer;
}

}  // namespace papanel
