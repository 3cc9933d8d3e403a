// SPDX-License-Identifier: Apache-2.0
#include "link/mqtt/BrokerSession.h"

#include <cerrno>
#include <exception>
#include <mosquitto.h>
#include <mqtt_protocol.h>
#include <new>
#include <poll.h>
#include <sys/socket.h>
#include <system_error>
#include <utility>

#include "framework/log.h"
#include "link/mqtt/LibraryClient.h"
#include "link/mqtt/libraryMessage.h"

namespace palink {

namespace {

constexpr int keepAliveSeconds = 10;
constexpr int mostInFlight = 65535;  // of QoS 1 in each direction; the broker may allow fewer
constexpr int firstError = 0x80;     // of MQTT 5's reason codes
constexpr int packetsPerStep = 1000;

/// The library takes no const pointers, but does not write.
std::vector<char*> libraryTopics(const std::vector<std::string>& topics) {
    std::vector<char*> pointers;
    pointers.reserve(topics.size());
    for (const std::string& topic : topics) {
        pointers.push_back(const_cast<char*>(topic.c_str()));
    }
    return pointers;
}

}  // namespace

/// What the library calls. It is written in C: no exception may pass.
struct BrokerSession::Callbacks {
    template <class Call>
    static void run(Call call) {
        try {
            call();
        } catch (const std::exception& e) {
            handleError(2, "a message of the broker was not used: %s", e.what());
        }
    }

    static void connected(mosquitto* /*client*/, void* session, int code, int /*flags*/,
                          const mosquitto_property* /*properties*/) {
        auto& self = *static_cast<BrokerSession*>(session);
        self.refusal_ = code;
        self.isAccepted_ = code == MQTT_RC_SUCCESS;
        if (self.isAccepted_) {
            run([&] { self.listener_.onAccepted(); });
        }
    }

    static void disconnected(mosquitto* /*client*/, void* session, int code,
                             const mosquitto_property* /*properties*/) {
        auto& self = *static_cast<BrokerSession*>(session);
        if (code >= firstError && self.isAccepted_) {
            self.endWith({endedConnection(code), false});
        }
    }

    static void arrived(mosquitto* /*client*/, void* session, const mosquitto_message* message,
                        const mosquitto_property* properties) {
        auto& self = *static_cast<BrokerSession*>(session);
        run([&] { self.listener_.onMessage(LibraryMessage(*message, properties)); });
    }

    static void published(mosquitto* /*client*/, void* session, int id, int code,
                          const mosquitto_property* /*properties*/) {
        auto& self = *static_cast<BrokerSession*>(session);
        run([&] { self.listener_.onAcknowledged(id, code); });
    }

    static void subscribed(mosquitto* /*client*/, void* session, int id, int count,
                           const int* codes, const mosquitto_property* /*properties*/) {
        auto& self = *static_cast<BrokerSession*>(session);
        run([&] { self.listener_.onSubscribed(id, std::vector<int>(codes, codes + count)); });
    }
};

BrokerSession::BrokerSession(LibraryClient& library, const BrokerOptions& options,
                             const std::string& clientId, const MqttMessage* will,
                             SessionListener& listener)
    : client_(library.get()), options_(options), clientId_(clientId), listener_(listener) {
    if (options.tls) {
        tls_.emplace(options);
    } else if (!(options.caFile.empty() && options.certificateFile.empty() &&
                 options.keyFile.empty())) {
        throw BrokerOptionsError(options.url() + ": authorities and certificates need mqtts://");
    }
    if (mosquitto_reinitialise(client_, clientId.c_str(), true, this) != MOSQ_ERR_SUCCESS) {
        throw std::bad_alloc();
    }
    try {
        configure(will);
    } catch (...) {
        mosquitto_reinitialise(client_, nullptr, true, nullptr);
        throw;
    }
}

BrokerSession::~BrokerSession() {
    mosquitto_reinitialise(client_, nullptr, true, nullptr);
}

void BrokerSession::configure(const MqttMessage* will) {
    mosquitto_threaded_set(client_, true);
    mosquitto_int_option(client_, MOSQ_OPT_PROTOCOL_VERSION, MQTT_PROTOCOL_V5);
    mosquitto_int_option(client_, MOSQ_OPT_TCP_NODELAY, 1);
    mosquitto_int_option(client_, MOSQ_OPT_RECEIVE_MAXIMUM, mostInFlight);
    mosquitto_int_option(client_, MOSQ_OPT_SEND_MAXIMUM, mostInFlight);
    if (tls_) {
        mosquitto_int_option(client_, MOSQ_OPT_SSL_CTX_WITH_DEFAULTS, 0);
        mosquitto_void_option(client_, MOSQ_OPT_SSL_CTX, tls_->get());
    }
    if (!options_.user.empty() &&
        mosquitto_username_pw_set(client_, options_.user.c_str(), options_.password.c_str()) !=
            MOSQ_ERR_SUCCESS) {
        throw BrokerOptionsError("the user name is not in UTF-8");
    }
    if (will != nullptr) {
        PropertyList properties(*will);
        requireTaken(mosquitto_will_set_v5(client_, will->topic.c_str(),
                                           static_cast<int>(will->payload.size()),
                                           will->payload.data(), will->qos, will->retained,
                                           const_cast<mosquitto_property*>(properties.get())),
                     *will);
        properties.release();
    }
    mosquitto_connect_v5_callback_set(client_, Callbacks::connected);
    mosquitto_disconnect_v5_callback_set(client_, Callbacks::disconnected);
    mosquitto_message_v5_callback_set(client_, Callbacks::arrived);
    mosquitto_publish_v5_callback_set(client_, Callbacks::published);
    mosquitto_subscribe_v5_callback_set(client_, Callbacks::subscribed);
}

// ---------------------------------------------------------------------------------- connection

void BrokerSession::connect(const std::string& address) {
    errno = 0;
    const int result = mosquitto_connect_bind_async(client_, address.c_str(), options_.port,
                                                    keepAliveSeconds, nullptr);
    firstFault_ = errno == EINPROGRESS || errno == EAGAIN ? 0 : errno;
    check(result);
}

short BrokerSession::wantedEvents() const {
    const bool wantsToWrite = !isReached_ || mosquitto_want_write(client_);
    return static_cast<short>(POLLIN | (wantsToWrite ? POLLOUT : 0));
}

int BrokerSession::descriptor() const {
    return mosquitto_socket(client_);
}

bool BrokerSession::proceed(short events) {
    if (isEnded_) {
        return false;
    }
    if (!isReached_) {
        if (events == 0) {
            return true;
        }
        if (!finishConnecting()) {
            return false;
        }
    }
    // The library continues the TLS handshake when it reads.
    const bool isHandshake = tls_ && !tls_->isEstablished();
    if ((events & ~POLLOUT) != 0 || (isHandshake && events != 0)) {
        if (!read()) {
            return false;
        }
        // The library tries the handshake again and again on a connection that is gone.
        if (isHandshake && (events & (POLLHUP | POLLERR)) != 0) {
            return fail(MOSQ_ERR_TLS);
        }
    }
    if (mosquitto_want_write(client_) && !check(mosquitto_loop_write(client_, 1))) {
        return false;
    }
    return check(mosquitto_loop_misc(client_));
}

/// The system has connected, or has found that it cannot.
bool BrokerSession::finishConnecting() {
    int failure = 0;
    socklen_t size = sizeof(failure);
    getsockopt(descriptor(), SOL_SOCKET, SO_ERROR, &failure, &size);
    sockaddr_storage peer{};
    socklen_t peerSize = sizeof(peer);
    if (failure == 0 &&
        getpeername(descriptor(), reinterpret_cast<sockaddr*>(&peer), &peerSize) != 0) {
        failure = firstFault_;  // TLS has taken it from the socket; 0: the peer has closed it
    }
    // A connection that is reset already was there: what arrived may have the reason.
    isReached_ = failure == 0 || failure == ECONNRESET;
    errno = failure;
    return isReached_ || fail(MOSQ_ERR_ERRNO);
}

bool BrokerSession::read() {
    for (int packets = 0; packets < packetsPerStep; ++packets) {
        errno = 0;
        if (!check(mosquitto_loop_read(client_, 1))) {
            return false;
        }
        if (errno == EAGAIN) {
            break;
        }
    }
    return true;
}

void BrokerSession::disconnect() {
    check(mosquitto_disconnect_v5(client_, MQTT_RC_NORMAL_DISCONNECTION, nullptr));
}

/// @return whether the connection continues after a call of the library
bool BrokerSession::check(int result) {
    if (isEnded_) {
        return false;
    }
    if (result != MOSQ_ERR_SUCCESS || descriptor() < 0) {
        return fail(result);
    }
    return true;
}

/// Finds out why the connection has ended. @return false
bool BrokerSession::fail(int result) {
    const std::string systemReason = std::generic_category().message(errno);
    if (tls_ && !tls_->problem().empty()) {
        return endWith({tls_->problem(), true});
    }
    if (refusal_ != MQTT_RC_SUCCESS) {
        return endWith(refusedConnection(refusal_, options_, clientId_));
    }
    if (!isReached_) {
        const bool isOfSystem = result == MOSQ_ERR_ERRNO && errno != 0;
        return endWith(
            {"cannot connect: " + (isOfSystem ? systemReason : mosquitto_strerror(result)), false});
    }
    if (tls_ && !tls_->isEstablished()) {
        return endWith({"what answers there does not speak TLS", false});
    }
    if (result == MOSQ_ERR_KEEPALIVE) {
        return endWith({"the broker does not answer any more", false});
    }
    if (result == MOSQ_ERR_PROTOCOL || result == MOSQ_ERR_MALFORMED_PACKET) {
        return endWith({"what answers there does not speak MQTT 5", false});
    }
    return endWith({isAccepted_ ? "the broker has closed the connection"
                                : "what answers there has closed the connection: it may not be a "
                                  "broker, or expect TLS",
                    false});
}

/// @return false
bool BrokerSession::endWith(ConnectionEnd end) {
    isEnded_ = true;
    end_ = std::move(end);
    return false;
}

// ------------------------------------------------------------------------------------- messages

std::optional<int> BrokerSession::publish(const MqttMessage& message) {
    if (message.payload.size() > MQTT_MAX_PAYLOAD) {
        requireTaken(MOSQ_ERR_PAYLOAD_SIZE, message);
    }
    const PropertyList properties(message);
    int id = 0;
    const int result = mosquitto_publish_v5(
        client_, &id, message.topic.c_str(), static_cast<int>(message.payload.size()),
        message.payload.data(), message.qos, message.retained, properties.get());
    if (result == MOSQ_ERR_NO_CONN || result == MOSQ_ERR_CONN_LOST) {
        return std::nullopt;
    }
    requireTaken(result, message);
    return id;
}

int BrokerSession::subscribe(const std::vector<std::string>& topics, int qos, bool noLocal) {
    const std::vector<char*> pointers = libraryTopics(topics);
    int id = 0;
    mosquitto_subscribe_multiple(client_, &id, static_cast<int>(pointers.size()), pointers.data(),
                                 qos, noLocal ? MQTT_SUB_OPT_NO_LOCAL : 0, nullptr);
    return id;
}

void BrokerSession::unsubscribe(const std::vector<std::string>& topics) {
    const std::vector<char*> pointers = libraryTopics(topics);
    mosquitto_unsubscribe_multiple(client_, nullptr, static_cast<int>(pointers.size()),
                                   pointers.data(), nullptr);
}

}  // namespace palink
