// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>

#include "api.h"

/// @file
/// Which amplifier elements have their level metered. Every function may be called from any thread.

/// Starts or stops the level-meter feed of an amplifier element. Called by the controller with its
/// mutex held. Starting a feed that runs, or stopping one that does not, changes nothing.
PA_API void subscribeUnsubscribeToResAmpVUMeterElement(bool subscribe, int element);

namespace pa {

/// Called for each feed that is started or stopped, one call at a time, maybe with the controller's
/// mutex held: it must neither block nor call the controller.
using LevelMeterSwitch = std::function<void(bool subscribe, int element)>;

/// Replaces the switch; a new one is called at once for every feed that is subscribed. An empty one
/// removes it: when this returns the previous one is not called any more.
PA_API void setLevelMeterSwitch(LevelMeterSwitch feed);

}  // namespace pa
