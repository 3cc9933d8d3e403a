// SPDX-License-Identifier: Apache-2.0
#include "framework/threadClass.h"

#include <exception>
#include <stdexcept>

#include "framework/log.h"
#include "framework/posixThread.h"

using namespace pa;
namespace {

/// The object whose thread this is.
thread_local const threadClass* ownerOfThisThread = nullptr;

}  // namespace

threadClass::threadClass()
    : acrossFork_(pa::ForkRank::Controller, {{}, {}, [this] {
                                                 if (running_.load() && ownerOfThisThread != this) {
                                                     pa::goOnInChild([this] { launchAgain(); });
                                                 }
                                             }}) {}

threadClass::~threadClass() {
    if (running_.load()) {
        std::terminate();
    }
}

void threadClass::start(void* argument) {
    if (running_.exchange(true)) {
        throw std::logic_error("threadClass::start: the thread runs already");
    }
    argument_ = argument;
    try {
        launch();
    } catch (...) {
        running_.store(false);
        throw;
    }
}

void threadClass::launch() {
    PosixThread thread("worker", [this] {
        ownerOfThisThread = this;
        threadFunction(argument_);
        running_.store(false);
    });
    thread.detach();
}

void threadClass::launchAgain() {
    try {
        launch();
    } catch (const std::exception& e) {
        running_.store(false);
        handleError(1, "after fork(): source locks are not renewed in this process: %s", e.what());
    }
}
