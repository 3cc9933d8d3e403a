// SPDX-License-Identifier: Apache-2.0
#include "bench/link/PlainClient.h"

#include <mqtt_protocol.h>
#include <poll.h>
#include <stdexcept>
#include <utility>

namespace bench {

namespace {

constexpr int keepAliveSeconds = 60;

}  // namespace

PlainClient::PlainClient(int port)
    : client_((mosquitto_lib_init(), mosquitto_new(nullptr, true, this))) {
    mosquitto_int_option(client_, MOSQ_OPT_PROTOCOL_VERSION, MQTT_PROTOCOL_V5);
    mosquitto_int_option(client_, MOSQ_OPT_TCP_NODELAY, 1);
    mosquitto_property_add_string_pair(&generation_, MQTT_PROP_USER_PROPERTY, "generation",
                                       std::to_string(stationGeneration).c_str());
    mosquitto_connect_callback_set(client_, [](mosquitto* /*client*/, void* self, int code) {
        static_cast<PlainClient*>(self)->isAccepted_ = code == MQTT_RC_SUCCESS;
    });
    mosquitto_publish_callback_set(client_, [](mosquitto* /*client*/, void* self, int /*id*/) {
        static_cast<PlainClient*>(self)->isAcknowledged_ = true;
    });
    mosquitto_message_callback_set(
        client_, [](mosquitto* /*client*/, void* self, const mosquitto_message* message) {
            static_cast<PlainClient*>(self)->take_(*message);
        });
    require(mosquitto_connect(client_, "127.0.0.1", port, keepAliveSeconds));
    runUntil([this] { return isAccepted_; });
}

PlainClient::~PlainClient() {
    mosquitto_property_free_all(&generation_);
    mosquitto_destroy(client_);
}

void PlainClient::publish(const PublishedRecord& record) {
    require(mosquitto_publish_v5(client_, nullptr, record.topic.c_str(),
                                 static_cast<int>(record.payload.size()), record.payload.data(), 0,
                                 true, generation_));
    while (mosquitto_want_write(client_)) {
        pollfd polled{mosquitto_socket(client_), POLLOUT, 0};
        poll(&polled, 1, waitMS);
        require(mosquitto_loop_write(client_, 1));
    }
}

void PlainClient::flush() {
    isAcknowledged_ = false;
    require(mosquitto_publish(client_, nullptr, "bench/end", 0, nullptr, 1, false));
    runUntil([this] { return isAcknowledged_; });
}

void PlainClient::subscribe(const std::string& topic,
                            std::function<void(const mosquitto_message&)> take) {
    take_ = std::move(take);
    require(mosquitto_subscribe(client_, nullptr, topic.c_str(), 0));
}

void PlainClient::require(int result) {
    if (result != MOSQ_ERR_SUCCESS) {
        throw std::runtime_error(std::string("the library has failed: ") +
                                 mosquitto_strerror(result));
    }
}

}  // namespace bench
