// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <string>

#include "simserver/ServerContext.h"
#include "simserver/playback/LiveAnnouncements.h"

namespace simserver {

/// The hardware triggers with their timetables and selectors, and the software triggers. An active
/// trigger opens its source. The server's lock guards it.
class Triggers final : public TimedPart {
public:
    /// Both must outlive the object.
    Triggers(ServerContext& context, LiveAnnouncements& live);

    /// @name Operations on software triggers
    /// @throws Refused; then nothing has changed
    /// @{
    void activate(const std::string& payload);
    void deactivate(const std::string& payload);
    /// @}

    /// Closes or opens the contact of a hardware trigger.
    /// @throws Refused when there is no such trigger
    void setTrigger(int triggerId, bool active);

    /// Puts a selector into a state, by the number of its records.
    /// @throws Refused when there is no such selector or state
    void setSelector(int selectorId, int state);

    /// Moves what triggers play in the attached zones of a source, which have changed.
    /// @param whyEnded outcome of what has no zone now
    void followZones(const Source& source, const std::string& whyEnded);

    /// Reports every hardware trigger, then every selector.
    void publishAll() const;

    std::optional<SimTime> nextDue() const override;
    void takeDue() override;

private:
    void turn(Trigger& trigger, bool active);
    void turn(Selector& selector, int state);
    void follow(const Trigger& trigger, const std::string& whyEnded);
    void publish(const Trigger& trigger) const;
    void publish(const Selector& selector) const;

    ServerContext& context_;
    LiveAnnouncements& live_;
    SimTime timetablesDone_{-1};  // so far
};

}  // namespace simserver
