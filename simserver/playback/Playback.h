// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "simserver/ServerContext.h"
#include "simserver/playback/PlayEngine.h"

namespace simserver {

/// Plays requests, of clients and of the server's own parts, and reports their announcements. The
/// server's lock guards it.
class Playback final : public TimedPart, private PlayHost {
public:
    /// @param context must outlive the object
    explicit Playback(ServerContext& context);

    /// @name Operations
    /// @throws Refused, with the request's id if it is known; then nothing has changed
    /// @{
    void play(const std::string& payload);
    void cancel(const std::string& payload);
    /// @}

    /// Plays a request of the server itself, which has been checked.
    void playOwn(const RequestToPlay& request);

    /// An id for a request of the server itself: `kind`, a hyphen and a number.
    std::string newRequestId(const std::string& kind = "server");

    /// A key for an announcement that is not played.
    int newKey() { return engine_.newKey(); }

    /// Has the live part of a request play in other zones.
    void moveLive(const std::string& requestId, const std::vector<std::string>& zones);

    /// Ends every part of a request.
    void end(const std::string& requestId, const std::string& outcome);

    /// What plays where.
    const PlayEngine& engine() const { return engine_; }

    /// Reports every announcement that is not over.
    void publishAll() const;

    std::optional<SimTime> nextDue() const override { return engine_.nextDue(); }
    void takeDue() override;

private:
    std::optional<SimTime> lengthOf(const RequestPart& part) override;
    void partChanged(const PlayPart& part) override;
    void publish(const PlayPart& part) const;

    ServerContext& context_;
    PlayEngine engine_;
    int lastOwnId_ = 0;
};

}  // namespace simserver
