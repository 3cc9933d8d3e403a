// SPDX-License-Identifier: Apache-2.0
#include "paserver/ServerChoice.h"

#include <stdexcept>
#include <system_error>
#include <utility>

#include "client/Calendar.h"
#include "simserver/EmbeddedEndpoint.h"
#include "simserver/station/StationFile.h"

#ifdef PA_WITH_MQTT
#include "client/Connection.h"
#include "paserver/RemoteEndpoint.h"
#include "paserver/takeVariable.h"
#endif

namespace paserver {

namespace {

/// The scenario that is installed with the program.
std::filesystem::path installedScenario() {
    std::error_code unknown;
    const auto program = std::filesystem::read_symlink("/proc/self/exe", unknown);
    return (program.parent_path() / "../share/public-address/scenarios/central-station.json")
        .lexically_normal();
}

std::unique_ptr<paclient::Endpoint> openEmbedded(const ServerChoice& choice) try {
    simserver::Options options;
    options.speed = choice.speed;
    options.spool = choice.spool;
    options.state = choice.state;
    const simserver::Station station =
        simserver::loadStation(choice.scenario.empty() ? installedScenario() : choice.scenario);
    if (choice.clock) {
        const auto& [date, time] = *choice.clock;
        options.clock =
            paclient::Calendar(station.timeZone)
                .momentOf({date->year, date->month, date->day, time->hour, time->minute});
    }
    return std::make_unique<simserver::EmbeddedEndpoint>(station, options);
} catch (const std::filesystem::filesystem_error& error) {
    const std::string& path = error.path1().string();
    throw std::runtime_error((path.empty() ? "the folder for temporary files" : path) +
                             " cannot be used: " + error.code().message());
}

}  // namespace

#ifdef PA_WITH_MQTT

void checkBrokerUrl(const std::string& url) try {
    (void)palink::parseBrokerUrl(url);
} catch (const palink::BrokerOptionsError& error) {
    throw std::invalid_argument(error.what());
}

namespace {

std::unique_ptr<paclient::Endpoint> openRemote(const ServerChoice& choice,
                                               const std::string& program,
                                               std::function<bool()> isAbandoned) {
    palink::BrokerOptions options = palink::parseBrokerUrl(choice.broker);
    options.caFile = choice.caFile;
    options.certificateFile = choice.certificateFile;
    options.keyFile = choice.keyFile;
    if (!choice.credentials.empty()) {
        palink::readCredentials(options, choice.credentials);
    }
    options.user = takeVariable(program + "_USER").value_or(options.user);
    options.password = takeVariable(program + "_PASSWORD").value_or(options.password);
    const palink::Destinations destinations{choice.dstNo, choice.indirect, choice.localDstNo};
    return std::make_unique<RemoteEndpoint>(options, paclient::audioServer().getUUID(),
                                            destinations, std::move(isAbandoned));
}

}  // namespace

#else

void checkBrokerUrl(const std::string& /*url*/) {}

namespace {

std::unique_ptr<paclient::Endpoint> openRemote(const ServerChoice& choice,
                                               const std::string& /*program*/,
                                               const std::function<bool()>& /*isAbandoned*/) {
    throw std::runtime_error(choice.broker + ": this program is built without brokers");
}

}  // namespace

#endif

std::unique_ptr<paclient::Endpoint> openServer(const ServerChoice& choice,
                                               const std::string& program,
                                               std::function<bool()> isAbandoned) {
    return choice.broker.empty() ? openEmbedded(choice)
                                 : openRemote(choice, program, std::move(isAbandoned));
}

}  // namespace paserver
