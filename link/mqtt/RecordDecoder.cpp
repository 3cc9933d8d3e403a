// SPDX-License-Identifier: Apache-2.0
#include "link/mqtt/RecordDecoder.h"

#include <exception>
#include <utility>

#include "link/mqtt/recordPayload.h"
#include "link/mqtt/topics.h"

namespace palink {

void RecordDecoder::deliver(ServerEvent event) {
    auto* const record = std::get_if<Record>(&event);
    if (record == nullptr || decode(*record)) {
        sink_->deliver(std::move(event));
    }
}

/// @return whether it is a record
bool RecordDecoder::decode(Record& record) try {
    record.fields = decodeRecord(record.fields.at(0).value());
    return true;
} catch (const std::exception& e) {
    faults_.report(topics::record(record.dstNo, record.kind, record.key), e.what());
    return false;
}

}  // namespace palink
