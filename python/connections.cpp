// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <filesystem>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <pybind11/pybind11.h>
#include <pybind11/stl.h>
#include <pybind11/stl/filesystem.h>
#include <stdexcept>
#include <string>
#include <vector>

#include "client/StationClock.h"
#include "client/records.h"
#include "framework/log.h"
#include "framework/shared.h"
#include "python/ServerConnection.h"
#include "python/binding.h"
#include "python/recordClass.h"
#include "sdk/globals.h"

namespace paclient {

template <>
struct Members<StationClock> {
    template <class Record, class Visit>
    static void visit(Record& record, Visit& visit) {
        visit("now", record.now());
        visit("timeZone", record.timeZone());
        visit("speed", record.speed());
    }
};

}  // namespace paclient

namespace papython {

namespace {

/// Those that may be open, to be closed before the interpreter ends. Guarded by its
/// lock.
std::vector<std::weak_ptr<ServerConnection>>& connections() {
    static auto& instance = *new std::vector<std::weak_ptr<ServerConnection>>;
    return instance;
}

}  // namespace

ServerConnection::ServerConnection(const paserver::ServerChoice& choice)
    : way_(new Way{paserver::openServer(choice, "PUBLICADDRESS", [this] {
          return isClosing_ || WithoutGil::isCallerInterrupted();
      })}) {}

void ServerConnection::close() {
    if (process_ != pa::forkGeneration()) {
        (void)way_.release();
        return;
    }
    isClosing_ = true;
    const WithoutGil withoutGil;
    const std::unique_lock guard(lock_);
    way_.reset();
}

bool ServerConnection::isOpen() const {
    return !isClosing_ && process_ == pa::forkGeneration();
}

void ServerConnection::requireOpen() const {
    if (!isOpen()) {
        throw paclient::NotConnected("the connection is closed");
    }
}

void requireConnection() {
    const auto& all = connections();
    const bool isAny = std::any_of(all.begin(), all.end(), [](const auto& each) {
        const auto connection = each.lock();
        return connection != nullptr && connection->isOpen();
    });
    if (!isAny) {
        throw paclient::NotConnected("there is no connection");
    }
}

namespace {

void add(const std::shared_ptr<ServerConnection>& connection) {
    auto& all = connections();
    all.erase(
        std::remove_if(all.begin(), all.end(), [](const auto& each) { return each.expired(); }),
        all.end());
    all.push_back(connection);
}

std::optional<paclient::DateTime> clockOf(const std::string& text) {
    if (text.empty()) {
        return std::nullopt;
    }
    const paclient::DateTime clock = paclient::parseDateTime(text);
    if (!clock.date || !clock.time) {
        throw std::invalid_argument("'" + text + "' is not a date and a time");
    }
    return clock;
}

/// @throws std::invalid_argument when the choice is none, or one that cannot be
void check(const paserver::ServerChoice& choice) {
    const paserver::ServerChoice blank;
    if (choice.broker.empty() == choice.scenario.empty()) {
        throw std::invalid_argument("either a broker or a scenario is needed");
    }
    const bool isOfBroker = choice.dstNo || choice.indirect || choice.localDstNo != 0 ||
                            !choice.credentials.empty() || !choice.caFile.empty() ||
                            !choice.certificateFile.empty() || !choice.keyFile.empty();
    const bool isSimulated = choice.speed != blank.speed || !choice.spool.empty() ||
                             !choice.state.empty() || choice.clock;
    if (isOfBroker && choice.broker.empty()) {
        throw std::invalid_argument("an option of a broker is given with a scenario");
    }
    if (isSimulated && choice.scenario.empty()) {
        throw std::invalid_argument("an option of a simulated server is given with a broker");
    }
    if (!(choice.speed >= 1e-3 && choice.speed <= 1e6)) {
        throw std::invalid_argument("the speed is from 0.001 to 1000000");
    }
    if (choice.broker.find('\0') != std::string::npos) {
        throw std::invalid_argument("the broker's address has a NUL character");
    }
    if (!choice.broker.empty()) {
        paserver::checkBrokerUrl(choice.broker);
    }
}

std::shared_ptr<ServerConnection> connect(const paserver::ServerChoice& choice,
                                          const Timeout& timeout) {
    check(choice);
    auto made = [&choice] {
        const WithoutGil withoutGil;
        return std::make_shared<ServerConnection>(choice);
    }();
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
    recordClass<paclient::LinkReport>(module, "LinkReport",
                                      "How the way to a server on a broker is doing.");
    recordClass<paclient::StationClock>(module, "StationClock",
                                        "A clock that runs: `now` is in seconds since 1970 UTC.");
    py::class_<ServerConnection, std::shared_ptr<ServerConnection>>(
        module, "Connection",
        "The connection of this process to an audio server: one on a broker, or a simulated one "
        "in the process. Connects, and waits until everything that the server holds is known.")
        .def(py::init([](const std::string& broker, std::optional<int> number, bool indirect,
                         int localNumber, const Path& credentials, const Path& caFile,
                         const Path& certificateFile, const Path& keyFile, const Path& scenario,
                         double speed, const Path& spool, const Path& state,
                         const std::string& clock, const Timeout& timeout) {
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
                 choice.clock = clockOf(clock);
                 return connect(choice, timeout);
             }),
             py::kw_only(), py::arg("broker") = "", py::arg("dst_no") = py::none(),
             py::arg("indirect") = false, py::arg("local_dst_no") = 0,
             py::arg("credentials") = py::none(), py::arg("ca_file") = py::none(),
             py::arg("certificate_file") = py::none(), py::arg("key_file") = py::none(),
             py::arg("scenario") = py::none(), py::arg("speed") = 1.0,
             py::arg("spool") = py::none(), py::arg("state") = py::none(), py::arg("clock") = "",
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
            "What the server reports of itself.")
        .def(
            "link_report",
            [](ServerConnection& self) {
                return self.use(0, [](Connection& connection, const Wait& /*wait*/) {
                    return connection.endpoint().report();
                });
            },
            "How the way to a server on a broker is doing; None of one in the process.");
    module.def(
        "active_dst_no", [] { return pa::load(gActiveAudioServerDstNo); },
        "The number of the active server.");
    module.def("station_clock", paclient::stationClock,
               "The clock of the station; that of this machine before the first connection.");
    module.def(
        "set_debug_level", [](long level) { pa::store(debugLevel, level); }, py::arg("level"),
        "Has the library write its log to stderr: 0 errors only, up to 3.");
    py::module_::import("atexit").attr("register")(py::cpp_function(exit));
}

}  // namespace papython
