#include "console/Session.h"

#include <algorithm>
#include <filesystem>
#include <string>
#include <system_error>

#include "console/ExitCode.h"
#include "console/interrupt.h"
#include "console/schedule/stationClock.h"
#include "framework/log.h"
#include "sdk/PAController.h"
#include "sdk/globals.h"
#include "simserver/schedules/Calendar.h"
#include "simserver/station/StationFile.h"

namespace console {

namespace {

/// How often somebody who waits looks for an interruption or a lost connection.
constexpr std::chrono::milliseconds tick{50};
constexpr double connectSeconds = 10;

/// The facade of the process. Never destroyed: the controller uses it for as long as it lives.
AudioServer& audioServer() {
    static AudioServer& instance = []() -> AudioServer& {
        gDeviceIPAddress = "127.0.0.1";
        return *new AudioServer(gPaController);
    }();
    return instance;
}

/// The scenario that is installed beside the program, wherever that is.
std::filesystem::path defaultScenario() {
    std::error_code unknown;
    const auto program = std::filesystem::read_symlink("/proc/self/exe", unknown);
    return (program.parent_path() / "../share/public-address/scenarios/central-station.json")
        .lexically_normal();
}

simserver::SimServer serverFor(const Settings& settings) try {
    simserver::Options options;
    options.speed = settings.speed;
    options.spool = settings.spool;
    options.state = settings.state;
    const simserver::Station station =
        simserver::loadStation(settings.scenario.empty() ? defaultScenario() : settings.scenario);
    if (settings.clock) {
        const auto& [date, time] = *settings.clock;
        options.clock =
            simserver::Calendar(station.timeZone)
                .momentOf({date->year, date->month, date->day, time->hour, time->minute});
    }
    return simserver::SimServer(station, options);
} catch (const std::exception& error) {
    throw Failure(ExitCode::CannotConnect, error.what());
}

}  // namespace

Moment after(double seconds) {
    const std::chrono::duration<double> limit(std::min(seconds, forEver));
    return std::chrono::steady_clock::now() +
           std::chrono::duration_cast<std::chrono::steady_clock::duration>(limit);
}

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

Session::Session(const Settings& settings, Output& diagnostics)
    : log_(diagnostics, settings.debug),
      server_(serverFor(settings)),
      renewals_(server_),
      transport_(renewals_),
      link_(audioServer(), transport_) {
    link_.setRefusalHandler(tellRefusal);
    link_.setLevelHandler(tellLevel);
    link_.start();
    const Moment deadline = after(settings.timeout.value_or(connectSeconds));
    while (!link_.waitUntilReady(tick)) {
        interrupt::check();
        if (std::chrono::steady_clock::now() >= deadline) {
            throw Failure(ExitCode::CannotConnect, "the server does not answer in time");
        }
    }
    setStationClock(serverInfo(), settings.speed);
}

Session::~Session() = default;

void Session::requireConnection() const {
    if (!link_.isConnected()) {
        throw Failure(ExitCode::ConnectionLost, "the connection to the server is lost");
    }
}

std::optional<Change> Session::nextChange(Changes& changes, Moment deadline) {
    while (true) {
        interrupt::check();
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(
            deadline - std::chrono::steady_clock::now());
        if (auto change = changes.next(std::clamp(left, std::chrono::milliseconds(0), tick))) {
            return change;
        }
        requireConnection();
        if (left.count() <= 0) {
            return std::nullopt;
        }
    }
}

std::optional<Change> Session::nextAnswer(Changes& changes, Moment deadline) try {
    return nextChange(changes, deadline);
} catch (const Failure& failure) {
    throw Failure(failure.code, std::string(failure.what()) + "; the outcome is unknown");
}

KeyValueMap Session::serverInfo() const {
    return audioServer().getServerInfo();
}

}  // namespace console
