// SPDX-License-Identifier: Apache-2.0
#include "paserver/RemoteSimControl.h"

#include "paserver/control.h"
#include "simserver/protocol/Refused.h"

namespace paserver {

namespace {

/// The result of a function at the server.
template <class Member, class... Arguments>
auto call(const RemoteSimControl::Sender& send, const control::Function<Member>& function,
          const Arguments&... arguments) {
    control::Json object = control::Json::object();
    [[maybe_unused]] std::size_t place = 0;
    ((object[function.arguments[place++]] = arguments), ...);
    const palink::Answer answer = send(function.name, palink::jsonText(object));
    if (!answer.accepted) {
        throw simserver::Refused(answer.reason);
    }
    using Result = typename control::Signature<Member>::Result;
    if constexpr (!std::is_void_v<Result>) {
        Result result;
        control::fromJson(control::Json::parse(answer.result, nullptr, false), result);
        return result;
    }
}

}  // namespace

void RemoteSimControl::setTrigger(int triggerId, bool active) {
    call(send_, control::setTrigger, triggerId, active);
}

void RemoteSimControl::setSelector(int selectorId, int state) {
    call(send_, control::setSelector, selectorId, state);
}

void RemoteSimControl::lockSource(int sourceId, const std::string& client) {
    call(send_, control::lockSource, sourceId, client);
}

void RemoteSimControl::unlockSource(int sourceId, const std::string& client) {
    call(send_, control::unlockSource, sourceId, client);
}

void RemoteSimControl::ignoreRenewals(bool on) {
    call(send_, control::ignoreRenewals, on);
}

void RemoteSimControl::ignoreRequests(bool on) {
    call(send_, control::ignoreRequests, on);
}

simserver::IgnoredOperations RemoteSimControl::ignored() const {
    return call(send_, control::ignored);
}

simserver::Contents RemoteSimControl::contents() const {
    return call(send_, control::contents);
}

void RemoteSimControl::dropClient() {
    call(send_, control::dropClient);
}

void RemoteSimControl::restart() {
    call(send_, control::restart);
}

}  // namespace paserver
