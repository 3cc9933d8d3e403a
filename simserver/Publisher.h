// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <utility>

#include "link/Transport.h"

namespace simserver {

/// Sends events to the connected client, to no client otherwise. The server's lock guards it.
class Publisher {
public:
    /// @param dstNo destination number of the server
    explicit Publisher(int dstNo) : dstNo_(dstNo) {}

    void connect(palink::ServerEventSink& client) { client_ = &client; }
    void disconnect() { client_ = nullptr; }

    void event(palink::ServerEvent event) const {
        if (client_ != nullptr) {
            client_->deliver(std::move(event));
        }
    }

    void record(pa::RecordKind kind, int key, pa::RecordFields fields) const {
        event(palink::Record{dstNo_, kind, key, std::move(fields)});
    }

    void withdrawal(pa::RecordKind kind, int key) const {
        event(palink::Withdrawal{dstNo_, kind, key});
    }

private:
    const int dstNo_;
    palink::ServerEventSink* client_ = nullptr;
};

}  // namespace simserver
