// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <string>

#include "simserver/ServerContext.h"
#include "simserver/playback/Playback.h"
#include "simserver/schedules/Scheduler.h"

namespace simserver {

/// The schedules of the station, which play by themselves. The server's lock guards it.
class Schedules final : public TimedPart {
public:
    /// Both must outlive the object.
    Schedules(ServerContext& context, Playback& playback);

    /// @name Operations
    /// @throws Refused; then nothing has changed
    /// @{
    void put(const std::string& payload);
    void remove(const std::string& payload);
    /// @}

    /// Reports every schedule.
    void publishAll() const;

    std::optional<SimTime> nextDue() const override;
    void takeDue() override;

private:
    RequestPart requestPart(const SchedulePart& scheduled) const;
    void publish(const Schedule& schedule) const;

    ServerContext& context_;
    Playback& playback_;
    Scheduler scheduler_;
};

}  // namespace simserver
