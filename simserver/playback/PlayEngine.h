// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <map>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "simserver/SimTime.h"
#include "simserver/protocol/Request.h"

namespace simserver {

enum class PartState { Queued, Playing, Finished, PreEmpted, Cancelled, Failed };

/// A part of a request, from its arrival to its end.
struct PlayPart {
    int key = 0;  ///< of its records; counts up in order of arrival
    std::string requestId;
    RequestPart request;
    long long level = 0;         ///< in effect: a relative level counts from 500
    std::string priority;        ///< as the request gives it, for people
    std::set<std::string> area;  ///< the zones of the request with their sub-zones
    std::set<std::string> held;  ///< those of them that it plays in
    PartState state = PartState::Queued;
    std::optional<SimTime> start;
    std::optional<SimTime> end;  ///< when it plays; nothing when it has no end of its own
    std::string outcome;         ///< reason of the end, empty before

    bool isOver() const { return state != PartState::Queued && state != PartState::Playing; }
    bool isLive() const { return std::holds_alternative<LiveContent>(request.content); }
};

/// What the engine needs of the server around it.
class PlayHost {
public:
    virtual ~PlayHost() = default;

    /// How long a part lasts that is about to begin; nothing when it has no end of its own.
    /// @throws Refused when it cannot be played after all
    virtual std::optional<SimTime> lengthOf(const RequestPart& part) = 0;

    /// A part has arrived or changed its state; for a part that is over it is the last call.
    virtual void partChanged(const PlayPart& part) = 0;
};

/// Decides what plays where and when. Passive: time is an argument that never decreases, no
/// threads, no clock.
///
/// Parts contend in each zone, audio parts with audio parts and visual parts with visual parts. The
/// higher level wins; equal levels wait in order of arrival. A part begins when in each of its
/// zones nothing of an equal or higher level plays and no waiting part ahead of it wants the zone.
/// It takes its zones from lower parts, which play on in the zones that they have left and are over
/// when they have none. A display without an end gives way to an equal level as well.
///
/// A live part is different, since its source stays open: it takes each of its zones as soon as it
/// may, plays while it has any, and waits again when it has none. It is over when it is ended.
class PlayEngine {
public:
    /// @param zones ids of all zones
    /// @param host  must outlive the engine
    PlayEngine(std::vector<std::string> zones, PlayHost& host);

    /// Queues the parts of a checked request, and begins those that may begin at once.
    void play(const RequestToPlay& request, SimTime now);

    /// Ends every part that the request names.
    /// @return whether there was any
    bool cancel(const CancelRequest& request, SimTime now);

    /// Ends every part of a request as finished.
    /// @param outcome reason, for people
    void end(const std::string& requestId, const std::string& outcome, SimTime now);

    /// Has the live part of a request play in other zones; its other part keeps its zones.
    void moveLive(const std::string& requestId, const std::vector<std::string>& zones, SimTime now);

    /// When a part ends next by itself; nothing when none will.
    std::optional<SimTime> nextDue() const;

    /// Ends every part whose time has come, and begins those that may then begin. `now` is not
    /// later than `nextDue()`.
    void playDue(SimTime now);

    /// Every part that is not over, by its key.
    const std::map<int, PlayPart>& parts() const { return parts_; }

    bool isActive(const std::string& requestId) const;

    /// A key that no part has, for an announcement that is not played.
    int newKey() { return ++lastKey_; }

    /// The part that plays in a zone, null for none.
    const PlayPart* playingIn(const std::string& zone, Medium medium) const;

private:
    /// What one part can hold: a medium in a zone.
    using Spot = std::pair<Medium, std::string>;

    std::set<std::string> areaOf(const std::vector<std::string>& zones) const;
    static std::set<Spot> missing(const PlayPart& part);
    std::vector<int> wantingInOrder() const;
    bool mayTake(const Spot& spot, const PlayPart& part, const std::set<Spot>& wanted) const;
    void beginWhatMay(SimTime now);
    void begin(PlayPart& part, const std::set<Spot>& spots, SimTime now);
    void take(const Spot& spot, PlayPart& part);
    void leave(const Spot& spot, PlayPart& part);
    void finish(int key, PartState state, const std::string& outcome);
    template <class Chosen>
    bool finishAll(Chosen chosen, PartState state, const std::string& outcome);

    const std::vector<std::string> zones_;
    PlayHost& host_;
    std::map<int, PlayPart> parts_;
    std::map<Spot, int> holders_;  // key of the part that plays there
    int lastKey_ = 0;
};

}  // namespace simserver
