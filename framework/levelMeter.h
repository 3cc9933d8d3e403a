#pragma once

#include <vector>

/// Starts or stops the level-meter feed of an amplifier element. Called by the controller with its
/// mutex held. Starting a feed that runs, or stopping one that does not, changes nothing.
void subscribeUnsubscribeToResAmpVUMeterElement(bool subscribe, int element);

/// The amplifier elements whose feed is wanted, in ascending order. May be called from any thread.
std::vector<int> subscribedLevelMeters();
