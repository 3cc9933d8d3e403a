// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>
#include <string>

#include "link/mqtt/BrokerOptions.h"

struct ssl_ctx_st;

namespace palink {

/// The TLS settings of one connection: whom it trusts, which host the broker's certificate must be
/// for, the client's own certificate. Remembers what was wrong. Used by one thread.
class TlsContext {
public:
    /// Reads the files of the options.
    /// @throws BrokerOptionsError when one cannot be used
    explicit TlsContext(const BrokerOptions& options);
    TlsContext(const TlsContext&) = delete;
    TlsContext& operator=(const TlsContext&) = delete;
    ~TlsContext();

    /// For the library, which counts its own use.
    [[nodiscard]] ssl_ctx_st* get() const;

    /// Whether the handshake is complete.
    [[nodiscard]] bool isEstablished() const;

    /// Why this side or the broker does not accept the other, for people. Empty when both do.
    [[nodiscard]] std::string problem() const;

private:
    struct State;
    const std::unique_ptr<State> state_;
};

}  // namespace palink
