// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "simserver/ServerContext.h"
#include "simserver/playback/Playback.h"

namespace simserver {

/// User recordings: records the station's microphone into files of the upload folder, one at a
/// time. A file appears, whole, when its recording stops. The server's lock guards it.
///
/// A recording is reported as an announcement without content: its state is "Recording" and its
/// completion message the path; at its end it is "Recorded" with code 0, or "Failed" with code 3
/// and the reason, and is withdrawn.
class Recordings final : public TimedPart {
public:
    /// A recording of this length stops by itself.
    static constexpr SimTime longestRecording = std::chrono::minutes(10);

    /// Both must outlive the object.
    Recordings(ServerContext& context, Playback& playback);

    /// @name Operations
    /// @throws Refused; then nothing has changed
    /// @{

    /// Refused while another recording runs, for a path that does not name a file of the
    /// server's folder, and when the microphone has no sound.
    void start(const std::string& payload);

    /// A recording that cannot be stored continues, so that the client can try again.
    void stop(const std::string& payload);

    void remove(const std::string& payload);

    /// Plays a recording to the operator only: an announcement without zones.
    void preview(const std::string& payload);
    /// @}

    /// Reports the recording that runs, if there is one.
    void publishAll() const;

    /// Stops a recording that has its greatest length, even if it cannot be stored.
    std::optional<SimTime> nextDue() const override;
    void takeDue() override;

private:
    struct Running {
        std::string path;
        SimTime start;
        int key = 0;  // of its announcement
        std::string requestId;
    };

    void check(const std::string& path) const;
    std::filesystem::path placeOf(const std::string& path) const;
    void store(SimTime length) const;
    void publish(const char* state, const std::optional<std::string>& completionCode,
                 const std::string& message) const;
    void finish(const char* state, const std::optional<std::string>& completionCode,
                const std::string& message);

    ServerContext& context_;
    Playback& playback_;
    std::vector<short> sound_;  // of the microphone, repeated; empty until it is first used
    std::optional<Running> running_;
};

}  // namespace simserver
