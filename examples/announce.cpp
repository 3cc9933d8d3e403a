// SPDX-License-Identifier: Apache-2.0
// Plays one announcement on a simulated tram and waits until it is over.
#include <iostream>
#include <stdexcept>
#include <string>

#include "client/Announcement.h"
#include "client/Connection.h"
#include "client/sdkText.h"
#include "simserver/EmbeddedEndpoint.h"
#include "simserver/station/StationFile.h"

using paclient::Announcement;

int main(int argc, char** argv) try {
    const std::string scenario = argc > 1 ? argv[1] : "scenarios/tram.json";
    simserver::EmbeddedEndpoint endpoint(simserver::loadStation(scenario));
    paclient::Connection connection(endpoint);
    connection.open({std::chrono::seconds(5)});

    Message message;
    message.setAudioMessage("Next stop: Harbour Square", "en", "Nora", Message::UTF_8);
    const auto print = [](Announcement::State state, const Announcement::Part*) {
        std::cout << paclient::nameOf(state) << std::endl;
    };
    Announcement announcement({"Car 1", "Car 2"}, message, print);
    const auto state = announcement.wait({std::chrono::minutes(1)});
    if (state != Announcement::State::Finished) {
        throw std::runtime_error(std::string(nameOf(state)) + ": " + announcement.reason());
    }
} catch (const std::exception& error) {  // no such scenario, zone or voice; no server; cancelled
    std::cerr << "announce: " << paclient::sentenceFor(error.what()) << '\n';
    return 1;
}
