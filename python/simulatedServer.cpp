// SPDX-License-Identifier: Apache-2.0
#include <chrono>
#include <memory>
#include <pybind11/pybind11.h>
#include <stdexcept>
#include <string>
#include <utility>

#include "client/ChangeStream.h"
#include "python/ServerConnection.h"
#include "python/binding.h"
#include "python/recordClass.h"
#include "simserver/SimControl.h"

namespace paclient {

template <>
struct Members<simserver::DictionaryItem> {
    template <class Record, class Visit>
    static void visit(Record& record, Visit& visit) {
        visit("item", record.item);
        visit("text", record.text);
        visit("seconds", std::chrono::duration<double>(record.duration).count());
        visit("chime", record.chime);
    }
};

template <>
struct Members<simserver::Recording> {
    template <class Record, class Visit>
    static void visit(Record& record, Visit& visit) {
        visit("path", record.path);
        visit("seconds", std::chrono::duration<double>(record.duration).count());
    }
};

template <>
struct Members<simserver::Contents> {
    template <class Record, class Visit>
    static void visit(Record& record, Visit& visit) {
        visit("dictionary", record.dictionary);
        visit("recordings", record.recordings);
    }
};

template <>
struct Members<simserver::IgnoredOperations> {
    template <class Record, class Visit>
    static void visit(Record& record, Visit& visit) {
        visit("renewals", record.renewals);
        visit("requests", record.requests);
    }
};

}  // namespace paclient

namespace papython {

namespace {

using paclient::Connection;
using paclient::Wait;
using simserver::SimControl;

/// The own side of the server that a connection has.
class SimulatedServer {
public:
    explicit SimulatedServer(std::shared_ptr<ServerConnection> connection)
        : connection_(std::move(connection)) {}

    /// The result of a function of the server, which reports nothing because of it.
    template <class Call>
    auto ask(Call call) {
        return connection_->use(0, [&](Connection& connection, const Wait& /*wait*/) {
            return call(controlOf(connection));
        });
    }

    /// Does something, and waits until this client knows its effects.
    template <class Act>
    void act(const Timeout& timeout, Act act) {
        connection_->use(timeout, [&](Connection& connection, const Wait& wait) {
            act(controlOf(connection));
            connection.waitUntilDelivered(wait);
        });
    }

    /// Has the server end the connection, and waits until there is another one.
    void reconnect(void (SimControl::*end)(), const Timeout& timeout) {
        connection_->use(timeout, [&](Connection& connection, const Wait& wait) {
            const std::uint64_t before = connection.number();
            paclient::Subscription changes(paclient::kinds<palink::ConnectionChange>());
            (controlOf(connection).*end)();
            paclient::WaitCourse course(wait);
            for (auto number = before; number == before || number == 0;
                 number = connection.number()) {
                const auto slice = course.next();
                if (!slice) {
                    throw paclient::NotConnected("the connection is not there again");
                }
                changes.next(*slice);
            }
        });
    }

private:
    static SimControl& controlOf(Connection& connection) {
        SimControl* const control = connection.endpoint().simControl();
        if (control == nullptr && connection.number() == 0) {
            throw paclient::NotConnected("the connection to the server is away");
        }
        if (control == nullptr) {
            throw std::runtime_error("only a simulated server can do this");
        }
        return *control;
    }

    const std::shared_ptr<ServerConnection> connection_;
};

}  // namespace

void bindSimulatedServer(py::module_& module) {
    recordClass<simserver::DictionaryItem>(module, "DictionaryItem",
                                           "What the server plays by its number.");
    recordClass<simserver::Recording>(module, "Recording", "A recorded stream of the server.");
    recordClass<simserver::Contents>(module, "Contents",
                                     "What the server can play, of which it sends no records.");
    recordClass<simserver::IgnoredOperations>(module, "IgnoredOperations",
                                              "What the server ignores of its client.");
    const py::arg_v limit = py::arg("timeout") = defaultSeconds;
    py::class_<SimulatedServer>(
        module, "SimulatedServer",
        "The own side of a simulated server: events of the station, of other clients and of the "
        "connection. What changes records returns when this client has them.")
        .def(py::init<std::shared_ptr<ServerConnection>>(), py::arg("connection").none(false))
        .def(
            "set_trigger",
            [](SimulatedServer& self, int trigger, bool active, const Timeout& timeout) {
                self.act(timeout, [&](SimControl& server) { server.setTrigger(trigger, active); });
            },
            py::arg("trigger_id"), py::arg("active"), limit,
            "Closes or opens the contact of a hardware trigger.")
        .def(
            "set_selector",
            [](SimulatedServer& self, int selector, int state, const Timeout& timeout) {
                self.act(timeout, [&](SimControl& server) { server.setSelector(selector, state); });
            },
            py::arg("selector_id"), py::arg("state"), limit, "Puts a selector into a state.")
        .def(
            "lock_source",
            [](SimulatedServer& self, int source, const std::string& client,
               const Timeout& timeout) {
                self.act(timeout, [&](SimControl& server) { server.lockSource(source, client); });
            },
            py::arg("source_id"), py::arg("client"), limit,
            "Takes, or extends, the lock of a source as another client with this UUID.")
        .def(
            "unlock_source",
            [](SimulatedServer& self, int source, const std::string& client,
               const Timeout& timeout) {
                self.act(timeout, [&](SimControl& server) { server.unlockSource(source, client); });
            },
            py::arg("source_id"), py::arg("client"), limit, "Releases it as that client.")
        .def(
            "ignore_renewals",
            [](SimulatedServer& self, bool on) {
                self.ask([on](SimControl& server) { server.ignoreRenewals(on); });
            },
            py::arg("on"), "Whether renewals of locks are lost on their way.")
        .def(
            "ignore_requests",
            [](SimulatedServer& self, bool on) {
                self.ask([on](SimControl& server) { server.ignoreRequests(on); });
            },
            py::arg("on"), "Whether every operation of the client is lost on its way.")
        .def(
            "ignored",
            [](SimulatedServer& self) {
                return self.ask([](SimControl& server) { return server.ignored(); });
            },
            "What is ignored now.")
        .def(
            "contents",
            [](SimulatedServer& self) {
                return self.ask([](SimControl& server) { return server.contents(); });
            },
            "What the server can play now.")
        .def(
            "drop_client",
            [](SimulatedServer& self, const Timeout& timeout) {
                self.reconnect(&SimControl::dropClient, timeout);
            },
            limit, "Drops this connection, and waits until there is another one.")
        .def(
            "restart",
            [](SimulatedServer& self, const Timeout& timeout) {
                self.reconnect(&SimControl::restart, timeout);
            },
            limit, "Ends the server and starts it again, and waits for the connection to it.");
}

}  // namespace papython
