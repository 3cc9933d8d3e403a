// Records every change as a line of JSON, until Ctrl-C or SIGTERM: recorder --server HOST[:PORT]
#include <csignal>
#include <iostream>
#include <public-address/client/ChangeStream.h>
#include <public-address/client/json.h>
#include <public-address/framework/clock.h>

#include "BrokerEndpoint.h"

namespace {

volatile std::sig_atomic_t stopped = 0;

/// Whether a change has a record, or only a number or name.
template <class Kind, class = void>
constexpr bool hasRecord = false;
template <class Kind>
constexpr bool hasRecord<Kind, std::void_t<decltype(Kind::record)>> = true;
template <class Kind, class = void>
constexpr bool hasId = false;
template <class Kind>
constexpr bool hasId<Kind, std::void_t<decltype(Kind::id)>> = true;

paclient::Json described(const paclient::Change& change) {
    paclient::Json line{{"at", pa::wallClock()}, {"event", paclient::eventName(change)}};
    const auto addContent = [&line](const auto& content) {
        using Kind = std::decay_t<decltype(content)>;
        if constexpr (hasRecord<Kind>) {
            line["record"] = paclient::toJson(content.record);
        } else if constexpr (hasId<Kind>) {
            line["id"] = content.id;
        } else if constexpr (paclient::isDescribed<Kind>) {
            line["content"] = paclient::toJson(content);
        }
    };
    std::visit(addContent, change);
    return line;
}

}  // namespace

int main(int argc, char** argv) try {
    for (const int signal : {SIGINT, SIGTERM}) {
        std::signal(signal, [](int) { stopped = 1; });
    }
    paclient::Subscription changes;  // before the connection: so it reads everything from the start
    BrokerEndpoint endpoint(brokerOf(argc, argv));
    paclient::Connection connection(endpoint);
    connection.open();
    while (stopped == 0) {
        if (const paclient::ChangePtr change = changes.next(std::chrono::milliseconds(200))) {
            std::cout << paclient::jsonLine(described(*change)) << std::flush;
        }
    }
} catch (const std::exception& error) {
    std::cerr << "recorder: " << error.what() << '\n';
    return 1;
}
