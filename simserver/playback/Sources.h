// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "simserver/ServerContext.h"
#include "simserver/playback/LiveAnnouncements.h"
#include "simserver/playback/SourceLocks.h"
#include "simserver/playback/Triggers.h"

namespace simserver {

/// The sources: their locks, attached zones and gains. A locked source plays in its zones. The
/// server's lock guards it.
class Sources {
public:
    /// All must outlive the object.
    Sources(ServerContext& context, LiveAnnouncements& live, Triggers& triggers);

    /// @name Operations
    /// @throws Refused; then nothing has changed
    /// @{
    void lock(const std::string& payload);
    void unlock(const std::string& payload);
    void extendLock(const std::string& payload);
    void attachZones(const std::string& payload);
    void detachZones(const std::string& payload);
    void setGain(const std::string& payload);
    /// @}

    /// While on, extensions of locks do nothing.
    void ignoreRenewals(bool on) { renewalsIgnored_ = on; }
    bool ignoresRenewals() const { return renewalsIgnored_; }

    /// When a lock lapses next, by the real clock in ms; nothing when there is none.
    std::optional<std::int64_t> nextLapse() const { return locks_.nextLapse(); }

    /// Ends every lock whose time has come.
    /// @return whether there was any
    bool takeLapsed();

    /// Reports every source, then the zones that are attached to each.
    void publishAll() const;

private:
    void restore();
    Source& sourceOf(int id) const;
    void changeZones(Source& source, std::vector<std::string> zones);
    void followLock(const Source& source, const std::string& whyEnded);
    void publish(const Source& source) const;
    void publishZones(const Source& source) const;

    ServerContext& context_;
    LiveAnnouncements& live_;
    Triggers& triggers_;
    SourceLocks locks_;
    bool renewalsIgnored_ = false;
};

}  // namespace simserver
