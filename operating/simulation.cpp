// SPDX-License-Identifier: Apache-2.0
#include "operating/simulation.h"

#include <chrono>

#include "operating/NotPossible.h"
#include "operating/sentTexts.h"

namespace paoperating {

using namespace paclient;
using simserver::SimControl;

namespace {

double secondsOf(std::chrono::milliseconds duration) {
    return std::chrono::duration<double>(duration).count();
}

/// Has the server end the connection, and waits until that is known.
template <class Act>
void endConnection(Connection& connection, const Wait& wait, Act act) {
    const std::uint64_t number = connection.number();
    Subscription changes(kinds<palink::ConnectionChange>());
    act();
    WaitCourse course(wait);
    while (connection.number() == number) {
        const auto slice = course.next();
        if (!slice) {
            throw NotConnected("the server has not dropped the connection in time");
        }
        changes.next(*slice);
    }
}

}  // namespace

std::optional<Playable> playableAt(Endpoint& endpoint) try {
    if (endpoint.simControl() == nullptr) {
        return std::nullopt;
    }
    Playable playable;
    const auto [dictionary, recordings] = endpoint.simControl()->contents();
    for (const auto& item : dictionary) {
        playable.items.insert(static_cast<unsigned>(item.item));
        playable.chimes.insert(item.chime ? item.item : 0);
    }
    for (const auto& recording : recordings) {
        playable.recordings.insert(recording.path);
    }
    return playable;
} catch (const simserver::Refused&) {
    return std::nullopt;  // the role of the user does not allow it
}

Json toJson(const simserver::DictionaryItem& item) {
    return {{"item", item.item}, {"text", item.text}, {"seconds", secondsOf(item.duration)}};
}

Json toJson(const simserver::Recording& recording) {
    return {{"path", recording.path}, {"seconds", secondsOf(recording.duration)}};
}

void checkClient(const std::string& client) {
    constexpr const char* plain = "-0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz";
    require(!client.empty() && client.find_first_not_of(plain) == std::string::npos,
            "'" + client + "' is not a UUID");
}

void disconnect(Connection& connection, SimControl& server, const Wait& wait) {
    endConnection(connection, wait, [&] { server.dropClient(); });
}

void restart(Connection& connection, SimControl& server, const Wait& wait) {
    endConnection(connection, wait, [&] {
        try {
            server.restart();
        } catch (const simserver::Refused&) {
            throw;
        } catch (const std::runtime_error& error) {
            throw NotPossible(std::string("the server does not start again: ") + error.what());
        }
    });
}

}  // namespace paoperating
