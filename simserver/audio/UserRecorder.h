#pragma once

#include <optional>
#include <string>
#include <vector>

#include "simserver/SimTime.h"
#include "simserver/audio/UploadFolder.h"
#include "simserver/station/Station.h"

namespace simserver {

/// Records what the station's microphone hears into files of the spool, one recording at a time.
/// Passive: time is an argument. A file appears, whole, when its recording stops.
class UserRecorder {
public:
    /// A recording stops by itself when it has become so long.
    static constexpr SimTime longestRecording = std::chrono::minutes(10);

    /// Both must outlive the object.
    UserRecorder(const Station& station, const UploadFolder& spool);

    /// @throws Refused when something is being recorded, for a path that does not name a file of
    /// the server's folder, and when the microphone hears nothing
    void start(const std::string& path, SimTime now);

    /// Stores the recording. One that cannot be stored goes on, so that it may be tried again.
    /// @throws Refused when nothing is being recorded, and when it cannot be stored
    void stop(SimTime now);

    /// When the recording stops by itself; nothing when there is none.
    std::optional<SimTime> nextDue() const;

    /// Stops the recording whose time has come. It is over even if it cannot be stored.
    /// @throws Refused in that case
    void stopDue();

    /// @throws Refused for what is not a recording, or is being recorded
    void remove(const std::string& path);

    /// Refuses what does not name a recording of the server's folder.
    void check(const std::string& path) const;

private:
    struct Recording {
        std::string path;
        SimTime start;
    };

    std::filesystem::path placeOf(const std::string& path) const;
    void store(const Recording& recording, SimTime length) const;

    const Station& station_;
    const UploadFolder& spool_;
    std::vector<short> heard_;  // by the microphone, again and again; empty until it is first used
    std::optional<Recording> recording_;
};

}  // namespace simserver
