#include "console/Session.h"

#include <algorithm>
#include <filesystem>
#include <string>
#include <system_error>

#include "client/StationClock.h"
#include "console/ExitCode.h"
#include "console/interrupt.h"
#include "framework/log.h"
#include "sdk/globals.h"
#include "simserver/station/StationFile.h"

namespace console {

namespace {

constexpr double connectSeconds = 10;

/// The scenario that is installed with the program.
std::filesystem::path defaultScenario() {
    std::error_code unknown;
    const auto program = std::filesystem::read_symlink("/proc/self/exe", unknown);
    return (program.parent_path() / "../share/public-address/scenarios/central-station.json")
        .lexically_normal();
}

simserver::EmbeddedEndpoint endpointFor(const Settings& settings) try {
    simserver::Options options;
    options.speed = settings.speed;
    options.spool = settings.spool;
    options.state = settings.state;
    const simserver::Station station =
        simserver::loadStation(settings.scenario.empty() ? defaultScenario() : settings.scenario);
    if (settings.clock) {
        const auto& [date, time] = *settings.clock;
        options.clock =
            paclient::Calendar(station.timeZone)
                .momentOf({date->year, date->month, date->day, time->hour, time->minute});
    }
    return simserver::EmbeddedEndpoint(station, options);
} catch (const std::filesystem::filesystem_error& error) {
    throw Failure(ExitCode::CannotConnect,
                  error.path1().string() + " cannot be used: " + error.code().message());
} catch (const std::exception& error) {
    throw Failure(ExitCode::CannotConnect, error.what());
}

}  // namespace

Session::LogRedirection::LogRedirection(Output& diagnostics, long level) {
    pa::setLogSink([&diagnostics](const pa::LogLine& line) {
        const bool error = line.kind == pa::LogLine::Kind::Error;
        diagnostics.diagnostic(error ? line.text : pa::formatLogLine(line));
    });
    pa::store(debugLevel, level);
}

Session::LogRedirection::~LogRedirection() {
    pa::flushSuppressedErrors();
    pa::setLogSink({});
    pa::store(debugLevel, 0);
}

Session::Session(const Settings& settings, Output& diagnostics) try
    : diagnostics_(diagnostics),
      timeoutSeconds_(settings.timeout.value_or(connectSeconds)),
      speed_(settings.speed),
      log_(diagnostics, settings.debug),
      endpoint_(endpointFor(settings)),
      connection_(endpoint_) {
    connection_.open(waitFor("for the server"));
    setClock();
} catch (const paclient::NotConnected& error) {
    throw Failure(ExitCode::CannotConnect, error.what());
}

Session::~Session() = default;

paclient::Wait Session::waitFor(const std::string& what) const {
    return shownWait(diagnostics_, what, timeoutSeconds_);
}

/// @return whether the connection is another one than at the call before
bool Session::setClock() {
    const std::uint64_t number = connection_.number();
    const bool isNew = number != clockOf_ && number != 0;
    if (isNew) {
        paclient::setStationClock(paclient::StationClock(serverInfo(), speed_));
        clockOf_ = number;
    }
    return isNew;
}

bool Session::requireConnected() try {
    connection_.requireConnected(waitFor("for the connection"));
    return setClock();
} catch (const paclient::NotConnected& error) {
    throw Failure(ExitCode::ConnectionLost, error.what());
}

void Session::requireBackWithin(double seconds) {
    setClock();
    if (connection_.awayFor() > std::chrono::duration<double>(seconds)) {
        throw Failure(ExitCode::ConnectionLost, "the connection to the server is lost");
    }
}

void Session::waitUntilDelivered() try {
    connection_.waitUntilDelivered(waitFor("for what the server has reported"));
} catch (const paclient::NotConnected& error) {
    throw Failure(ExitCode::ConnectionLost, error.what());
}

simserver::SimControl& Session::simControl() {
    simserver::SimControl* const control = endpoint_.simControl();
    if (control == nullptr) {
        throw Failure(ExitCode::Usage, "only a simulated server can do this");
    }
    return *control;
}

}  // namespace console
