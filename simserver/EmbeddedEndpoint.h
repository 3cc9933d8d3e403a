// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>
#include <shared_mutex>
#include <string>

#include "client/Endpoint.h"
#include "link/embedded/EmbeddedTransport.h"
#include "simserver/SimControl.h"
#include "simserver/SimServer.h"
#include "simserver/station/Station.h"

namespace simserver {

/// A simulated server in the process of its client.
///
/// Every function may be called from any thread; those of `SimControl` not from a callback of an
/// observer.
class EmbeddedEndpoint final : public paclient::Endpoint,
                               public SimControl,
                               private palink::EmbeddedServer {
public:
    /// Starts the server; throws what the constructor of `SimServer` throws.
    explicit EmbeddedEndpoint(Station station, Options options = {});
    ~EmbeddedEndpoint() override;

    palink::Transport& transport() override { return transport_; }
    SimControl* simControl() override { return this; }
    std::string name() const override { return "embedded server"; }
    bool endsWithProcess() const override { return true; }

    void setTrigger(int triggerId, bool active) override;
    void setSelector(int selectorId, int state) override;
    void lockSource(int sourceId, const std::string& client) override;
    void unlockSource(int sourceId, const std::string& client) override;
    void ignoreRenewals(bool on) override;
    void ignoreRequests(bool on) override;
    IgnoredOperations ignored() const override;
    Contents contents() const override;
    void dropClient() override;
    void restart() override;

private:
    void connectClient(palink::ServerEventSink& client) override;
    void disconnectClient() override;
    void handleOperation(const pa::Operation& operation) override;
    void finishReports() override;
    void meterLevel(bool subscribe, int element) override;
    palink::UploadResult storeFile(const std::string& localPath,
                                   const std::string& serverPath) override;

    template <class Call>
    auto withServer(Call call) const;

    const Station station_;
    const Options options_;
    mutable std::shared_mutex replaced_;  // held exclusively while the server is replaced
    std::unique_ptr<SimServer> server_;   // guarded by replaced_; null when it did not start again
    palink::EmbeddedTransport transport_;
};

}  // namespace simserver
