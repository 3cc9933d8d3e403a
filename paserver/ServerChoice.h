// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "client/Endpoint.h"
#include "client/scheduleTimes.h"

namespace paserver {

/// Which audio server a program uses: one on a broker, or a simulated one in the process.
struct ServerChoice {
    /// @name A server on a broker
    /// @{
    std::string broker{};                 ///< mqtt://HOST[:PORT] or mqtts://...; empty: none
    std::optional<int> dstNo{};           ///< number of the server; nothing: the active one
    bool indirect = false;                ///< over a local server, which relays
    int localDstNo = 0;                   ///< of that one
    std::filesystem::path credentials{};  ///< file with user and password; empty for none
    std::filesystem::path caFile{};
    std::filesystem::path certificateFile{};
    std::filesystem::path keyFile{};
    /// @}

    /// @name A simulated server in the process
    /// @{
    std::filesystem::path scenario{};           ///< empty: that which is installed with the program
    double speed = 1.0;                         ///< simulated seconds per real second
    std::filesystem::path spool{};              ///< where it keeps uploads; empty: for itself
    std::filesystem::path state{};              ///< where it keeps what outlives it; empty: nowhere
    std::optional<paclient::DateTime> clock{};  ///< of the station at first; empty: the real time
    /// @}
};

/// @throws std::invalid_argument when this is no address of a broker, with the reason
void checkBrokerUrl(const std::string& url);

/// Opens the way to the server; connects to nothing yet.
/// @param program     the variables PROGRAM_USER and PROGRAM_PASSWORD of the environment name the
///                    user at the broker beside the file: a password is never an argument
/// @param isAbandoned asked about every 50 ms by a thread that waits for an upload or an answer:
///                    whether it waits no more
/// @throws std::runtime_error with a text for people when a file or folder cannot be used, and for
///         a broker when the programs are built without that link
std::unique_ptr<paclient::Endpoint> openServer(const ServerChoice& choice,
                                               const std::string& program,
                                               std::function<bool()> isAbandoned);

}  // namespace paserver
