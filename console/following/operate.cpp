// SPDX-License-Identifier: Apache-2.0
#include "console/following/operate.h"

#include <algorithm>
#include <cmath>
#include <memory>
#include <utility>

#include "console/interrupt.h"
#include "console/text/cleanText.h"
#include "sdk/globals.h"

namespace console {

using namespace paclient;

Wait interruptibleWait(double seconds) {
    const std::chrono::duration<double> limit(std::min(seconds, forEver));
    return {std::chrono::ceil<std::chrono::milliseconds>(limit),
            [](std::chrono::milliseconds /*waited*/) { interrupt::check(); }};
}

Wait shownWait(Output& diagnostics, const std::string& what, double seconds) {
    Wait wait = interruptibleWait(seconds);
    const auto removal =
        std::make_shared<pautil::AtEnd>([&diagnostics] { diagnostics.status(""); });
    wait.whileWaiting = [&diagnostics, what, removal,
                         shown = 0LL](std::chrono::milliseconds waited) mutable {
        interrupt::check();
        const long long passed = waited.count() / 1000;
        if (passed != std::exchange(shown, passed)) {
            diagnostics.status("waiting " + what + ": " + std::to_string(passed) + " s");
        }
    };
    return wait;
}

Wait waitOf(const Context& context, const std::string& what, const std::string& unknown,
            double seconds) {
    const double limit = context.settings.timeout.value_or(seconds);
    Wait wait =
        what.empty() ? interruptibleWait(limit) : shownWait(context.diagnostics, what, limit);
    wait.whileWaiting = [unknown, show = wait.whileWaiting](std::chrono::milliseconds waited) {
        try {
            show(waited);
        } catch (const Failure& failure) {
            throw Failure(failure.code,
                          failure.what() + (unknown.empty() ? unknown : "; " + unknown));
        }
    };
    return wait;
}

pautil::AtEnd limitController(double seconds) {
    const int before = pa::load(gMaxServerWaitTimeSeconds);
    pa::store(gMaxServerWaitTimeSeconds, static_cast<int>(std::ceil(seconds)));
    return pautil::AtEnd([before] { pa::store(gMaxServerWaitTimeSeconds, before); });
}

std::string unknownWhether(const std::string& effect) {
    return "whether " + effect + " is unknown";
}

std::string requireConfirmed(const Confirmation& confirmation, const std::string& unknown) {
    using State = Confirmation::State;
    const State state = confirmation.state;
    require(state != State::Refused, "the server refuses: " + confirmation.reason,
            ExitCode::Refused);
    require(state != State::NotSent, "not sent: " + confirmation.reason, ExitCode::ConnectionLost);
    require(state != State::ConnectionLost, "the connection to the server was lost; " + unknown,
            ExitCode::ConnectionLost);
    require(state != State::TimedOut, "the server has not confirmed it in time; " + unknown,
            ExitCode::TimedOut);
    return state == State::AsBefore ? ", as before" : "";
}

void printOutcome(const Context& context, const std::string& sentence, const Json& json) {
    context.settings.json ? context.writeJson(json) : context.out.write(clean(sentence) + '\n');
}

void warnOfEnd(const Context& context, const std::string& what) {
    const bool endsToo = context.connected().connection().endpoint().endsWithProcess();
    if (!context.session.lasts && endsToo) {
        context.diagnostics.diagnostic(
            what +
            " ends with this command, as the server does; a script keeps it, and "
            "'paconsole shell'");
    }
}

void warnUnlessKept(const Context& context, const std::string& what) {
    if (context.settings.server.state.empty()) {
        warnOfEnd(context, "without --state " + what);
    }
}

}  // namespace console
