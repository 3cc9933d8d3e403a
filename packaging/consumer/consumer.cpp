// SPDX-License-Identifier: Apache-2.0
// An application with nothing but the installed packages: plays an announcement on a server that a
// broker knows, and waits until it is over. consumer BROKER-URL ZONE
#include <iostream>
#include <public-address/client/Announcement.h>
#include <public-address/client/Connection.h>
#include <public-address/link/mqtt/MqttTransport.h>
#include <public-address/version.h>

class ConsumerEndpoint : public paclient::Endpoint {
public:
    explicit ConsumerEndpoint(const std::string& url)
        : transport_(palink::parseBrokerUrl(url), paclient::audioServer().getUUID()) {}
    palink::Transport& transport() override { return transport_; }
    std::string name() const override { return transport_.url(); }

private:
    palink::MqttTransport transport_;
};

int main(int argc, char** argv) try {
    if (argc != 3) {
        std::cerr << "usage: consumer BROKER-URL ZONE\n";
        return 2;
    }
    ConsumerEndpoint endpoint(argv[1]);
    paclient::Connection connection(endpoint);
    connection.open({std::chrono::seconds(20)});

    Message message;
    message.setAudioMessage("Mind the gap", "en", "Amelia", Message::UTF_8);
    paclient::Announcement announcement({argv[2]}, message);
    const auto state = announcement.wait({std::chrono::minutes(1)});
    std::cout << PUBLIC_ADDRESS_VERSION << ": " << paclient::nameOf(state) << '\n';
    return state == paclient::Announcement::State::Finished ? 0 : 1;
} catch (const std::exception& error) {
    std::cerr << "consumer: " << error.what() << '\n';
    return 1;
}
