// SPDX-License-Identifier: Apache-2.0
#include "link/mqtt/TlsContext.h"

#include <arpa/inet.h>
#include <openssl/err.h>
#include <openssl/ssl.h>
#include <openssl/x509v3.h>

namespace palink {

struct TlsContext::State {
    std::string host;
    bool hostIsAddress = false;
    std::unique_ptr<SSL_CTX, decltype(&SSL_CTX_free)> context{nullptr, SSL_CTX_free};
    bool isEstablished = false;
    int verifyError = X509_V_OK;
    int alert = 0;  // the last one of the broker

    /// Of the connection that OpenSSL calls for.
    static State& stateOf(const ssl_st* ssl) {
        return *static_cast<State*>(SSL_CTX_get_ex_data(SSL_get_SSL_CTX(ssl), 0));
    }
};

namespace {

[[noreturn]] void refuseFile(const std::filesystem::path& file, const std::string& what) {
    const char* const reason = ERR_reason_error_string(ERR_peek_error());
    ERR_clear_error();
    throw BrokerOptionsError("cannot use " + what + " " + file.string() +
                             (reason == nullptr ? "" : std::string(": ") + reason));
}

bool isAddress(const std::string& host) {
    in6_addr ignored{};
    return inet_pton(AF_INET, host.c_str(), &ignored) == 1 ||
           inet_pton(AF_INET6, host.c_str(), &ignored) == 1;
}

void trust(SSL_CTX* context, const std::filesystem::path& caFile) {
    if (caFile.empty()) {
        SSL_CTX_set_default_verify_paths(context);
    } else if (SSL_CTX_load_verify_locations(context, caFile.c_str(), nullptr) != 1) {
        refuseFile(caFile, "the certificates of authorities in");
    }
}

/// A passphrase is not asked for on the terminal.
int noPassphrase(char* /*buffer*/, int /*size*/, int /*isForWriting*/, void* /*data*/) {
    return 0;
}

void identify(SSL_CTX* context, const BrokerOptions& options) {
    SSL_CTX_set_default_passwd_cb(context, noPassphrase);
    if (options.certificateFile.empty() != options.keyFile.empty()) {
        throw BrokerOptionsError("a client certificate and its private key belong together: one " +
                                 std::string("of the two files is missing"));
    }
    if (options.certificateFile.empty()) {
        return;
    }
    if (SSL_CTX_use_certificate_chain_file(context, options.certificateFile.c_str()) != 1) {
        refuseFile(options.certificateFile, "the client certificate");
    }
    if (SSL_CTX_use_PrivateKey_file(context, options.keyFile.c_str(), SSL_FILETYPE_PEM) != 1) {
        refuseFile(options.keyFile, "the private key");
    }
}

}  // namespace

TlsContext::TlsContext(const BrokerOptions& options) : state_(std::make_unique<State>()) {
    ERR_clear_error();
    state_->host = options.host;
    state_->hostIsAddress = isAddress(options.host);
    state_->context.reset(SSL_CTX_new(TLS_client_method()));
    SSL_CTX* const context = state_->context.get();
    if (context == nullptr) {
        throw BrokerOptionsError("TLS cannot be used on this machine");
    }
    SSL_CTX_set_min_proto_version(context, TLS1_2_VERSION);
    SSL_CTX_set_mode(context, SSL_MODE_ENABLE_PARTIAL_WRITE | SSL_MODE_ACCEPT_MOVING_WRITE_BUFFER);
    trust(context, options.caFile);
    identify(context, options);

    X509_VERIFY_PARAM* const expected = SSL_CTX_get0_param(context);
    X509_VERIFY_PARAM_set_hostflags(expected, X509_CHECK_FLAG_NO_PARTIAL_WILDCARDS);
    const int isSet = state_->hostIsAddress
                          ? X509_VERIFY_PARAM_set1_ip_asc(expected, state_->host.c_str())
                          : X509_VERIFY_PARAM_set1_host(expected, state_->host.c_str(), 0);
    if (isSet != 1) {
        throw BrokerOptionsError("no certificate can be for the host " + state_->host);
    }
    SSL_CTX_set_ex_data(context, 0, state_.get());
    SSL_CTX_set_verify(context, SSL_VERIFY_PEER, [](int isGood, X509_STORE_CTX* check) {
        if (isGood != 1) {
            const void* const ssl =
                X509_STORE_CTX_get_ex_data(check, SSL_get_ex_data_X509_STORE_CTX_idx());
            State::stateOf(static_cast<const SSL*>(ssl)).verifyError =
                X509_STORE_CTX_get_error(check);
        }
        return isGood;
    });
    SSL_CTX_set_info_callback(context, [](const SSL* ssl, int event, int value) {
        State& state = State::stateOf(ssl);
        if ((event & SSL_CB_HANDSHAKE_START) != 0) {
            // The library connects to an address; the name that was asked for is the server's.
            SSL_ctrl(const_cast<SSL*>(ssl), SSL_CTRL_SET_TLSEXT_HOSTNAME, TLSEXT_NAMETYPE_host_name,
                     state.hostIsAddress ? nullptr : state.host.data());
        } else if ((event & SSL_CB_HANDSHAKE_DONE) != 0) {
            state.isEstablished = true;
        } else if ((event & SSL_CB_READ_ALERT) == SSL_CB_READ_ALERT) {
            constexpr int typeMask = 0xFF;
            state.alert = value & typeMask;
        }
    });
}

TlsContext::~TlsContext() = default;

ssl_ctx_st* TlsContext::get() const {
    return state_->context.get();
}

bool TlsContext::isEstablished() const {
    return state_->isEstablished;
}

std::string TlsContext::problem() const {
    switch (state_->verifyError) {
        case X509_V_OK:
            break;
        case X509_V_ERR_UNABLE_TO_GET_ISSUER_CERT:
        case X509_V_ERR_UNABLE_TO_GET_ISSUER_CERT_LOCALLY:
        case X509_V_ERR_UNABLE_TO_VERIFY_LEAF_SIGNATURE:
        case X509_V_ERR_CERT_SIGNATURE_FAILURE:
        case X509_V_ERR_DEPTH_ZERO_SELF_SIGNED_CERT:
        case X509_V_ERR_SELF_SIGNED_CERT_IN_CHAIN:
        case X509_V_ERR_CERT_UNTRUSTED:
            return "the broker's certificate is of an unknown authority";
        case X509_V_ERR_CERT_HAS_EXPIRED:
            return "the broker's certificate has expired";
        case X509_V_ERR_CERT_NOT_YET_VALID:
            return "the broker's certificate is not valid yet, or the clock of this machine is "
                   "wrong";
        case X509_V_ERR_HOSTNAME_MISMATCH:
        case X509_V_ERR_IP_ADDRESS_MISMATCH:
            return "the broker's certificate is not for the host " + state_->host;
        default:
            return std::string("the broker's certificate is not accepted: ") +
                   X509_verify_cert_error_string(state_->verifyError);
    }
    switch (state_->alert) {
        case SSL_AD_CLOSE_NOTIFY:
            return "";
        case SSL3_AD_NO_CERTIFICATE:
        case TLS13_AD_CERTIFICATE_REQUIRED:
        case SSL_AD_HANDSHAKE_FAILURE:
            return "the broker asks for a client certificate";
        case SSL_AD_CERTIFICATE_EXPIRED:
            return "the client certificate has expired";
        case SSL_AD_CERTIFICATE_REVOKED:
            return "the client certificate has been revoked";
        case SSL_AD_PROTOCOL_VERSION:
            return "the broker has no version of TLS that is secure enough";
        case SSL_AD_UNKNOWN_CA:
        case SSL_AD_BAD_CERTIFICATE:
        case SSL_AD_UNSUPPORTED_CERTIFICATE:
        case SSL_AD_CERTIFICATE_UNKNOWN:
            return "the broker does not accept the client certificate";
        default:
            return std::string("the broker refuses TLS: ") +
                   SSL_alert_desc_string_long(state_->alert);
    }
}

}  // namespace palink
