// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "../framework/api.h"
#include "../resource/common/paInfo.h"
#include "../sdk/AnnouncementRequest.h"
#include "Wait.h"

/// @file
/// Operations on resources that wait until the server has reported their effect.
///
/// Each sends, then waits as `confirm` does; its `Confirmation` is the outcome. They may be called
/// from any thread, but not from a callback. Arguments that the controller refuses throw
/// `std::invalid_argument` or `std::out_of_range` before anything is sent; what
/// `wait.whileWaiting` throws leaves the function, and the outcome is unknown.

namespace paclient {

/// @name Gains and monitoring
/// @{

/// Sets the output gain of a sink. Gains are compared in the six digits that are sent.
/// @param level             dB, -96 to 0
/// @param persistent        the device keeps it over a restart
/// @param delayPersistence  it may be made persistent later
/// @return `Done` with a flag for a gain that was there before, when the server has not refused
///         within a second: the flags themselves are not reported
/// @throws std::invalid_argument for a sink that has no gain
PA_API Confirmation setGain(const PaSink& sink, double level, bool persistent,
                            bool delayPersistence, const Wait& wait);

/// Sets the input gain of a source; as above.
/// @param level         dB, -96 to 42
/// @param first, second the server's own flags
PA_API Confirmation setGain(const PaSource& source, double level, bool first, bool second,
                            const Wait& wait);

/// Switches the monitoring of a sink.
PA_API Confirmation setMonitoring(const PaSink& sink, bool enable, const Wait& wait);
/// @}

/// Resets the device of a sink, an interface unit or a mixer: it becomes inactive and is active
/// again.
/// @param untilBack waits until it has come back, else until it is inactive. Of a device that is
///                  inactive before, only the return is reported
/// @throws std::invalid_argument for another type of sink
PA_API Confirmation reset(const PaSink& sink, bool untilBack, const Wait& wait);

/// @name Zones of a source
/// Names of zones are those of the server.
/// @{

/// Attaches zones.
/// @param mode whether the zones that are attached before stay
PA_API Confirmation attachZones(const PaSource& source, const std::vector<std::string>& zoneIds,
                                PaSource::AttachMode mode, const Wait& wait);

/// Detaches some.
PA_API Confirmation detachZones(const PaSource& source, const std::vector<std::string>& zoneIds,
                                const Wait& wait);

/// Detaches all that are attached.
PA_API Confirmation detachAllZones(const PaSource& source, const Wait& wait);
/// @}

/// @name Locks of sources
/// @{

/// UUID of the client that holds the lock of a source, empty for none.
PA_API std::string lockHolder(int sourceId);

/// UUID of this client.
PA_API std::string ownUUID();

/// Takes the lock of a source for this client, which renews it from then on.
/// @return `Refused` also, with nothing sent, when another client holds it
/// @throws std::invalid_argument for a source that has no lock
PA_API Confirmation takeLock(int sourceId, const Wait& wait);

/// Releases it.
/// @return `Refused`, with nothing sent, when another client holds it or none
/// @throws std::invalid_argument for a source that has no lock
PA_API Confirmation releaseLock(int sourceId, const Wait& wait);
/// @}

/// @name Software triggers
/// @{

/// What an activation has led to.
struct Activation {
    Confirmation confirmation;                        ///< whether it has its effect
    std::optional<AnnouncementRequest> announcement;  ///< that the trigger has started
};

/// Activates a software trigger. Its effect is a live announcement that was not there before, in
/// zones that are attached to its source.
PA_API Activation activate(const PaSWTrigger& trigger, const Wait& wait);

/// Deactivates it, which ends its announcement.
/// @param announcement number of the record that its activation has started; without one, or when
///                     that is over already, `awaitRefusal` applies
PA_API Confirmation deactivate(const PaSWTrigger& trigger, std::optional<int> announcement,
                               const Wait& wait);
/// @}

/// @name User recordings
/// The server reports a recording as an announcement without content: "Recording" while it runs,
/// with the path as its completion message, then "Recorded" or "Failed".
/// @{

/// Starts a recording. One that runs already is not this one: the server refuses a second.
PA_API Confirmation startRecording(const std::string& serverPath, const Wait& wait);

/// What a stop has led to.
struct StoppedRecording {
    Confirmation confirmation;  ///< `Refused` also when the recording is lost
    std::string path;           ///< of the file that the server has stored; else empty
};

/// Stops the recording that runs, which stores it.
PA_API StoppedRecording stopRecording(const Wait& wait);

/// The server reports nothing of these but a refusal: see `awaitRefusal` for the result.
PA_API Confirmation previewRecording(const std::string& serverPath, const Wait& wait);
/// Deletes a recording of the server.
PA_API Confirmation deleteRecording(const std::string& serverPath, const Wait& wait);
/// @}

}  // namespace paclient
