// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <filesystem>
#include <memory>

#include "panel/http/HttpSettings.h"
#include "panel/http/Router.h"
#include "paserver/ServerChoice.h"

namespace papanel {

/// What the gateway is made with.
struct PanelSettings {
    paserver::ServerChoice server{};
    HttpSettings http{};
    std::filesystem::path users{};  ///< empty: everyone is an operator
    std::filesystem::path audit{};  ///< empty: in memory
    int auditDays = 90;
    std::string metricsToken{};  ///< a request that has it reads the metrics; empty: none
    bool isBehindProxy = false;  ///< `http.proxies` are then trusted
    bool isEncrypted = false;    ///< from the browser to this server, or to the proxy
};

/// The gateway: the connection to the audio server, and everything that serves pages. One for each
/// process at a time.
class Panel {
public:
    /// Serves from then on; connects to the audio server meanwhile.
    /// @throws std::exception with a text for people when a file or an address cannot be used
    explicit Panel(const PanelSettings& settings);
    /// The same at a server that is there.
    Panel(const PanelSettings& settings, std::unique_ptr<paclient::Endpoint> endpoint);
    Panel(const Panel&) = delete;
    Panel& operator=(const Panel&) = delete;
    /// Stops, and waits until no request is being answered.
    ~Panel();

    /// Answers no more, and ends what waits. From any thread.
    void requestStop();

    /// Ends, releases and removes what is due. To be called about once a second.
    void keepHouse();

    /// Reads the certificate, its key and the users again. What cannot be used stays as it was, and
    /// the log states why.
    /// @return whether everything could be used
    bool readFiles();

    /// Where it serves, for a browser.
    [[nodiscard]] std::string url() const;
    [[nodiscard]] int port() const;

    [[nodiscard]] const Router& router() const;

private:
    struct Parts;

    const std::unique_ptr<Parts> parts_;
};

/// Every route of the API.
Routes allRoutes();

/// Whether only this machine reaches an address to listen on.
bool isLoopbackHost(const std::string& host);

}  // namespace papanel
