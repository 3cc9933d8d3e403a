#include "console/following/operate.h"

#include <algorithm>
#include <cmath>

#include "console/following/BlockingCall.h"
#include "console/text/cleanText.h"
#include "sdk/globals.h"

namespace console {

namespace {

constexpr double refusalSeconds = 1;

void throwIfRefused(const Request& request, const std::optional<Change>& change) {
    const auto* const refusal = change ? std::get_if<palink::Refusal>(&change->what) : nullptr;
    const auto& operations = request.operations;
    const bool isOurs =
        refusal != nullptr &&
        (request.requestId.empty() || refusal->requestId.empty() ||
         refusal->requestId == request.requestId) &&
        std::find(operations.begin(), operations.end(), refusal->operation) != operations.end();
    if (isOurs) {
        throw Failure(ExitCode::Refused, "the server refuses: " + refusal->reason);
    }
}

/// The next change, or nothing after a tick; a wait that is cut short leaves the outcome open.
std::optional<Change> nextOf(const Context& context, Changes& changes, const Request& request,
                             Moment deadline) {
    try {
        return context.session().nextChange(changes,
                                            std::min(deadline, after(request.tickSeconds)));
    } catch (const Failure& failure) {
        throw Failure(failure.code,
                      std::string(failure.what()) + "; whether " + request.effect + " is unknown");
    }
}

/// How long the controller's own calls wait for the server, for as long as the object lives.
class ServerWait {
public:
    explicit ServerWait(double seconds) : before_(pa::load(gMaxServerWaitTimeSeconds)) {
        pa::store(gMaxServerWaitTimeSeconds, static_cast<int>(std::ceil(seconds)));
    }
    ServerWait(const ServerWait&) = delete;
    ServerWait& operator=(const ServerWait&) = delete;
    ~ServerWait() { pa::store(gMaxServerWaitTimeSeconds, before_); }

private:
    const int before_;
};

/// @return false when time is up
bool waitUntil(const Context& context, Changes& changes, const Request& request,
               const Sight& isSeen) {
    const Moment deadline = after(context.settings.timeout.value_or(request.seconds));
    std::optional<Change> change;
    while (!isSeen(change)) {
        if (std::chrono::steady_clock::now() >= deadline) {
            return false;
        }
        change = nextOf(context, changes, request, deadline);
        throwIfRefused(request, change);
    }
    return true;
}

}  // namespace

void operate(const Context& context, const Request& request, const std::function<void()>& send,
             const Sight& isSeen) {
    Changes changes;  // from before the request is sent, so that no early answer is missed
    send();
    if (!waitUntil(context, changes, request, isSeen)) {
        throw unconfirmed(request);
    }
}

bool operateBlocking(const Context& context, const Request& request,
                     const std::function<bool()>& call) {
    const ServerWait limit(context.settings.timeout.value_or(request.seconds));
    std::optional<BlockingCall> running;
    operate(
        context, request, [&] { running.emplace(call); },
        seen([&] { return running->result().has_value(); }));
    return running->result().value();
}

Failure unconfirmed(const Request& request) {
    return Failure(ExitCode::TimedOut, "the server has not confirmed it in time; whether " +
                                           request.effect + " is unknown");
}

void operateUnseen(const Context& context, Request request, const std::function<void()>& send) {
    Changes changes;
    request.seconds = refusalSeconds;
    send();
    waitUntil(context, changes, request, seen([] { return false; }));
}

void printOutcome(const Context& context, const std::string& sentence, const Json& json) {
    context.settings.json ? context.writeJson(json) : context.out.write(clean(sentence) + '\n');
}

}  // namespace console
