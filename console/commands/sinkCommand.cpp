// SPDX-License-Identifier: Apache-2.0
#include "console/commands/devices.h"

namespace console {

using namespace paclient;

namespace {

constexpr GainRules sinkGainRules = {{paoperating::sinkGain.least, paoperating::sinkGain.greatest},
                                     "In dB, -96 to 0",
                                     {{"--persistent", "The device keeps it over a restart"},
                                      {"--delay", "It is made persistent later"}}};

struct SinkMonitor : Named<sinks> {
    bool enable = false;

    void define(CLI::App& app) {
        Named<sinks>::define(app);
        addSwitch(app, enable);
    }

    void run(const Context& context) const {
        const PaSink sink = find(context);
        change(context, sinks, sink, enable ? " is monitored" : " is not monitored",
               "the monitoring",
               [&](const Wait& wait) { return setMonitoring(sink, enable, wait); });
    }
};

struct SinkReset : Named<sinks> {
    bool untilBack = false;

    void define(CLI::App& app) {
        Named<sinks>::define(app);
        app.add_flag("--wait", untilBack, "Wait until the device is active again");
    }

    void run(const Context& context) const {
        const PaSink sink = find(context);
        const std::string title = titleOf(sinks, sink);
        operate(context, title + " has been reset",
                [&](const Wait& wait) { return reset(sink, untilBack, wait); });
        const PaSink now = findOne(sinks, std::to_string(sink.id));
        const bool isBack = now.healthState != PaSink::INACTIVE;
        printOutcome(
            context,
            title + (isBack ? " has been reset: " : " is being reset: ") + nameOf(now.healthState),
            toJson(now));
    }
};

}  // namespace

Command sinkCommand() {
    return group("sink", "Set the gain of a sink, monitor it, reset it",
                 {command<SetGain<sinks, sinkGainRules>>("gain", "Set the output gain"),
                  command<SinkMonitor>("monitor", "Switch the monitoring of a sink"),
                  command<SinkReset>("reset", "Reset the device of a sink")});
}

}  // namespace console
