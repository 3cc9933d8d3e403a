// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <CLI/CLI.hpp>
#include <string>

#include "paserver/ServerChoice.h"

namespace paoperating {

/// Adds the options that choose the audio server: one on a broker, or a simulated one.
/// @param server   receives the values; outlives the app
/// @param variable of the environment, for the address of the broker
void addServerOptions(CLI::App& app, paserver::ServerChoice& server, const std::string& variable);

}  // namespace paoperating
