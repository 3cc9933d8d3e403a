#include <algorithm>
#include <memory>

#include "console/ExitCode.h"
#include "console/arguments/Parser.h"
#include "console/commands/commands.h"
#include "console/commands/sourceLock.h"
#include "console/following/operate.h"
#include "console/text/resources.h"
#include "sdk/PAController.h"
#include "simserver/protocol/Refused.h"

namespace console {

namespace {

/// Does something on the server's side and waits until this client has heard of it.
void simulate(const Context& context, const std::string& effect, const std::function<void()>& act,
              const std::function<bool()>& isHeard) {
    try {
        operate(context, {effect, {}}, act, seen(isHeard));
    } catch (const simserver::Refused& refused) {
        throw Failure(ExitCode::Refused, std::string("the server refuses: ") + refused.what());
    }
}

/// What another client asks of the lock of a source.
struct LockOperation {
    pa::OperationType type;
    const char* effect;
    bool locks;
};

constexpr LockOperation lock{pa::operations::attachSource, " is locked by the client ", true};
constexpr LockOperation unlock{pa::operations::detachSource, " is released by the client ", false};

/// Clients bear UUIDs, which are sent as they stand.
void checkClient(const std::string& client) {
    const auto isPlain = [](char c) {
        return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') ||
               c == '-';
    };
    if (client.empty() || !std::all_of(client.begin(), client.end(), isPlain)) {
        throw Failure(ExitCode::Usage, "'" + client + "' is not a UUID");
    }
}

template <const LockOperation& operation>
Handler defineLock(Parser& parser) {
    const auto wanted = std::make_shared<std::string>();
    const auto client = std::make_shared<std::string>();
    parser.addText("SOURCE", *wanted, "The source: its number or its label").required();
    parser.addText("--client", *client, "The other client", "UUID").required();
    return [wanted, client](const Context& context) {
        checkClient(*client);
        context.session();
        const std::string id = std::to_string(findOne(sources, *wanted).id);
        const auto act = [&] {
            constexpr int directLink = -1;
            const auto reason = context.session().server().operateAsOther(
                {directLink, operation.type, 1, id + ',' + *client});
            if (reason) {
                throw simserver::Refused(*reason);
            }
        };
        const auto isHeard = [&] {
            return (findOne(locks, id).lockedUUID == *client) == operation.locks;
        };
        const std::string effect = "source " + id + operation.effect + *client;
        simulate(context, effect, act, isHeard);
        printOutcome(context, effect, toJson(findOne(locks, id)));
    };
}

Handler defineSimTrigger(Parser& parser) {
    const auto id = std::make_shared<int>();
    const auto active = std::make_shared<bool>();
    parser.addWhole("ID", *id, {1, greatestWhole}, "The number of a hardware trigger").required();
    parser.addSwitch(*active);
    return [id, active](const Context& context) {
        const std::string effect =
            "hardware trigger " + std::to_string(*id) + (*active ? " is on" : " is off");
        const auto wanted = *active ? PaTrigger::ACTIVE : PaTrigger::INACTIVE;
        simulate(
            context, effect, [&] { context.session().server().setTrigger(*id, *active); },
            [&] { return gPaController.getHwPaTriggerState(*id) == wanted; });
        printOutcome(context, effect, {{"id", *id}, {"state", jsonValue(wanted)}});
    };
}

Handler defineSimSelector(Parser& parser) {
    const auto id = std::make_shared<int>();
    const auto state = std::make_shared<int>();
    parser.addWhole("ID", *id, {1, greatestWhole}, "The number of a selector").required();
    parser
        .addWhole("STATE", *state, {0, 3},
                  "0 enabled, 1 enabled and inactive, 2 enabled and active, 3 disabled")
        .required();
    return [id, state](const Context& context) {
        const auto wanted = static_cast<PaSelector::State>(*state);
        const std::string effect = "selector " + std::to_string(*id) + " is " + nameOf(wanted);
        simulate(
            context, effect, [&] { context.session().server().setSelector(*id, *state); },
            [&] { return gPaController.getPaSelectorState(*id) == wanted; });
        printOutcome(context, effect, {{"id", *id}, {"state", *state}});
    };
}

/// What the server may be made deaf to.
struct Hearing {
    const char* name;
    const char* text;
    void (simserver::SimServer::*withhold)(bool on);
};

constexpr Hearing renewals{"renewals", "renewals of locks",
                           &simserver::SimServer::withholdRenewals};
constexpr Hearing requests{"requests", "requests", &simserver::SimServer::withholdRequests};

template <const Hearing& hearing>
Handler defineHearing(Parser& parser) {
    const auto heard = std::make_shared<bool>();
    parser.addSwitch(*heard);
    return [heard](const Context& context) {
        (context.session().server().*hearing.withhold)(!*heard);
        printOutcome(context,
                     std::string("the server hears ") + (*heard ? "" : "no ") + hearing.text,
                     {{hearing.name, *heard}});
    };
}

Handler defineDisconnect(Parser& /*parser*/) {
    return [](const Context& context) {
        Session& session = context.session();
        session.server().dropClient();
        session.waitUntilLost();
        printOutcome(context, "the server has dropped the connection", {{"connected", false}});
    };
}

}  // namespace

Handler defineSim(Parser& parser) {
    return defineSubcommands(
        parser,
        {{"trigger", "Close or open the contact of a hardware trigger", defineSimTrigger},
         {"selector", "Put a selector into a state", defineSimSelector},
         {"lock", "Let another client take a source", defineLock<lock>},
         {"unlock", "Let another client release a source", defineLock<unlock>},
         {"renewals", "Let the server hear renewals of locks, or none", defineHearing<renewals>},
         {"requests", "Let the server hear what it is asked, or nothing", defineHearing<requests>},
         {"disconnect", "Let the server drop the connection", defineDisconnect}});
}

}  // namespace console
