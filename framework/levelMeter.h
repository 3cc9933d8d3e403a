#pragma once

#include <functional>

/// @file
/// Which amplifier elements have their level metered. Every function may be called from any thread.

/// Starts or stops the level-meter feed of an amplifier element. Called by the controller with its
/// mutex held. Starting a feed that runs, or stopping one that does not, changes nothing.
void subscribeUnsubscribeToResAmpVUMeterElement(bool subscribe, int element);

namespace pa {

/// Told of each change of what is wanted, one at a time, maybe with the controller's mutex held: it
/// must neither block nor call the controller.
using LevelMeterSwitch = std::function<void(bool subscribe, int element)>;

/// Replaces the switch; a new one is told at once of every feed that is wanted. An empty one ends
/// it: when this returns the one before is not called any more.
void setLevelMeterSwitch(LevelMeterSwitch feed);

}  // namespace pa
