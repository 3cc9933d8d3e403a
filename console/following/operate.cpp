#include "console/following/operate.h"

#include <cmath>

#include "client/recordText.h"
#include "console/ExitCode.h"
#include "console/text/cleanText.h"
#include "sdk/globals.h"

namespace console {

using namespace paclient;

paclient::Wait waitOf(const Context& context, const std::string& what, const std::string& unknown,
                      double seconds) {
    const double limit = context.settings.timeout.value_or(seconds);
    paclient::Wait wait =
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

std::string requireConfirmed(const paclient::Confirmation& confirmation,
                             const std::string& unknown) {
    using State = paclient::Confirmation::State;
    switch (confirmation.state) {
        case State::Done:
            return {};
        case State::AsBefore:
            return ", as before";
        case State::Refused:
            throw Failure(ExitCode::Refused, "the server refuses: " + confirmation.reason);
        case State::NotSent:
            throw Failure(ExitCode::ConnectionLost, "not sent: " + confirmation.reason);
        case State::ConnectionLost:
            throw Failure(ExitCode::ConnectionLost,
                          "the connection to the server was lost; " + unknown);
        case State::TimedOut:
            break;
    }
    throw Failure(ExitCode::TimedOut, "the server has not confirmed it in time; " + unknown);
}

void printOutcome(const Context& context, const std::string& sentence, const paclient::Json& json) {
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
    if (context.settings.state.empty()) {
        warnOfEnd(context, "without --state " + what);
    }
}

}  // namespace console
