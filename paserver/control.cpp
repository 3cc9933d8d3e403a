// SPDX-License-Identifier: Apache-2.0
#include "paserver/control.h"

namespace paserver::control {

using palink::JsonObject;

Json toJson(const simserver::IgnoredOperations& state) {
    return {{"renewals", state.renewals}, {"requests", state.requests}};
}

void fromJson(const Json& json, simserver::IgnoredOperations& state) {
    const JsonObject object(json);
    state = {object.boolean("renewals"), object.boolean("requests")};
}

Json toJson(const simserver::Contents& playable) {
    Json dictionary = Json::array();
    for (const simserver::DictionaryItem& item : playable.dictionary) {
        dictionary.push_back({{"item", item.item},
                              {"text", item.text},
                              {"durationMS", item.duration.count()},
                              {"chime", item.chime}});
    }
    Json recordings = Json::array();
    for (const simserver::Recording& recording : playable.recordings) {
        recordings.push_back(
            {{"path", recording.path}, {"durationMS", recording.duration.count()}});
    }
    return {{"dictionary", std::move(dictionary)}, {"recordings", std::move(recordings)}};
}

void fromJson(const Json& json, simserver::Contents& playable) {
    constexpr int largest = std::numeric_limits<int>::max();
    const JsonObject object(json);
    for (const Json& each : object.member("dictionary")) {
        const JsonObject item(each);
        playable.dictionary.push_back(
            {static_cast<int>(item.integer("item", 0, largest)), item.text("text"),
             std::chrono::milliseconds(item.integer("durationMS", 0)), item.boolean("chime")});
    }
    for (const Json& each : object.member("recordings")) {
        const JsonObject recording(each);
        playable.recordings.push_back(
            {recording.text("path"),
             std::chrono::milliseconds(recording.integer("durationMS", 0))});
    }
}

}  // namespace paserver::control
