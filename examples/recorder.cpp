// SPDX-License-Identifier: Apache-2.0
// Records every change as a line of JSON, until Ctrl-C or SIGTERM: recorder --server HOST[:PORT]
#include <csignal>
#include <iostream>
#include <public-address/client/ChangeStream.h>
#include <public-address/client/json.h>
#include <public-address/framework/clock.h>

#include "BrokerEndpoint.h"

namespace {

volatile std::sig_atomic_t stopped = 0;

struct Stopped {};  // thrown to end a wait

void requireNotStopped(std::chrono::milliseconds /*waited*/) {
    if (stopped != 0) {
        throw Stopped();
    }
}

/// Whether a change has a record, or only a number or name.
template <class Kind, class = void>
constexpr bool hasRecord = false;
template <class Kind>
constexpr bool hasRecord<Kind, std::void_t<decltype(Kind::record)>> = true;
template <class Kind, class = void>
constexpr bool hasId = false;
template <class Kind>
constexpr bool hasId<Kind, std::void_t<decltype(Kind::id)>> = true;

constexpr const char* connectionStates[] = {"connected", "synced", "disconnected", "stopped"};

paclient::Json described(const paclient::Change& change) {
    paclient::Json line{{"at", pa::wallClock()}, {"event", paclient::eventName(change)}};
    const auto addContent = [&line](const auto& content) {
        using Kind = std::decay_t<decltype(content)>;
        if constexpr (std::is_same_v<Kind, palink::ConnectionChange>) {
            line["state"] = connectionStates[static_cast<int>(content.state)];
            line["reason"] = content.reason;
        } else if constexpr (hasRecord<Kind>) {
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
    connection.open({std::chrono::seconds(10), requireNotStopped});
    while (stopped == 0 && std::cout) {
        const paclient::ChangePtr change = changes.next({paclient::noLimit, requireNotStopped});
        std::cout << paclient::jsonLine(described(*change)) << std::flush;
    }
    if (!std::cout) {
        throw std::runtime_error("the output cannot be written");
    }
} catch (const Stopped&) {
    return 0;
} catch (const std::exception& error) {
    std::cerr << "recorder: " << error.what() << '\n';
    return 1;
}
