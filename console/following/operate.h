// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

#include "client/Wait.h"
#include "client/json.h"
#include "console/Context.h"
#include "util/AtEnd.h"

/// @file
/// How commands wait for the server, and report what a confirmed operation has come to.

namespace console {

/// More seconds than any command waits, and few enough for the clock. No limit is longer.
constexpr double forEver = 1e9;

/// A wait that the user can interrupt.
paclient::Wait interruptibleWait(double seconds);

/// The same. A status shows on a terminal what is waited for and for how long, from the first
/// second on; it is removed when the wait no longer exists.
/// @param what as in "for the connection" or "until sink 3 is monitored"
paclient::Wait shownWait(Output& diagnostics, const std::string& what, double seconds);

/// What the server may take when --timeout does not say, in seconds.
constexpr double answerSeconds = 10;

/// The wait of a command for the server, no longer than --timeout. It ends with a Failure when the
/// user interrupts.
/// @param what    shown on a terminal, as in "until sink 3 is monitored"; empty for a command that
///                shows its progress itself
/// @param unknown added to the text of the failure, as in "whether sink 3 is monitored is unknown"
paclient::Wait waitOf(const Context& context, const std::string& what, const std::string& unknown,
                      double seconds = answerSeconds);

/// The controller itself waits so long for the server, while the result lives.
pautil::AtEnd limitController(double seconds);

/// "whether EFFECT is unknown".
std::string unknownWhether(const std::string& effect);

/// @param unknown as above
/// @return ", as before" when the effect was there before, as the end of a sentence, else nothing
/// @throws Failure when the operation has not had its effect, or may not have had it
std::string requireConfirmed(const paclient::Confirmation& confirmation,
                             const std::string& unknown);

/// Runs a confirmed operation.
/// @param effect    as in "sink 3 is monitored"
/// @param operation takes the wait, returns the confirmation
/// @return as above
/// @throws Failure as above
template <class Operation>
std::string operate(const Context& context, const std::string& effect, Operation operation,
                    double seconds = answerSeconds) {
    const std::string unknown = unknownWhether(effect);
    return requireConfirmed(operation(waitOf(context, "until " + effect, unknown, seconds)),
                            unknown);
}

/// The same for an operation that returns a struct with its `confirmation`.
/// @return that struct
template <class Operation>
auto resultOf(const Context& context, const std::string& effect, Operation operation,
              double seconds = answerSeconds) {
    decltype(operation(paclient::Wait())) result;
    const auto run = [&](const paclient::Wait& wait) {
        result = operation(wait);
        return result.confirmation;
    };
    operate(context, effect, run, seconds);
    return result;
}

/// Prints a result: a sentence, or JSON.
void printOutcome(const Context& context, const std::string& sentence, const paclient::Json& json);

/// Says once, on stderr, that something ends with this command: when the server ends with the
/// process, and no other command follows over the connection.
/// @param what as in "the announcement"
void warnOfEnd(const Context& context, const std::string& what);

/// The same for something that the server keeps in the folder --state.
void warnUnlessKept(const Context& context, const std::string& what);

}  // namespace console
