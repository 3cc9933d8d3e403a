// SPDX-License-Identifier: Apache-2.0
#include "link/mqtt/HostLookup.h"

#include <array>
#include <mutex>
#include <netdb.h>
#include <sys/socket.h>
#include <utility>

#include "framework/posixThread.h"
#include "link/mqtt/WakeUp.h"

namespace palink {

struct HostLookup::State {
    std::mutex lock;
    std::optional<Result> result;  // guarded by lock
};

namespace {

std::string numericText(const addrinfo& entry) {
    std::array<char, NI_MAXHOST> text{};
    const int failure = getnameinfo(entry.ai_addr, entry.ai_addrlen, text.data(), text.size(),
                                    nullptr, 0, NI_NUMERICHOST);
    return failure == 0 ? text.data() : "";
}

HostLookup::Result lookUp(const std::string& host) {
    addrinfo hints{};
    hints.ai_socktype = SOCK_STREAM;
    addrinfo* entries = nullptr;
    const int failure = getaddrinfo(host.c_str(), nullptr, &hints, &entries);
    HostLookup::Result result;
    if (failure == EAI_NONAME || failure == EAI_NODATA) {
        result.error = "there is no host " + host;
    } else if (failure != 0) {
        result.error = "cannot look up the host " + host + ": " + gai_strerror(failure);
    }
    for (const addrinfo* entry = entries; entry != nullptr; entry = entry->ai_next) {
        result.addresses.push_back(numericText(*entry));
    }
    if (entries != nullptr) {
        freeaddrinfo(entries);
    }
    return result;
}

}  // namespace

HostLookup::HostLookup(std::string host, const std::shared_ptr<WakeUp>& wake)
    : state_(std::make_shared<State>()) {
    pa::PosixThread thread("mqtt-lookup", [state = state_, host = std::move(host), wake] {
        Result result = lookUp(host);
        const std::lock_guard guard(state->lock);
        state->result = std::move(result);
        wake->signal();
    });
    thread.detach();
}

HostLookup::~HostLookup() = default;

std::optional<HostLookup::Result> HostLookup::result() const {
    const std::lock_guard guard(state_->lock);
    return state_->result;
}

}  // namespace palink
