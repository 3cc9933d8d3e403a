// SPDX-License-Identifier: Apache-2.0
#include "paserver/ServiceNotice.h"

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <sys/socket.h>
#include <sys/un.h>

#include "framework/clock.h"
#include "paserver/takeVariable.h"
#include "util/Descriptor.h"

namespace paserver {

ServiceNotice::ServiceNotice() : socket_(takeVariable("NOTIFY_SOCKET").value_or("")) {
    constexpr std::int64_t perMS = 1000;
    constexpr std::int64_t perLimit = 3;  // notices
    const std::string watchdog = takeVariable("WATCHDOG_USEC").value_or("");
    if (const std::int64_t microseconds = std::atoll(watchdog.c_str()); microseconds > 0) {
        period_ = std::chrono::milliseconds(microseconds / perMS / perLimit);
    }
}

void ServiceNotice::works() {
    if (period_ && pa::monotonicMS() >= sentMS_ + period_->count()) {
        sentMS_ = pa::monotonicMS();
        send("WATCHDOG=1");
    }
}

void ServiceNotice::send(const std::string& text) const {
    sockaddr_un address{};
    if (socket_.empty() || socket_.size() > sizeof(address.sun_path)) {
        return;
    }
    address.sun_family = AF_UNIX;
    std::copy(socket_.begin(), socket_.end(), address.sun_path);
    if (socket_.front() == '@') {
        address.sun_path[0] = '\0';  // a name that is no file
    }
    const auto size = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + socket_.size());
    const pautil::Descriptor descriptor(::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0));
    sendto(descriptor.number(), text.data(), text.size(), MSG_NOSIGNAL | MSG_DONTWAIT,
           reinterpret_cast<const sockaddr*>(&address), size);
}

}  // namespace paserver
