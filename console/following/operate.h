#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "console/Context.h"
#include "console/ExitCode.h"
#include "console/following/Changes.h"

/// @file
/// The way in which operating commands ask the server for something and learn what has become of
/// it.

namespace console {

/// What is asked for.
struct Request {
    std::string effect;                         ///< as in "sink 3 has the new gain"
    std::vector<pa::OperationType> operations;  ///< under which the server refuses it
    double seconds = 10;        ///< what the server may take when --timeout does not say
    double tickSeconds = 0.05;  ///< between two looks when nothing is told
    std::string requestId{};    ///< a refusal of another request is none of this one
};

/// Whether the effect is there. Asked again and again: with every change, and in short ticks with
/// none, since not everything that the server reports is told as a change.
using Sight = std::function<bool(const std::optional<Change>& change)>;

/// Sends a request and waits until its effect is seen.
/// @throws Failure when the server refuses it, and when the effect is not seen: because time is up,
///         or the user interrupts, or the connection is lost
void operate(const Context& context, const Request& request, const std::function<void()>& send,
             const Sight& isSeen);

/// Sends a request whose effect nothing shows, and waits a second for a refusal.
/// @throws Failure as above
void operateUnseen(const Context& context, Request request, const std::function<void()>& send);

/// Makes a call of the controller that itself waits for the server, no longer than the user wants.
/// @return what the call gave
/// @throws Failure as above
bool operateBlocking(const Context& context, const Request& request,
                     const std::function<bool()>& call);

/// That the server has not confirmed a request in time.
Failure unconfirmed(const Request& request);

/// A sight that looks at the controller alone.
template <class Condition>
Sight seen(Condition condition) {
    return [condition](const std::optional<Change>&) { return condition(); };
}

/// Has the server bring about what `holds` asks for. Nothing is sent when it holds already.
/// @return ", as before" when it does, as the end of a sentence, else nothing
/// @throws Failure as above
template <class Condition>
std::string bringAbout(const Context& context, const Request& request, Condition holds,
                       const std::function<void()>& send) {
    if (holds()) {
        return ", as before";
    }
    operate(context, request, send, seen(holds));
    return "";
}

/// Prints what has come of it: a sentence, or JSON.
void printOutcome(const Context& context, const std::string& sentence, const Json& json);

}  // namespace console
