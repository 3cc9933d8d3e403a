// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "simserver/ServerContext.h"
#include "simserver/playback/PlayEngine.h"

namespace simserver {

/// The sinks, the zones, and what plays in them. The server's lock guards it.
class Sinks final : public TimedPart {
public:
    /// Both must outlive the object.
    Sinks(ServerContext& context, const PlayEngine& engine);

    /// @name Operations
    /// The effect is reported by the next `publishChanges`.
    /// @throws Refused; then nothing has changed
    /// @{
    void setGain(const std::string& payload);
    void setMonitoring(const std::string& payload);
    void reset(const std::string& payload);
    /// @}

    /// Reports the sinks and zones that have changed since they were last reported.
    void publishChanges();

    /// Reports every sink, then every zone.
    void publishAll() const;

    /// Ends the resets of sinks.
    std::optional<SimTime> nextDue() const override;
    void takeDue() override;

private:
    void restore();
    void publishSink(std::size_t place) const;
    void publishZone(std::size_t place) const;

    ServerContext& context_;
    const PlayEngine& engine_;
    std::map<int, SimTime> resets_;  // by sink: when it is healthy again
    std::set<int> changed_;          // sinks
    // As last reported, by place in the station.
    std::vector<bool> sinkPlays_;
    std::vector<const PartType*> zonePlays_;  // null for nothing
};

}  // namespace simserver
