// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>

#include "../Transport.h"
#include "FaultReports.h"

namespace palink {

/// Passes events on, on the thread that delivers them. A record waits for that with its payload as
/// its only field, so that the network's thread does not read it; here it gets its fields. One that
/// is malformed is reported and dropped.
class RecordDecoder final : public ServerEventSink {
public:
    explicit RecordDecoder(FaultReports& faults) : faults_(faults) {}

    /// Before the first event.
    void passTo(ServerEventSink& sink) { sink_ = &sink; }

    void deliver(ServerEvent event) override;
    void beginBatch(std::int64_t arrivedUS) override { sink_->beginBatch(arrivedUS); }
    void endBatch() override { sink_->endBatch(); }

private:
    bool decode(Record& record);

    FaultReports& faults_;
    ServerEventSink* sink_ = nullptr;
};

}  // namespace palink
