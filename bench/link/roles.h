// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <vector>

/// @file
/// What the processes of a measurement do. Each is this program with other arguments. It prints
/// "prepared", waits for a line, does its work and prints what it has found; it ends with its
/// standard input. Times are those of the steady clock in ns, which all processes share.

namespace bench {

/// The first argument of such a process; the role and its arguments follow.
inline constexpr const char* roleArgument = "--role";

/// @name The roles
/// @{

/// PORT RECORDS: publishes the records of the station and its status.
inline constexpr const char* stationRole = "station";

/// PORT RECORDS CHANGES INTERVAL_US: publishes changes, each the interval after the last, or as
/// fast as it can with 0. Prints "sent" and the time of each.
inline constexpr const char* publisherRole = "publisher";

/// PORT RECORDS CHANGES: receives the records and then the changes, with the library, or with the
/// link and the controller. Prints "synced", the time, the processor time in ns since the start,
/// and the private memory in KiB; then "received" and the time of each change, and "spent" and the
/// processor time for all changes in ns.
inline constexpr const char* plainRole = "plain";
inline constexpr const char* clientRole = "client";
inline constexpr const char* clientWithoutPausesRole = "client-without-pauses";
/// @}

/// @param words the role and its arguments
/// @return the exit code of the process
int runRole(const std::vector<std::string>& words);

}  // namespace bench
