#include "framework/threadClass.h"

#include <exception>
#include <stdexcept>

#include "framework/posixThread.h"

using namespace pa;

threadClass::~threadClass() {
    if (running_.load()) {
        std::terminate();
    }
}

void threadClass::start(void* argument) {
    if (running_.exchange(true)) {
        throw std::logic_error("threadClass::start: the thread runs already");
    }
    try {
        PosixThread thread("worker", [this, argument] {
            threadFunction(argument);
            running_.store(false);
        });
        thread.detach();
    } catch (...) {
        running_.store(false);
        throw;
    }
}
