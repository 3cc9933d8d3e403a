// SPDX-License-Identifier: Apache-2.0
// An operator's panel in the terminal: shows what plays in each zone, and announces in the zone
// whose number is typed. panel --server HOST[:PORT]
#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <poll.h>
#include <public-address/client/ChangeStream.h>
#include <public-address/client/choose.h>
#include <unistd.h>

#include "BrokerEndpoint.h"

static void show(const std::vector<PaZone>& zones, const std::string& notice) {
    std::cout << (isatty(STDOUT_FILENO) == 1 ? "\x1b[H\x1b[J" : "");
    for (std::size_t i = 0; i < zones.size(); ++i) {
        const bool plays = zones[i].activity != 0;
        std::cout << i + 1 << "  " << zones[i].id << ": "
                  << (plays ? zones[i].announcementTypeText : "-") << '\n';
    }
    std::cout << notice << "\nnumber of a zone: announce there; q: end" << std::endl;
}

static void announce(const PaZone& zone) {
    const TTSVocalizer voice = paclient::chooseVoice("en", std::nullopt);
    Message message;
    message.setAudioMessage("Attention please", voice.language, voice.voice, Message::UTF_8);
    message.playAnnouncement({zone.id});
}

int main(int argc, char** argv) try {
    BrokerEndpoint endpoint(brokerOf(argc, argv));
    paclient::Connection connection(endpoint);
    connection.open();
    paclient::Subscription changes(
        paclient::kinds<paclient::Updated<PaZone>, paclient::Deleted<PaZone>, palink::Refusal>());
    std::setbuf(stdin, nullptr);  // what getline has not taken is still there for poll
    pollfd sources[] = {{STDIN_FILENO, POLLIN, 0}, {changes.fileDescriptor(), POLLIN, 0}};
    std::string notice;
    for (std::string line; line != "q" && std::cin;) {
        const std::vector<PaZone> zones = gPaController.getPaZones();
        show(zones, notice);
        poll(sources, std::size(sources), -1);
        while (const paclient::ChangePtr change = changes.next()) {
            if (const auto* refusal = std::get_if<palink::Refusal>(change.get())) {
                notice = "refused: " + refusal->reason;
            }
        }
        if (sources[0].revents != 0 && std::getline(std::cin, line)) {
            const std::size_t number = std::strtoul(line.c_str(), nullptr, 10);
            if (number >= 1 && number <= zones.size()) {
                announce(zones[number - 1]);
                notice = "announced in " + zones[number - 1].id;
            }
        }
    }
} catch (const std::exception& error) {
    std::cerr << "panel: " << error.what() << '\n';
    return 1;
}
