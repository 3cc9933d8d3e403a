// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "client/Announcement.h"
#include "client/Wait.h"
#include "client/confirmedOperations.h"
#include "client/resources.h"
#include "sdk/PAController.h"

/// @file
/// What programs check and conclude around the operations of the client library. Every function
/// may be called from any thread, but not from a callback.

namespace paoperating {

/// @name Kinds of resource that only operations distinguish
/// @{
inline constexpr paclient::Resource<PaTrigger> hardwareTriggers{
    "hardware trigger", "hardware triggers", [] { return gPaController.getHwPaTriggers(); },
    paclient::memberText<&PaTrigger::id>, paclient::memberText<&PaTrigger::label>};

inline constexpr paclient::Resource<PaSWTrigger> softwareTriggers{
    "software trigger", "software triggers", [] { return gPaController.getSwPaTriggers(); },
    [](const PaSWTrigger& trigger) { return std::to_string(trigger.trigger.id); }, nullptr};
/// @}

/// What a source's and a sink's gain may be, in dB.
struct GainLimits {
    double least;
    double greatest;
};
constexpr GainLimits sourceGain{-96, 42};
constexpr GainLimits sinkGain{-96, 0};

constexpr int greatestTriggerPriority = 100;

/// @throws std::invalid_argument for texts of a trigger that would arrive as others
void checkTrigger(const std::string& preChime, const std::string& display);

/// Makes a software trigger, for this client.
/// @param preChime empty for none
/// @param display  text that the zones show meanwhile, may be empty
/// @return its number
/// @throws std::invalid_argument as `checkTrigger`; NotPossible when the source can have none
int createTrigger(int sourceId, int priority, const std::string& preChime,
                  const std::string& display);

/// Deactivates a software trigger. Of one that was not active the server reports nothing but a
/// refusal: then `Done` is that there was none.
/// @param announcement as for `paclient::deactivate`
paclient::Confirmation deactivateTrigger(const PaSWTrigger& trigger,
                                         std::optional<int> announcement,
                                         const paclient::Wait& wait);

/// The result of an operation of which the server reports nothing but a refusal: `Done` when there
/// was none in time.
paclient::Confirmation unlessRefused(paclient::Confirmation confirmation);

/// The zones that are attached to a source, by their names. One may be a zone that the server has
/// withdrawn.
/// @throws NotPossible when one is not attached
/// @throws paclient::LookupError
std::vector<std::string> chooseAttached(const PaSource& source,
                                        const std::vector<std::string>& names);

/// The request id of an announcement that is named by it, or by the number of one of its records.
/// @throws paclient::LookupError
std::string chooseRequest(const std::string& wanted);

/// Cancels every announcement of a type.
/// @throws paclient::NotFound when none is active
paclient::Cancellation cancelType(Message::Type type, const paclient::Wait& wait);

}  // namespace paoperating
