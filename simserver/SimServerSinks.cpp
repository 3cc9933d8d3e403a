/// What the simulated server does with its sinks.

#include "simserver/SimServer.h"
#include "simserver/earliest.h"
#include "simserver/lookUp.h"
#include "simserver/protocol/OperatingDecoder.h"

namespace simserver {

namespace {

std::string sinkText(int id) {
    return "sink " + std::to_string(id);
}

}  // namespace

void SimServer::setSinkGain(const std::string& payload) {
    constexpr int highest = 0;  // dB
    const GainRequest request = decodeGain(payload, highest);
    Sink& sink = byId(station_.sinks, request.id, "sink");
    if (sink.type < 1 || sink.type > 4) {
        throw Refused(sinkText(sink.id) + " has no gain: neither a loudspeaker nor a line output");
    }
    sink.outputGain = request.level;
    activity_.noteChange(sink);
}

void SimServer::setMonitoring(const std::string& payload) {
    const MonitoringRequest request = decodeMonitoring(payload);
    Sink& sink = byId(station_.sinks, request.sinkId, "sink");
    sink.monitoringEnabled = request.enable;
    activity_.noteChange(sink);
}

void SimServer::resetSink(const std::string& payload) {
    constexpr SimTime duration = std::chrono::seconds(3);
    Sink& sink = byId(station_.sinks, decodeId(payload), "sink");
    if (sink.type != 9 && sink.type != 10) {
        throw Refused(sinkText(sink.id) +
                      " cannot be reset: neither an interface unit nor a mixer");
    }
    sink.health = inactiveHealth;
    resets_[sink.id] = now_ + duration;
    activity_.noteChange(sink);
}

std::optional<SimTime> SimServer::nextReset() const {
    return earliest(resets_, [](const auto& entry) { return std::optional(entry.second); });
}

void SimServer::endResets() {
    for (auto it = resets_.begin(); it != resets_.end();) {
        if (it->second > now_) {
            ++it;
            continue;
        }
        Sink& sink = byId(station_.sinks, it->first, "sink");
        sink.health = healthyHealth;
        activity_.noteChange(sink);
        it = resets_.erase(it);
    }
}

}  // namespace simserver
