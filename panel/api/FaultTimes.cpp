// SPDX-License-Identifier: Apache-2.0
#include "panel/api/FaultTimes.h"

#include <iterator>
#include <variant>

#include "framework/clock.h"

namespace papanel {

using namespace paclient;
using palink::ConnectionChange;

FaultTimes::FaultTimes()
    : listener_(kinds<Updated<PaSink>, Updated<PaSource>, Deleted<PaSink>, Deleted<PaSource>,
                      ConnectionChange>(),
                [this](const ChangePtr& change) { take(*change); }) {}

FaultTimes::Fault FaultTimes::of(const PaSink& sink) const {
    return of({Kind::Sink, sink.id});
}

FaultTimes::Fault FaultTimes::of(const PaSource& source) const {
    return of({Kind::Source, source.id});
}

FaultTimes::Fault FaultTimes::of(Key key) const {
    const std::lock_guard guard(lock_);
    const auto found = devices_.find(key);
    const bool isKnown = found != devices_.end();
    return isKnown && found->second.isFaulty ? found->second.fault
                                             : Fault{pa::wallClock(), !isKnown};
}

void FaultTimes::take(const Change& change) {
    const std::lock_guard guard(lock_);
    if (const auto* const sink = std::get_if<Updated<PaSink>>(&change)) {
        report({Kind::Sink, sink->record.id}, isFaulty(sink->record));
    } else if (const auto* const source = std::get_if<Updated<PaSource>>(&change)) {
        report({Kind::Source, source->record.id}, isFaulty(source->record));
    } else if (const auto* const oldSink = std::get_if<Deleted<PaSink>>(&change)) {
        withdraw({Kind::Sink, oldSink->id});
    } else if (const auto* const oldSource = std::get_if<Deleted<PaSource>>(&change)) {
        withdraw({Kind::Source, oldSource->id});
    } else if (std::get<ConnectionChange>(change).state == ConnectionChange::State::Synced) {
        forgetWithdrawn();
    }
}

void FaultTimes::report(Key key, bool isFaulty) {
    const auto [place, isFirst] = devices_.try_emplace(key);
    Device& device = place->second;
    if (isFaulty && !device.isFaulty) {
        device.fault = {pa::wallClock(), isFirst};
    }
    device.isFaulty = isFaulty;
    device.isReported = true;
}

void FaultTimes::withdraw(Key key) {
    if (const auto found = devices_.find(key); found != devices_.end()) {
        found->second.isReported = false;
    }
}

void FaultTimes::forgetWithdrawn() {
    for (auto device = devices_.begin(); device != devices_.end();) {
        device = device->second.isReported ? std::next(device) : devices_.erase(device);
    }
}

bool isFaulty(const PaSink& sink) {
    return sink.healthState >= PaSink::MINOR_FAULT && sink.healthState <= PaSink::INACTIVE;
}

bool isFaulty(const PaSource& source) {
    return source.healthState == PaSource::FAULTY;
}

}  // namespace papanel
