// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>

namespace paserver {

/// Notices to the service manager: ready, stopping, and that the process works. Does nothing when
/// no manager has asked for them.
class ServiceNotice {
public:
    /// Reads NOTIFY_SOCKET and WATCHDOG_USEC, and removes them from the environment.
    ServiceNotice();

    void ready() const { send("READY=1"); }
    void stopping() const { send("STOPPING=1"); }

    /// The process works: to be called often. Sends a notice as often as the manager needs one.
    void works();

private:
    void send(const std::string& text) const;

    std::string socket_;
    std::optional<std::chrono::milliseconds> period_;
    std::int64_t sentMS_ = 0;
};

}  // namespace paserver
