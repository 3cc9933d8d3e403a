#include "framework/levelMeter.h"

#include <mutex>
#include <set>
#include <utility>

using namespace pa;

namespace {

struct Meters {
    std::mutex lock;
    std::set<int> subscribed;
    LevelMeterSwitch feed;
};

Meters& meters() {
    static Meters& theMeters = *new Meters;  // never destroyed, as the threads that use it
    return theMeters;
}

}  // namespace

void subscribeUnsubscribeToResAmpVUMeterElement(bool subscribe, int element) {
    Meters& m = meters();
    const std::lock_guard guard(m.lock);
    const bool changed =
        subscribe ? m.subscribed.insert(element).second : m.subscribed.erase(element) > 0;
    if (changed && m.feed) {
        m.feed(subscribe, element);
    }
}

void pa::setLevelMeterSwitch(LevelMeterSwitch feed) {
    Meters& m = meters();
    const std::lock_guard guard(m.lock);
    m.feed = std::move(feed);
    if (m.feed) {
        for (const int element : m.subscribed) {
            m.feed(true, element);
        }
    }
}
