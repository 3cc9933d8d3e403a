// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <atomic>
#include <memory>
#include <mutex>
#include <vector>

#include "client/ChangeStream.h"
#include "client/LockHolders.h"
#include "client/SubscriptionQueue.h"
#include "framework/fork.h"
#include "link/HandlerSlot.h"

namespace paclient {

/// One listener, as publishing threads see it.
struct Listener::Entry {
    explicit Entry(ChangeKinds kindsWanted) : wanted(kindsWanted) {}

    const ChangeKinds wanted;
    palink::HandlerSlot<ChangePtr> slot;
};

/// The subscribers, and what is compared for them.
struct ChangeStream::State {
    struct Subscribers {
        std::vector<std::shared_ptr<Subscription::Queue>> queues;
        std::vector<std::shared_ptr<Listener::Entry>> listeners;
    };

    std::shared_ptr<const Subscribers> current() {
        const std::lock_guard guard(lock);
        return subscribers;
    }

    template <class Act>
    void change(Act act) {
        const std::lock_guard guard(lock);
        auto changed = std::make_shared<Subscribers>(*subscribers);
        act(*changed);
        subscribers = std::move(changed);
    }

    std::mutex lock;
    // Guarded by lock. Replaced, not changed: who publishes has no lock.
    std::shared_ptr<const Subscribers> subscribers = std::make_shared<const Subscribers>();

    LockHolders locks;
    std::atomic<bool> isAway{false};

    const pa::ForkParticipant acrossFork{pa::ForkRank::Facades,
                                         {[this] {
                                              lock.lock();
                                              locks.beforeFork();
                                              for (const auto& queue : subscribers->queues) {
                                                  queue->lock.lock();
                                              }
                                          },
                                          [this] {
                                              locks.inParent();
                                              for (const auto& queue : subscribers->queues) {
                                                  queue->lock.unlock();
                                              }
                                              lock.unlock();
                                          },
                                          [this] {
                                              locks.inChild();
                                              for (const auto& queue : subscribers->queues) {
                                                  queue->separateFromParent();
                                                  queue->lock.unlock();
                                              }
                                              lock.unlock();
                                          }}};
};

}  // namespace paclient
