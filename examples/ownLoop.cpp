// SPDX-License-Identifier: Apache-2.0
// An application with a main loop of its own: one thread, epoll, and nothing that waits elsewhere.
// Ends on Ctrl-C or SIGTERM. ownLoop --server HOST[:PORT]
#include <csignal>
#include <cstdint>
#include <functional>
#include <iostream>
#include <map>
#include <public-address/client/ChangeStream.h>
#include <public-address/client/names.h>
#include <public-address/framework/eventQueue.h>
#include <sys/epoll.h>
#include <sys/signalfd.h>
#include <sys/timerfd.h>
#include <system_error>
#include <unistd.h>

#include "BrokerEndpoint.h"

namespace {

/// Calls a function for each file descriptor that is readable.
class EpollLoop {
public:
    EpollLoop() : epoll_(epoll_create1(EPOLL_CLOEXEC)) {
        if (epoll_ < 0) {
            throw std::system_error(errno, std::generic_category(), "epoll_create1");
        }
    }
    EpollLoop(const EpollLoop&) = delete;
    EpollLoop& operator=(const EpollLoop&) = delete;
    ~EpollLoop() { close(epoll_); }

    void add(int descriptor, std::function<void()> whenReadable) {
        functions_[descriptor] = std::move(whenReadable);
        epoll_event event{};
        event.events = EPOLLIN;
        event.data.fd = descriptor;
        if (epoll_ctl(epoll_, EPOLL_CTL_ADD, descriptor, &event) != 0) {
            throw std::system_error(errno, std::generic_category(), "epoll_ctl");
        }
    }

    void run() {
        while (!stopped_) {
            epoll_event event{};
            if (epoll_wait(epoll_, &event, 1, -1) == 1) {
                functions_[event.data.fd]();
            }
        }
    }

    void stop() { stopped_ = true; }

private:
    const int epoll_;
    std::map<int, std::function<void()>> functions_;
    bool stopped_ = false;
};

void readEvents() {
    EventItem event;
    while (pa::eventQueue::next(event)) {
        if (event.type == EventItem::PA_ZONE_UPDATED) {
            if (const auto zone = gPaController.findPaZone(event.key)) {
                std::cout << "zone " << zone->id << ": " << zone->activityText << std::endl;
            }
        } else if (event.type == EventItem::PA_SINK_UPDATED) {
            if (const auto sink = gPaController.findPaSink(event.key)) {
                std::cout << "sink " << sink->id << ": " << paclient::nameOf(sink->state)
                          << std::endl;
            }
        }
    }
}

void readChanges(paclient::Subscription& changes) {
    while (const paclient::ChangePtr change = changes.next()) {
        if (const auto* connection = std::get_if<palink::ConnectionChange>(change.get())) {
            using State = palink::ConnectionChange::State;
            std::cout << (connection->state == State::Synced ? "synced" : "not synced")
                      << std::endl;
        } else if (const auto* refusal = std::get_if<palink::Refusal>(change.get())) {
            std::cout << "refused: " << refusal->reason << std::endl;
        }
    }
}

/// Prints why there is no connection, once for each reason: an attempt that fails is no change of
/// the connection.
class ProblemPrinter {
public:
    explicit ProblemPrinter(const BrokerEndpoint& endpoint) : endpoint_(endpoint) {}

    void print() {
        const std::string problem = endpoint_.report()->problem;
        if (problem != printed_ && !problem.empty()) {
            std::cout << "no connection: " << problem << std::endl;
        }
        printed_ = problem;
    }

private:
    const BrokerEndpoint& endpoint_;
    std::string printed_;
};

int timerEachSecond() {
    const int descriptor = timerfd_create(CLOCK_MONOTONIC, TFD_NONBLOCK | TFD_CLOEXEC);
    const itimerspec eachSecond{{1, 0}, {1, 0}};
    timerfd_settime(descriptor, 0, &eachSecond, nullptr);
    return descriptor;
}

}  // namespace

int main(int argc, char** argv) try {
    sigset_t ending;
    sigemptyset(&ending);
    sigaddset(&ending, SIGINT);
    sigaddset(&ending, SIGTERM);
    sigprocmask(SIG_BLOCK, &ending, nullptr);

    BrokerEndpoint endpoint(brokerOf(argc, argv));
    paclient::Subscription changes(paclient::kinds<palink::ConnectionChange, palink::Refusal>());
    paclient::Connection connection(endpoint);
    try {
        connection.open({std::chrono::milliseconds(0)});
    } catch (const paclient::NotConnected&) {
        // It continues to connect, and the subscription reports when it is there.
    }

    EpollLoop loop;
    loop.add(pa::eventQueue::fileDescriptor(), readEvents);
    loop.add(changes.fileDescriptor(), [&changes] { readChanges(changes); });
    ProblemPrinter problems(endpoint);
    const int timer = timerEachSecond();
    loop.add(timer, [&problems, timer] {
        std::uint64_t seconds = 0;
        if (read(timer, &seconds, sizeof(seconds)) > 0) {
            problems.print();
        }
    });
    loop.add(signalfd(-1, &ending, SFD_CLOEXEC), [&loop] { loop.stop(); });
    loop.run();
} catch (const std::exception& error) {
    std::cerr << "ownLoop: " << error.what() << '\n';
    return 1;
}
