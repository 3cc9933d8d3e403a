// SPDX-License-Identifier: Apache-2.0
#include "framework/fork.h"

#include <algorithm>
#include <atomic>
#include <exception>
#include <mutex>
#include <new>
#include <pthread.h>
#include <utility>
#include <vector>

#include "framework/clock.h"
#include "framework/earlyObject.h"
#include "framework/log.h"
#include "framework/posixThread.h"

namespace pa {

namespace {

/// A child that executes another program does so within this time; until then it does nothing else.
constexpr int graceMS = 1000;

std::atomic<unsigned> generation{0};

thread_local int bypasses = 0;

}  // namespace

struct ForkRegistry {
    using Participants = std::vector<const ForkParticipant*>;
    using Hook = std::function<void()> ForkHooks::*;

    ForkRegistry() { pthread_atfork(before, inParent, inChild); }

    void add(const ForkParticipant* participant) {
        const std::lock_guard guard(lock);
        const auto position = std::upper_bound(
            participants.begin(), participants.end(), participant,
            [](const auto* left, const auto* right) { return left->rank_ < right->rank_; });
        participants.insert(position, participant);
    }

    void remove(const ForkParticipant* participant) {
        const std::lock_guard guard(lock);
        participants.erase(std::find(participants.begin(), participants.end(), participant));
    }

    static void call(const ForkParticipant* participant, Hook hook) {
        if (participant->hooks_.*hook) {
            (participant->hooks_.*hook)();
        }
    }

    static void before();
    static void inParent();
    static void inChild();
    static void goOn(const std::vector<std::function<void()>>& steps);

    std::mutex lock;  // taken after those of the participants; held during a fork
    // Guarded by lock.
    Participants participants;                  // by rank
    Participants entered;                       // those whose `before` has been called
    std::vector<std::function<void()>> goOnIn;  // what the child has asked for
};

namespace {

// Built before main, as the generation counts from then on, and never destroyed.
ForkRegistry& registry() {
    static ForkRegistry& instance = *new ForkRegistry;
    return instance;
}

PASDK_EARLIEST const MadeEarly made(registry);

}  // namespace

void ForkRegistry::before() {
    if (bypasses > 0) {
        return;
    }
    Participants entering;
    {
        const std::lock_guard guard(registry().lock);
        std::copy_if(registry().participants.begin(), registry().participants.end(),
                     std::back_inserter(entering),
                     [](const auto* participant) { return participant->hooks_.before != nullptr; });
    }
    for (const ForkParticipant* participant : entering) {
        call(participant, &ForkHooks::before);
    }
    registry().lock.lock();
    registry().entered = std::move(entering);
}

void ForkRegistry::inParent() {
    if (bypasses > 0) {
        return;
    }
    const Participants entered = std::exchange(registry().entered, {});
    registry().lock.unlock();
    std::for_each(entered.rbegin(), entered.rend(),
                  [](const auto* participant) { call(participant, &ForkHooks::inParent); });
}

void ForkRegistry::inChild() {
    ++generation;
    if (bypasses > 0) {
        return;
    }
    const Participants& entered = registry().entered;
    const Participants& all = registry().participants;
    std::for_each(all.rbegin(), all.rend(), [&](const auto* participant) {
        const bool isEntered =
            std::find(entered.begin(), entered.end(), participant) != entered.end();
        if (isEntered || !participant->hooks_.before) {
            call(participant, &ForkHooks::inChild);
        }
    });
    registry().entered.clear();
    const auto steps = std::exchange(registry().goOnIn, {});
    registry().lock.unlock();
    if (steps.empty()) {
        return;
    }
    try {
        PosixThread thread("after-fork", [steps] { goOn(steps); });
        thread.detach();
    } catch (const std::exception& e) {
        handleError(1, "after fork(): source locks are not renewed in this process: %s", e.what());
    }
}

void ForkRegistry::goOn(const std::vector<std::function<void()>>& steps) {
    sleepMS(graceMS);
    for (const auto& step : steps) {
        step();
    }
}

ForkParticipant::ForkParticipant(ForkRank rank, ForkHooks hooks)
    : rank_(rank), hooks_(std::move(hooks)) {
    registry().add(this);
}

ForkParticipant::~ForkParticipant() {
    registry().remove(this);
}

void goOnInChild(std::function<void()> what) {
    registry().goOnIn.push_back(std::move(what));
}

void forgetWaiters(std::condition_variable& condition) {
    new (&condition) std::condition_variable;  // not destroyed before: that would wait as well
}

ForkBypass::ForkBypass() {
    ++bypasses;
}

ForkBypass::~ForkBypass() {
    --bypasses;
}

unsigned forkGeneration() {
    return generation.load(std::memory_order_relaxed);
}

}  // namespace pa
