// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "panel/Services.h"

namespace papanel {

/// Writes what came of the announcements that are over into the audit trail, and forgets those that
/// have been over for long. To be called about once a second.
void finishAnnouncements(Services& services);

}  // namespace papanel
