// SPDX-License-Identifier: Apache-2.0
#include "operating/simulation.h"

#include <stdexcept>

#include "operating/NotPossible.h"
#include "operating/operations.h"
#include "panel/api/Body.h"
#include "panel/api/outcome.h"
#include "panel/api/records.h"
#include "panel/api/resources.h"
#include "panel/api/routes.h"
#include "sdk/PAController.h"

namespace papanel {

using namespace paclient;
using paoperating::hardwareTriggers;
using simserver::SimControl;

namespace {

/// Does something on the server's side. After the beginning every fault leaves it unknown whether
/// it is done, a lost connection among them.
template <class Act>
void act(const Services& services, Act act) {
    SimControl& server = simulatedServer(services);
    try {
        act(server);
    } catch (const simserver::Refused&) {
        throw;
    } catch (const paoperating::NotPossible&) {
        throw;
    } catch (const ApiError&) {
        throw;
    } catch (const std::runtime_error& error) {
        throw ApiError(outcomeUnknown, "connection-lost",
                       std::string("whether it is done is unknown: ") + error.what());
    }
}

/// The same, and waits until this client knows the effects.
template <class Act>
void simulate(const Services& services, Act action) {
    act(services, [&](SimControl& server) {
        action(server);
        services.connection.waitUntilDelivered(waitOf(services));
    });
}

ApiReply setTrigger(Services& services, const ApiRequest& request) {
    const bool isOn = readMembers(request.body, [](Body& body) { return body.get<bool>("on"); });
    simulatedServer(services);
    const PaTrigger trigger = findOne(hardwareTriggers, request.parts.at(0));
    simulate(services, [&](SimControl& server) { server.setTrigger(trigger.id, isOn); });
    return {200, doneAnswer({}, titleOf(hardwareTriggers, trigger) + (isOn ? " is on" : " is off"),
                            recordNow(services, hardwareTriggers, trigger))};
}

ApiReply setSelector(Services& services, const ApiRequest& request) {
    constexpr int greatestState = 3;
    const int state = readMembers(
        request.body, [](Body& body) { return body.getWithin("state", 0, greatestState); });
    simulatedServer(services);
    const PaSelector selector = findOne(selectors, request.parts.at(0));
    simulate(services, [&](SimControl& server) { server.setSelector(selector.id, state); });
    return {200, doneAnswer({},
                            titleOf(selectors, selector) + " is " +
                                nameOf(gPaController.getPaSelectorState(selector.id)),
                            recordNow(services, selectors, selector))};
}

ApiReply setLock(Services& services, const ApiRequest& request) {
    struct Asked {
        int sourceId;
        std::string client;
        bool isLocked;
    };
    const auto asked = readMembers(request.body, [](Body& body) {
        return Asked{body.get<int>("sourceId"), body.get<std::string>("client"),
                     body.get<bool>("locked")};
    });
    paoperating::checkClient(asked.client);
    simulatedServer(services);
    const int id = findOne(sources, std::to_string(asked.sourceId)).id;
    const auto& action = asked.isLocked ? paoperating::lockAction : paoperating::unlockAction;
    simulate(services, [&](SimControl& server) { (server.*action.act)(id, asked.client); });
    return {200, doneAnswer({}, "source " + std::to_string(id) + action.effect + asked.client,
                            {{"lock", recordOf(lockOf(id), services, &request.caller)}})};
}

template <const paoperating::Ignorable& ignorable>
ApiReply ignore(Services& services, const ApiRequest& request) {
    const bool isReceived =
        readMembers(request.body, [](Body& body) { return body.get<bool>("received"); });
    act(services, [&](SimControl& server) { (server.*ignorable.ignore)(!isReceived); });
    return {200, doneAnswer({},
                            std::string("the server ") + (isReceived ? "receives " : "ignores ") +
                                ignorable.text,
                            {{ignorable.name, isReceived}})};
}

ApiReply disconnect(Services& services, const ApiRequest& /*request*/) {
    act(services, [&](SimControl& server) {
        paoperating::disconnect(services.connection, server, waitOf(services));
    });
    return {200, doneAnswer({}, "the server has dropped the connection")};
}

ApiReply restart(Services& services, const ApiRequest& /*request*/) {
    act(services, [&](SimControl& server) {
        paoperating::restart(services.connection, server, waitOf(services));
        services.connection.requireConnected(waitOf(services));
    });
    return {200, doneAnswer({}, "the server has restarted")};
}

Route simulation(const char* pattern, const char* operation,
                 ApiReply (*handle)(Services&, const ApiRequest&)) {
    return {"POST", pattern, Access::Operator, Effect::Operates, operation, handle};
}

}  // namespace

Routes simulationRoutes() {
    using paoperating::renewals;
    using paoperating::requests;
    return {
        simulation("/simulation/triggers/{id}", "simulate trigger", answered<setTrigger>),
        simulation("/simulation/selectors/{id}", "simulate selector", answered<setSelector>),
        simulation("/simulation/locks", "simulate lock", answered<setLock>),
        simulation("/simulation/renewals", "simulate lost renewals", answered<ignore<renewals>>),
        simulation("/simulation/requests", "simulate lost requests", answered<ignore<requests>>),
        simulation("/simulation/disconnect", "simulate lost connection",
                   answeredWithoutBody<disconnect>),
        simulation("/simulation/restart", "restart simulated server", answeredWithoutBody<restart>),
    };
}

}  // namespace papanel
