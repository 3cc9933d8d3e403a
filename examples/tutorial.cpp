// SPDX-License-Identifier: Apache-2.0
// Announces a text in zones and prints what becomes of it:
// tutorial --server HOST[:PORT] ZONE...
#include <iostream>
#include <public-address/client/Announcement.h>
#include <public-address/client/choose.h>
#include <public-address/client/sdkText.h>

#include "BrokerEndpoint.h"

using paclient::Announcement;

int main(int argc, char** argv) try {
    BrokerEndpoint endpoint(brokerOf(argc, argv));
    paclient::Connection connection(endpoint);
    connection.open({std::chrono::seconds(10)});

    const auto zones = paclient::chooseZones({argv + 3, argv + argc});

    const TTSVocalizer voice = paclient::chooseVoice("en", std::nullopt);
    Message message;
    message.setAudioMessage("The train to the airport is delayed", voice.language, voice.voice,
                            Message::UTF_8);

    const auto print = [](Announcement::State state, const Announcement::Part* part) {
        const bool isExplained = part != nullptr && !part->reason.empty();
        std::cout << nameOf(state) << (isExplained ? ": " + part->reason : "") << std::endl;
    };
    Announcement announcement(zones, message, print);

    const auto state = announcement.wait({std::chrono::minutes(1)});
    if (state != Announcement::State::Finished) {
        std::cerr << "tutorial: " << nameOf(state) << ": " << announcement.reason() << '\n';
        return 1;
    }
} catch (const std::exception& error) {
    std::cerr << "tutorial: " << paclient::sentenceFor(error.what()) << '\n';
    return 1;
}
