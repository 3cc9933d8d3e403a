// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "client/Change.h"
#include "client/describe.h"

/// @file
/// The members of what is reported beside records.

namespace paclient {

template <>
struct Members<LockChange> {
    template <class Record, class Visit>
    static void visit(Record& record, Visit& visit) {
        visit("sourceId", record.sourceId);
        visit("lockedUUID", record.lockedUUID);
        visit("before", record.before);
    }
};

template <>
struct Members<AttachedZonesReport> {
    template <class Record, class Visit>
    static void visit(Record& record, Visit& visit) {
        visit("sourceId", record.sourceId);
    }
};

template <>
struct Members<Retrieval> {
    template <class Record, class Visit>
    static void visit(Record& record, Visit& visit) {
        visit("requestId", record.requestId);
        visit("success", record.success);
        visit("error", record.error);
        visit("uri", record.uri);
    }
};

template <>
struct Members<palink::ConnectionChange> {
    template <class Record, class Visit>
    static void visit(Record& record, Visit& visit) {
        visit("state", record.state);
        visit("number", record.number);
        visit("reason", record.reason);
    }
};

template <>
struct Members<pa::DroppedOperation> {
    template <class Record, class Visit>
    static void visit(Record& record, Visit& visit) {
        visit("reason", record.reason);
        visit("operationClass", record.type.classNo);
        visit("operationNumber", record.type.number);
        visit("requestId", record.requestId);
        visit("text", record.text);
        visit("ageMS", record.ageMS);
        visit("count", record.count);
    }
};

template <>
struct Members<SentOperation> {
    template <class Record, class Visit>
    static void visit(Record& record, Visit& visit) {
        visit("operationClass", record.operation.type.classNo);
        visit("operationNumber", record.operation.type.number);
    }
};

template <>
struct Members<Lost> {
    template <class Record, class Visit>
    static void visit(Record& record, Visit& visit) {
        visit("count", record.count);
    }
};

}  // namespace paclient
