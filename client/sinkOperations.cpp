// SPDX-License-Identifier: Apache-2.0
#include <stdexcept>

#include "client/confirmedOperations.h"
#include "client/confirmedParts.h"
#include "client/names.h"
#include "sdk/PAController.h"
#include "sdk/operations.h"

namespace paclient {

namespace {

PaSink now(const PaSink& sink) {
    return current(sink, gPaController.getPaSinks());
}

}  // namespace

Confirmation setGain(const PaSink& sink, double level, bool persistent, bool delayPersistence,
                     const Wait& wait) {
    if (sink.type < PaSink::HIGH_IMPEDANCE_SPEAKER_BUS ||
        sink.type > PaSink::LINE_LEVEL_AUDIO_OUTPUT) {
        throw std::invalid_argument("sink " + std::to_string(sink.id) +
                                    " has no gain to set: its type is " + nameOf(sink.type));
    }
    ConfirmedRequest request;
    request.operations = {pa::operations::setSinkGain};
    request.send = [&] { sink.setGain(Gain(level), persistent, delayPersistence); };
    request.holds = [&] {
        return sentDigits(now(sink).outputGain.getLevel()) == sentDigits(level);
    };
    return confirmGain(request, persistent || delayPersistence, wait);
}

Confirmation setMonitoring(const PaSink& sink, bool enable, const Wait& wait) {
    ConfirmedRequest request;
    request.operations = {pa::operations::setMonitoring};
    request.send = [&] { sink.setPAMonitoring(enable); };
    request.holds = [&] { return now(sink).getPAMonitoring() == enable; };
    return confirm(request, wait);
}

Confirmation reset(const PaSink& sink, bool untilBack, const Wait& wait) {
    if (sink.type != PaSink::ZENTRIQ_KPL2 && sink.type != PaSink::ZENTRIQ_RMX4) {
        throw std::invalid_argument("sink " + std::to_string(sink.id) +
                                    " cannot be reset: its type is " + nameOf(sink.type));
    }
    const bool wasInactive = sink.healthState == PaSink::INACTIVE;
    bool isInactive = wasInactive;
    bool isBack = false;
    ConfirmedRequest request;
    request.operations = {pa::operations::resetSink};
    request.send = [&] { sink.reset(); };
    request.take = [&](const Change& change) {
        const auto* const update = std::get_if<Updated<PaSink>>(&change);
        if (update != nullptr && update->record.id == sink.id) {
            const bool isNow = update->record.healthState == PaSink::INACTIVE;
            isBack = isBack || (isInactive && !isNow);
            isInactive = isInactive || isNow;
        }
    };
    request.holds = [&] { return untilBack || wasInactive ? isBack : isInactive; };
    return confirm(request, wait);
}

}  // namespace paclient
