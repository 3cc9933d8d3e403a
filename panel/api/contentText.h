// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

#include "sdk/AnnouncementRequest.h"

namespace papanel {

/// What an announcement plays or displays, for people: "Mind the gap", "items 12, 40 x2", the path
/// of a recording, the texts of a template, "source 3". Long texts are cut. May be called from any
/// thread.
std::string contentText(const AnnouncementRequest& record);

}  // namespace papanel
