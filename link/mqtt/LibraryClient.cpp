// SPDX-License-Identifier: Apache-2.0
#include "link/mqtt/LibraryClient.h"

#include <csignal>
#include <mosquitto.h>
#include <new>

namespace palink {

namespace {

mosquitto* newClient() {
    static const int initialised = mosquitto_lib_init();  // once in a process
    struct sigaction settingOfApplication {};
    sigaction(SIGPIPE, nullptr, &settingOfApplication);
    mosquitto* const client =
        initialised == MOSQ_ERR_SUCCESS ? mosquitto_new(nullptr, true, nullptr) : nullptr;
    sigaction(SIGPIPE, &settingOfApplication, nullptr);
    if (client == nullptr) {
        throw std::bad_alloc();
    }
    return client;
}

}  // namespace

LibraryClient::LibraryClient() : client_(newClient()) {}

LibraryClient::~LibraryClient() {
    mosquitto_destroy(client_);
}

}  // namespace palink
