// SPDX-License-Identifier: Apache-2.0
#include "console/commands/devices.h"
#include "operating/NotPossible.h"
#include "operating/operations.h"
#include "operating/simulation.h"
#include "sdk/PAController.h"

namespace console {

using namespace paclient;
using namespace paoperating;

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

void disconnect(const Context& context) {
    Session& session = context.connected();
    paoperating::disconnect(session.connection(), session.simControl(), interruptibleWait(forEver));
    printEffect(context, "the server has dropped the connection", {{"connected", false}});
}

void restart(const Context& context) try {
    Session& session = context.connected();
    paoperating::restart(session.connection(), session.simControl(), interruptibleWait(forEver));
    context.connected();  // waits for the connection
    printEffect(context, "the server has restarted", {{"connected", true}});
} catch (const NotPossible& fault) {
    throw Failure(ExitCode::CannotConnect, fault.what());
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
         command<console::disconnect>("disconnect", "Let the server drop the connection"),
         command<console::restart>("restart", "End the server and start it again")});
}

}  // namespace console
