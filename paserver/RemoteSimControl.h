// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>
#include <string>

#include "link/mqtt/answer.h"
#include "simserver/SimControl.h"

namespace paserver {

/// The own side of a simulated server on a broker. Every function may be called from any thread but
/// that of a callback; it waits for the answer.
class RemoteSimControl final : public simserver::SimControl {
public:
    /// Sends a control message with its arguments, a JSON object, and waits for the answer.
    /// @throws std::runtime_error when there is none
    using Sender =
        std::function<palink::Answer(const std::string& function, const std::string& arguments)>;

    explicit RemoteSimControl(Sender send) : send_(std::move(send)) {}

    void setTrigger(int triggerId, bool active) override;
    void setSelector(int selectorId, int state) override;
    void lockSource(int sourceId, const std::string& client) override;
    void unlockSource(int sourceId, const std::string& client) override;
    void ignoreRenewals(bool on) override;
    void ignoreRequests(bool on) override;
    simserver::IgnoredOperations ignored() const override;
    simserver::Contents contents() const override;
    void dropClient() override;
    void restart() override;

private:
    const Sender send_;
};

}  // namespace paserver
