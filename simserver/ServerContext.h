// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>

#include "simserver/Publisher.h"
#include "simserver/SimClock.h"
#include "simserver/audio/UploadFolder.h"
#include "simserver/playback/PlayableContent.h"
#include "simserver/state/StateStore.h"
#include "simserver/station/Station.h"

namespace simserver {

/// The folder of uploads: in the state folder, unless another is given. When the state folder is
/// read-only it is a temporary one that begins with the files there.
inline UploadFolder uploadsFor(const Options& options, const StateStore& state) {
    if (!options.spool.empty() || options.state.empty()) {
        return UploadFolder(options.spool);
    }
    const std::filesystem::path kept = options.state / "uploads";
    return state.isLasting() ? UploadFolder(kept) : UploadFolder("", kept);
}

/// What the parts of a server share. The server's lock guards it, but for what is constant.
struct ServerContext {
    ServerContext(Station initial, const Options& options)
        : clock(options),
          state(options.state),
          uploads(uploadsFor(options, state)),
          station(std::move(initial)),
          content(station, uploads),
          publisher(station.dstNo) {}
    ServerContext(const ServerContext&) = delete;
    ServerContext& operator=(const ServerContext&) = delete;

    SimClock clock;
    StateStore state;
    const UploadFolder uploads;
    Station station;  ///< the lists and what a client cannot change are as at the start
    const PlayableContent content;
    Publisher publisher;
};

/// A part of the server in which something happens at simulated times.
class TimedPart {
public:
    virtual ~TimedPart() = default;

    /// When something happens next; nothing when nothing will.
    virtual std::optional<SimTime> nextDue() const = 0;

    /// Does everything that is due at the clock's `now`, which is not later than the next due time
    /// of any part.
    virtual void takeDue() = 0;
};

}  // namespace simserver
