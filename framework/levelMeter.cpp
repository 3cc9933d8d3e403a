// SPDX-License-Identifier: Apache-2.0
#include "framework/levelMeter.h"

#include <mutex>
#include <set>
#include <utility>

#include "framework/earlyObject.h"
#include "framework/fork.h"

using namespace pa;

namespace {

struct Meters {
    std::mutex lock;
    std::set<int> subscribed;
    LevelMeterSwitch feed;

    void switchFeed(bool subscribe, int element) const {
        if (feed) {
            const pa::ForkBypass bypass;
            feed(subscribe, element);
        }
    }

    pa::ForkParticipant acrossFork{pa::ForkRank::LevelMeters,
                                   {[this] { lock.lock(); }, [this] { lock.unlock(); },
                                    [this] {
                                        feed = nullptr;  // it led to the link of the parent
                                        lock.unlock();
                                    }}};
};

Meters& meters() {
    static Meters& theMeters = *new Meters;  // never destroyed, as the threads that use it
    return theMeters;
}

PASDK_EARLIEST const pa::MadeEarly made(meters);

}  // namespace

void subscribeUnsubscribeToResAmpVUMeterElement(bool subscribe, int element) {
    Meters& m = meters();
    const std::lock_guard guard(m.lock);
    const bool changed =
        subscribe ? m.subscribed.insert(element).second : m.subscribed.erase(element) > 0;
    if (changed) {
        m.switchFeed(subscribe, element);
    }
}

void pa::setLevelMeterSwitch(LevelMeterSwitch feed) {
    Meters& m = meters();
    const std::lock_guard guard(m.lock);
    m.feed = std::move(feed);
    for (const int element : m.subscribed) {
        m.switchFeed(true, element);
    }
}
