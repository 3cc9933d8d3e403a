// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

#include "simserver/SimControl.h"

namespace paserver {

/// Does what a control message asks for.
/// @param arguments a JSON object
/// @return the result as JSON, empty for none
/// @throws simserver::Refused, also for a function that does not exist
/// @throws palink::MalformedMessage for wrong arguments
std::string runControl(simserver::SimControl& server, const std::string& function,
                       const std::string& arguments);

}  // namespace paserver
