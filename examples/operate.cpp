// SPDX-License-Identifier: Apache-2.0
// Operates a simulated tram: prints its changes, sets a gain, and plays what a dry run allows. The
// parts are explained in docs/client.md.
#include <chrono>
#include <iostream>
#include <stdexcept>
#include <string>
#include <variant>

#include "client/Announcement.h"
#include "client/ChangeStream.h"
#include "client/Connection.h"
#include "client/checkMessage.h"
#include "client/confirmedOperations.h"
#include "client/json.h"
#include "client/resources.h"
#include "simserver/EmbeddedEndpoint.h"
#include "simserver/station/StationFile.h"

namespace {

void printChange(const paclient::Change& change) {
    std::cout << paclient::eventName(change);
    if (const auto* zone = std::get_if<paclient::Updated<PaZone>>(&change)) {
        std::cout << ' ' << paclient::jsonLine(paclient::toJson(zone->record));
    } else if (const auto* lost = std::get_if<paclient::Lost>(&change)) {
        std::cout << ' ' << lost->count << '\n';
    } else {
        std::cout << '\n';
    }
}

void printWaiting(paclient::Subscription& changes) {
    while (const paclient::ChangePtr change = changes.next()) {
        printChange(*change);
    }
}

void setGain(const std::string& label, double level) {
    const PaSink sink = paclient::findOne(paclient::sinks, label);
    const auto result = paclient::setGain(sink, level, false, false, {std::chrono::seconds(5)});
    if (result.isUnknown()) {
        throw std::runtime_error("whether the gain is set is unknown");
    }
    if (!result.holds()) {
        throw std::runtime_error("the gain is not set: " + result.reason);
    }
}

void play(const std::string& zone, const Message& message) {
    for (const paclient::Finding& finding : paclient::checkMessage({zone}, message)) {
        std::cerr << "operate: " << finding.text << '\n';
        if (paclient::isRefused(finding.kind)) {
            throw std::runtime_error("the announcement would be refused");
        }
    }
    paclient::Announcement announcement({zone}, message);
    if (announcement.wait({std::chrono::seconds(30)}) != paclient::Announcement::State::Finished) {
        announcement.cancel({std::chrono::seconds(5)});
        throw std::runtime_error(announcement.reason());
    }
}

}  // namespace

int main(int argc, char** argv) try {
    const std::string scenario = argc > 1 ? argv[1] : "scenarios/tram.json";
    simserver::EmbeddedEndpoint endpoint(simserver::loadStation(scenario));
    paclient::Connection connection(endpoint);
    connection.open({std::chrono::seconds(5)});

    paclient::Subscription changes(
        paclient::kinds<paclient::Updated<PaSink>, paclient::Updated<PaZone>, palink::Refusal>());

    setGain("cab", -12.5);  // the only label that begins so

    Message message;
    message.setAudioMessage("Please keep the doors clear", "en", "Nora", Message::UTF_8);
    play("Car 1", message);

    connection.waitUntilDelivered();
    printWaiting(changes);
} catch (const paclient::LookupError& error) {  // not found, with suggestions, or ambiguous
    std::cerr << "operate: " << error.what() << '\n';
    return 1;
} catch (const std::exception& error) {
    std::cerr << "operate: " << error.what() << '\n';
    return 1;
}
