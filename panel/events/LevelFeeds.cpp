// SPDX-License-Identifier: Apache-2.0
#include "panel/events/LevelFeeds.h"

#include "sdk/PAController.h"
#include "sdk/globals.h"

namespace papanel {

namespace {

constexpr int sourcesPerElement = 100;

}  // namespace

LevelFeeds::Feed::Feed(LevelFeeds& feeds, int sourceId)
    : feeds_(feeds), sourceId_(sourceId), element_(sourceId / sourcesPerElement) {
    feeds_.count(sourceId_, element_, 1);
}

LevelFeeds::Feed::~Feed() {
    feeds_.count(sourceId_, element_, -1);
}

/// The lock is held while the meter is switched, so that the last call is the one that counts.
void LevelFeeds::count(int sourceId, int element, int change) {
    const std::lock_guard guard(lock_);
    const int before = users_[element];
    const int after = users_[element] = before + change;
    if (before == 0) {
        gPaController.enablePaSourceVUMeter(sourceId);
    } else if (after == 0) {
        gPaController.disablePaSourceVUMeter(sourceId);
        users_.erase(element);
    }
}

}  // namespace papanel
