#pragma once

#include <map>
#include <mutex>
#include <string>

#include "link/embedded/EmbeddedTransport.h"

namespace console {

/// Whether a renewal is refused. That can happen to one that crosses with the release of the
/// source; what matters is that the lock is gone.
bool isOfRenewal(const palink::Refusal& refusal);

/// Stands before a server, hands everything on, and counts how often the lock of each source is
/// renewed. May be used from any thread.
class RenewalCounter final : public palink::EmbeddedServer {
public:
    /// @param server must outlive the counter
    explicit RenewalCounter(palink::EmbeddedServer& server) : server_(server) {}

    void connectClient(palink::ServerEventSink& client) override { server_.connectClient(client); }
    void disconnectClient() override { server_.disconnectClient(); }
    void handleOperation(const pa::Operation& operation) override;
    void meterLevel(bool subscribe, int element) override {
        server_.meterLevel(subscribe, element);
    }
    palink::UploadResult storeFile(const std::string& localPath,
                                   const std::string& serverPath) override {
        return server_.storeFile(localPath, serverPath);
    }

    int renewalsOf(int sourceId) const;

private:
    palink::EmbeddedServer& server_;
    mutable std::mutex lock_;
    std::map<std::string, int> renewals_;  // by source number; guarded by lock_
};

}  // namespace console
