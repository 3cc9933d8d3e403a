// SPDX-License-Identifier: Apache-2.0
#include "console/Session.h"

#include <utility>

#include "console/following/operate.h"
#include "console/interrupt.h"
#include "framework/log.h"
#include "sdk/globals.h"
#include "util/AtEnd.h"

namespace console {

namespace {

constexpr double connectSeconds = 10;

std::unique_ptr<paclient::Endpoint> endpointFor(const paserver::ServerChoice& choice) try {
    return paserver::openServer(choice, "PACONSOLE", interrupt::hasCome);
} catch (const std::exception& error) {
    throw Failure(ExitCode::CannotConnect, error.what());
}

/// Sends the lines of the log to the diagnostics while the result lives.
pautil::AtEnd redirectLog(Output& diagnostics, long level) {
    pa::setLogSink([&diagnostics](const pa::LogLine& line) {
        const bool error = line.kind == pa::LogLine::Kind::Error;
        diagnostics.diagnostic(error ? line.text : pa::formatLogLine(line));
    });
    pa::store(debugLevel, level);
    return pautil::AtEnd([] {
        pa::flushSuppressedErrors();
        pa::setLogSink({});
        pa::store(debugLevel, 0);
    });
}

}  // namespace

struct Session::Link {
    Link(const Settings& settings, Output& diagnostics)
        : log(redirectLog(diagnostics, settings.debug)),
          endpoint(endpointFor(settings.server)),
          connection(*endpoint) {}

    const pautil::AtEnd log;
    const std::unique_ptr<paclient::Endpoint> endpoint;
    paclient::Connection connection;
};

Session::Session(const Settings& settings, Output& diagnostics)
    : settings_(settings), diagnostics_(diagnostics) {}

Session::~Session() = default;

paclient::Wait Session::waitFor(const std::string& what) const {
    return shownWait(diagnostics_, what, settings_.timeout.value_or(connectSeconds));
}

/// @return whether the connection is another one than at the call before
bool Session::isReconnected() {
    const std::uint64_t number = link_->connection.number();
    return number != 0 && std::exchange(number_, number) != number;
}

void Session::requireConnected() try {
    if (link_ == nullptr) {
        auto link = std::make_unique<Link>(settings_, diagnostics_);
        link->connection.open(waitFor("for the server"));
        link_ = std::move(link);
        isReconnected();
        return;
    }
    link_->connection.requireConnected(waitFor("for the connection"));
    if (isReconnected() && onReconnected) {
        onReconnected();
    }
} catch (const paclient::NotConnected& error) {
    throw Failure(link_ == nullptr ? ExitCode::CannotConnect : ExitCode::ConnectionLost,
                  error.what());
}

void Session::requireBackWithin(double seconds) {
    isReconnected();
    require(link_->connection.awayFor() <= std::chrono::duration<double>(seconds),
            "the connection to the server is lost", ExitCode::ConnectionLost);
}

void Session::waitUntilDelivered() {
    link_->connection.waitUntilDelivered(waitFor("for what the server has reported"));
}

paclient::Connection& Session::connection() {
    return link_->connection;
}

simserver::SimControl& Session::simControl() {
    simserver::SimControl* const control = link_->endpoint->simControl();
    require(control != nullptr, "only a simulated server can do this");
    return *control;
}

}  // namespace console
