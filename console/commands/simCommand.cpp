// SPDX-License-Identifier: Apache-2.0
#include "console/commands/devices.h"
#include "sdk/PAController.h"
#include "simserver/SimControl.h"

namespace console {

using namespace paclient;

namespace {

using simserver::SimControl;

/// Prints what has happened at the server.
void printEffect(const Context& context, const std::string& sentence, const Json& json) {
    printOutcome(context, sentence, json);
    warnOfEnd(context, "the effect");
}

/// Does something on the server's side, and waits until this client knows its effects.
template <class Act>
void simulate(const Context& context, Act act) {
    act(context.connected().simControl());
    context.session.waitUntilDelivered();
}

/// What another client does with the lock of a source.
struct LockAction {
    void (SimControl::*act)(int sourceId, const std::string& client);
    const char* effect;
};

constexpr LockAction lockAction{&SimControl::lockSource, " is locked by the client "};
constexpr LockAction unlockAction{&SimControl::unlockSource, " is released by the client "};

/// A client has a UUID, which is sent as it is.
void checkClient(const std::string& client) {
    constexpr const char* plain = "-0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz";
    require(!client.empty() && client.find_first_not_of(plain) == std::string::npos,
            "'" + client + "' is not a UUID");
}

template <const LockAction& action>
struct SimLock : Named<sources> {
    std::string client;

    void define(CLI::App& app) {
        Named::define(app, "SOURCE");
        addText(app, "--client", client, "The other client", "UUID")->required();
    }

    void run(const Context& context) const {
        checkClient(client);
        const int id = find(context).id;
        simulate(context, [&](SimControl& server) { (server.*action.act)(id, client); });
        printEffect(context, "source " + std::to_string(id) + action.effect + client,
                    toJson(lockOf(id)));
    }
};

constexpr Resource<PaTrigger> hardwareTriggers{
    "hardware trigger", "hardware triggers", [] { return gPaController.getHwPaTriggers(); },
    memberText<&PaTrigger::id>, memberText<&PaTrigger::label>};

struct SimTrigger : Named<hardwareTriggers> {
    bool active = false;

    void define(CLI::App& app) {
        Named::define(app);
        addSwitch(app, active);
    }

    void run(const Context& context) const {
        const int id = find(context).id;
        simulate(context, [&](SimControl& server) { server.setTrigger(id, active); });
        const PaTrigger::State state = gPaController.getHwPaTriggerState(id);
        printEffect(context,
                    "hardware trigger " + std::to_string(id) + (active ? " is on" : " is off"),
                    {{"id", id}, {"state", jsonValue(state)}, {"stateText", nameOf(state)}});
    }
};

struct SimSelector : Named<selectors> {
    int state = 0;

    void define(CLI::App& app) {
        Named::define(app);
        addWhole(app, "STATE", state, {0, 3},
                 "0 enabled, 1 enabled and inactive, 2 enabled and active, 3 disabled")
            ->required();
    }

    void run(const Context& context) const {
        const int id = find(context).id;
        simulate(context, [&](SimControl& server) { server.setSelector(id, state); });
        const std::string text = nameOf(gPaController.getPaSelectorState(id));
        printEffect(context, "selector " + std::to_string(id) + " is " + text,
                    {{"id", id}, {"state", state}, {"stateText", text}});
    }
};

/// What the server can be made to ignore.
struct Ignorable {
    const char* name;
    const char* text;
    void (SimControl::*ignore)(bool on);
};

constexpr Ignorable renewals{"renewals", "renewals of locks", &SimControl::ignoreRenewals};
constexpr Ignorable requests{"requests", "requests", &SimControl::ignoreRequests};

template <const Ignorable& ignorable>
struct SimIgnore {
    bool received = false;

    void define(CLI::App& app) { addSwitch(app, received); }

    void run(const Context& context) const {
        (context.connected().simControl().*ignorable.ignore)(!received);
        printEffect(
            context,
            std::string("the server ") + (received ? "receives " : "ignores ") + ignorable.text,
            {{ignorable.name, received}});
    }
};

/// Has the server end the connection, and waits until that is known.
template <class Act>
void endConnection(const Context& context, Act act) {
    Session& session = context.connected();
    const std::uint64_t number = session.connection().number();
    Subscription changes(kinds<palink::ConnectionChange>());
    act(session.simControl());
    WaitCourse course(interruptibleWait(forEver));
    while (session.connection().number() == number) {
        changes.next(course.next().value());
    }
}

void disconnect(const Context& context) {
    endConnection(context, [](SimControl& server) { server.dropClient(); });
    printEffect(context, "the server has dropped the connection", {{"connected", false}});
}

void restart(const Context& context) {
    endConnection(context, [](SimControl& server) {
        try {
            server.restart();
        } catch (const simserver::Refused&) {
            throw;
        } catch (const std::runtime_error& error) {
            throw Failure(ExitCode::CannotConnect,
                          std::string("the server does not start again: ") + error.what());
        }
    });
    context.connected();  // waits for the connection
    printEffect(context, "the server has restarted", {{"connected", true}});
}

}  // namespace

Command simCommand() {
    return group(
        "sim", "Do what happens on the simulated server's own side",
        {command<SimTrigger>("trigger", "Close or open the contact of a hardware trigger"),
         command<SimSelector>("selector", "Put a selector into a state"),
         command<SimLock<lockAction>>("lock", "Let another client take a source"),
         command<SimLock<unlockAction>>("unlock", "Let another client release a source"),
         command<SimIgnore<renewals>>("renewals", "Whether the server receives renewals of locks"),
         command<SimIgnore<requests>>("requests", "Whether the server receives what it is asked"),
         command<disconnect>("disconnect", "Let the server drop the connection"),
         command<restart>("restart", "End the server and start it again")});
}

}  // namespace console
