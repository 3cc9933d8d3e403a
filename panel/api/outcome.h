// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <cstdint>
#include <exception>
#include <string>
#include <utility>

#include "client/Wait.h"
#include "panel/Services.h"
#include "panel/http/ApiError.h"
#include "panel/http/Route.h"

/// @file
/// How operations end: as an answer, or as an error. Every function may be called from any thread.

namespace papanel {

/// What an exception of an operation is for the client. One that is the gateway's own fault is
/// thrown again.
ApiError errorOf(const std::exception_ptr& thrown);

/// The same of a request that has begun with the connection of this number: a resource that is not
/// found may only be unknown while the connection is away, and until everything is reported again.
ApiError errorOf(const std::exception_ptr& thrown, const Services& services,
                 std::uint64_t connection);

/// A handler as a table of routes has it: what it throws is an ApiError.
template <ApiReply (*handle)(Services&, const ApiRequest&)>
ApiReply answered(Services& services, const ApiRequest& request) {
    const std::uint64_t connection = services.connection.number();
    try {
        return handle(services, request);
    } catch (...) {
        throw errorOf(std::current_exception(), services, connection);
    }
}

/// @throws ApiError when the request has a body; an empty object is none
void requireNoBody(const ApiRequest& request);

/// The same of a route that takes no body: a client that sends one expects more than is done.
template <ApiReply (*handle)(Services&, const ApiRequest&)>
ApiReply answeredWithoutBody(Services& services, const ApiRequest& request) {
    requireNoBody(request);
    return answered<handle>(services, request);
}

/// Of errors that leave it unknown whether something is done.
constexpr int outcomeUnknown = 504;

/// How long the audio server may take to confirm something.
constexpr std::chrono::seconds answerLimit{10};

/// A wait for the audio server that ends with the gateway, by an ApiError.
paclient::Wait waitOf(const Services& services, std::chrono::milliseconds limit = answerLimit);

/// @throws ApiError not-connected, at once, unless everything that the server holds is known
void requireConnected(const Services& services);

/// @throws ApiError unless the effect is there
void requireConfirmed(const paclient::Confirmation& confirmation, const std::string& effect);

/// The answer to an operation that is confirmed: `outcome`, `text` and the members of a record.
/// @param effect as in "sink 3 is monitored"
Json doneAnswer(const paclient::Confirmation& confirmation, const std::string& effect,
                const Json& record = Json::object());

/// Runs a confirmed operation.
/// @param operation takes the wait, returns the confirmation
/// @return the confirmation of an effect that is there
/// @throws ApiError when it is not, or may not be
template <class Operation>
paclient::Confirmation operate(const Services& services, const std::string& effect,
                               Operation operation, std::chrono::milliseconds limit = answerLimit) {
    requireConnected(services);
    paclient::Confirmation confirmation = operation(waitOf(services, limit));
    requireConfirmed(confirmation, effect);
    return confirmation;
}

}  // namespace papanel
