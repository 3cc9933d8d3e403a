// SPDX-License-Identifier: Apache-2.0
#include "client/confirmedOperations.h"
#include "operating/operations.h"
#include "panel/api/Body.h"
#include "panel/api/outcome.h"
#include "panel/api/resources.h"
#include "panel/api/routes.h"

namespace papanel {

using namespace paclient;
using paoperating::sinkGain;

namespace {

template <class Operation>
ApiReply change(const Services& services, const PaSink& sink, const std::string& effect,
                Operation operation) {
    const std::string sentence = titleOf(sinks, sink) + effect;
    const Confirmation done = operate(services, sentence, operation);
    return {200, doneAnswer(done, sentence, recordNow(services, sinks, sink))};
}

PaSink sinkOf(const ApiRequest& request) {
    return findOne(sinks, request.parts.at(0));
}

ApiReply setSinkGain(Services& services, const ApiRequest& request) {
    struct Asked {
        double level;
        bool persistent;
        bool delay;
    };
    const auto asked = readMembers(request.body, [](Body& body) {
        return Asked{body.getWithin("level", sinkGain.least, sinkGain.greatest),
                     body.findOr("persistent", false), body.findOr("delayPersistence", false)};
    });
    const PaSink sink = sinkOf(request);
    return change(services, sink, " has the gain " + valueText(asked.level + 0.0) + " dB",
                  [&](const Wait& wait) {
                      return setGain(sink, asked.level, asked.persistent, asked.delay, wait);
                  });
}

ApiReply setSinkMonitoring(Services& services, const ApiRequest& request) {
    const bool enable =
        readMembers(request.body, [](Body& body) { return body.get<bool>("enabled"); });
    const PaSink sink = sinkOf(request);
    return change(services, sink, enable ? " is monitored" : " is not monitored",
                  [&](const Wait& wait) { return setMonitoring(sink, enable, wait); });
}

ApiReply resetSink(Services& services, const ApiRequest& request) {
    const bool untilBack =
        readMembers(request.body, [](Body& body) { return body.findOr("untilBack", false); });
    const PaSink sink = sinkOf(request);
    return change(services, sink, untilBack ? " has been reset" : " is being reset",
                  [&](const Wait& wait) { return reset(sink, untilBack, wait); });
}

}  // namespace

Routes sinkRoutes() {
    constexpr Access who = Access::Operator;
    constexpr Effect what = Effect::Operates;
    return {
        {"PUT", "/sinks/{id}/gain", who, what, "set sink gain", answered<setSinkGain>},
        {"PUT", "/sinks/{id}/monitoring", who, what, "switch monitoring",
         answered<setSinkMonitoring>},
        {"POST", "/sinks/{id}/reset", who, what, "reset sink", answered<resetSink>},
    };
}

}  // namespace papanel
