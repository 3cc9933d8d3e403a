// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <atomic>
#include <filesystem>
#include <map>
#include <memory>
#include <optional>
#include <pybind11/pybind11.h>
#include <pybind11/stl.h>
#include <pybind11/stl/filesystem.h>
#include <shared_mutex>
#include <stdexcept>
#include <string>
#include <vector>

#include "client/Connection.h"
#include "framework/fork.h"
#include "paserver/ServerChoice.h"
#include "python/binding.h"
#include "python/values.h"
#include "python/waiting.h"

namespace papython {

namespace {

/// A way to a server and the connection over it, until it is closed. Every function may be called
/// from any thread of Python.
class ServerConnection {
public:
    explicit ServerConnection(const paserver::ServerChoice& choice)
        : way_(new Way{paserver::openServer(choice, "PUBLICADDRESS", [this] {
              return isClosing_ || WithoutGil::isCallerInterrupted();
          })}) {}

    ~ServerConnection() { close(); }

    /// Calls a function with the connection, which is not closed meanwhile.
    /// @throws NotConnected when it is closed, also by `wait.whileWaiting`
    template <class Call>
    auto use(const Timeout& timeout, Call call) {
        return waiting(timeout, [&](paclient::Wait wait) {
            const std::shared_lock guard(lock_);
            requireOpen();
            wait.whileWaiting = [this, interrupt = wait.whileWaiting](auto waited) {
                requireOpen();
                interrupt(waited);
            };
            return call(way_->connection, wait);
        });
    }

    /// In a child of fork() the parent's connection is left as it is.
    void close() {
        if (process_ != pa::forkGeneration()) {
            (void)way_.release();
            return;
        }
        isClosing_ = true;
        const WithoutGil withoutGil;
        const std::unique_lock guard(lock_);
        way_.reset();
    }

private:
    struct Way {
        const std::unique_ptr<paclient::Endpoint> endpoint;
        paclient::Connection connection{*endpoint};
    };

    void requireOpen() const {
        if (isClosing_ || process_ != pa::forkGeneration()) {
            throw paclient::NotConnected("the connection is closed");
        }
    }

    const unsigned process_ = pa::forkGeneration();
    std::atomic<bool> isClosing_{false};
    std::shared_mutex lock_;    // held exclusively while the way ends
    std::unique_ptr<Way> way_;  // null when it is closed
};

/// Those that may be open, to be closed before the interpreter ends.
std::vector<std::weak_ptr<ServerConnection>>& connections() {
    static auto& instance = *new std::vector<std::weak_ptr<ServerConnection>>;
    return instance;
}

void add(const std::shared_ptr<ServerConnection>& connection) {
    auto& all = connections();
    all.erase(
        std::remove_if(all.begin(), all.end(), [](const auto& each) { return each.expired(); }),
        all.end());
    all.push_back(connection);
}

std::shared_ptr<ServerConnection> connect(const paserver::ServerChoice& choice,
                                          const Timeout& timeout) {
    if (choice.broker.empty() == choice.scenario.empty()) {
        throw std::invalid_argument("either a broker or a scenario is needed");
    }
    if (!choice.broker.empty()) {
        paserver::checkBrokerUrl(choice.broker);
    }
    auto made = std::make_shared<ServerConnection>(choice);
    add(made);
    made->use(timeout, [](paclient::Connection& connection, const paclient::Wait& wait) {
        connection.open(wait);
    });
    return made;
}

void exit() {
    const auto all = connections();
    for (const auto& each : all) {
        if (const auto connection = each.lock()) {
            connection->close();
        }
    }
    beginExit();
}

std::map<std::string, std::string> textsOf(const KeyValueMap& info) {
    std::map<std::string, std::string> result;
    for (const std::string& key : info.get_all_keys()) {
        result[key] = info.get_value(key);
    }
    return result;
}

}  // namespace

void bindConnection(py::module_& module) {
    using Path = std::optional<std::filesystem::path>;
    using paclient::Connection;
    using paclient::Wait;
    py::class_<ServerConnection, std::shared_ptr<ServerConnection>>(
        module, "Connection",
        "The connection of this process to an audio server: one on a broker, or a simulated one "
        "in the process. Connects, and waits until everything that the server holds is known.")
        .def(py::init([](const std::string& broker, std::optional<int> number, bool indirect,
                         int localNumber, const Path& credentials, const Path& caFile,
                         const Path& certificateFile, const Path& keyFile, const Path& scenario,
                         double speed, const Path& spool, const Path& state,
                         const Timeout& timeout) {
                 paserver::ServerChoice choice;
                 choice.broker = broker;
                 choice.dstNo = number;
                 choice.indirect = indirect;
                 choice.localDstNo = localNumber;
                 choice.credentials = credentials.value_or("");
                 choice.caFile = caFile.value_or("");
                 choice.certificateFile = certificateFile.value_or("");
                 choice.keyFile = keyFile.value_or("");
                 choice.scenario = scenario.value_or("");
                 choice.speed = speed;
                 choice.spool = spool.value_or("");
                 choice.state = state.value_or("");
                 return connect(choice, timeout);
             }),
             py::kw_only(), py::arg("broker") = "", py::arg("dst_no") = py::none(),
             py::arg("indirect") = false, py::arg("local_dst_no") = 0,
             py::arg("credentials") = py::none(), py::arg("ca_file") = py::none(),
             py::arg("certificate_file") = py::none(), py::arg("key_file") = py::none(),
             py::arg("scenario") = py::none(), py::arg("speed") = 1.0,
             py::arg("spool") = py::none(), py::arg("state") = py::none(),
             py::arg("timeout") = defaultSeconds)
        .def("close", &ServerConnection::close, "Ends it; what uses it raises NotConnected.")
        .def("__enter__", [](const py::object& self) { return self; })
        .def("__exit__",
             [](ServerConnection& self, const py::args& /*exception*/) { self.close(); })
        .def(
            "require_connected",
            [](ServerConnection& self, const Timeout& timeout) {
                self.use(timeout, [](Connection& connection, const Wait& wait) {
                    connection.requireConnected(wait);
                });
            },
            py::arg("timeout") = defaultSeconds, "Waits while the connection is away.")
        .def(
            "wait_until_delivered",
            [](ServerConnection& self, const Timeout& timeout) {
                self.use(timeout, [](Connection& connection, const Wait& wait) {
                    connection.waitUntilDelivered(wait);
                });
            },
            py::arg("timeout") = defaultSeconds,
            "A round trip: waits until what the server has reported by then is known.")
        .def_property_readonly(
            "number",
            [](ServerConnection& self) {
                return self.use(0, [](Connection& connection, const Wait& /*wait*/) {
                    return connection.number();
                });
            },
            "Counted from 1, another one after each reconnection; 0 while it is away.")
        .def(
            "server_info",
            [](ServerConnection& self) {
                return toPython(self.use(0, [](Connection& connection, const Wait& /*wait*/) {
                    return textsOf(connection.serverInfo());
                }));
            },
            "What the server reports of itself.");
    py::module_::import("atexit").attr("register")(py::cpp_function(exit));
}

}  // namespace papython
