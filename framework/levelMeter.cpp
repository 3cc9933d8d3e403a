#include "framework/levelMeter.h"

#include <mutex>
#include <set>

namespace {

struct Meters {
    std::mutex lock;
    std::set<int> subscribed;
};

Meters& meters() {
    static Meters& theMeters = *new Meters;  // never destroyed, as the threads that use it
    return theMeters;
}

}  // namespace

void subscribeUnsubscribeToResAmpVUMeterElement(bool subscribe, int element) {
    Meters& m = meters();
    const std::lock_guard guard(m.lock);
    if (subscribe) {
        m.subscribed.insert(element);
    } else {
        m.subscribed.erase(element);
    }
}

std::vector<int> subscribedLevelMeters() {
    Meters& m = meters();
    const std::lock_guard guard(m.lock);
    return {m.subscribed.begin(), m.subscribed.end()};
}
