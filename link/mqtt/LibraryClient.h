// SPDX-License-Identifier: Apache-2.0
#pragma once

struct mosquitto;

namespace palink {

/// What all connections of one client to its broker use. Made once: making it has the process
/// ignore SIGPIPE for a moment, in which the setting is put back.
class LibraryClient {
public:
    /// @throws std::bad_alloc
    LibraryClient();
    LibraryClient(const LibraryClient&) = delete;
    LibraryClient& operator=(const LibraryClient&) = delete;
    ~LibraryClient();

    [[nodiscard]] mosquitto* get() const { return client_; }

private:
    mosquitto* const client_;
};

}  // namespace palink
