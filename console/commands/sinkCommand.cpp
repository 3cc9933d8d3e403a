#include "client/confirmedOperations.h"
#include "client/resources.h"
#include "console/commands/commands.h"
#include "console/following/operate.h"

namespace console {

namespace {

using paclient::Wait;

PaSink sinkNamed(const Context& context, const std::string& wanted) {
    context.session();
    return findOne(paclient::sinks, wanted);
}

PaSink sinkNow(const PaSink& sink) {
    return findOne(paclient::sinks, std::to_string(sink.id));
}

std::string titleOf(const PaSink& sink) {
    return "sink " + std::to_string(sink.id);
}

void addSink(CLI::App& app, std::string& wanted) {
    addText(app, "ID", wanted, "The sink: its number or its label")->required();
}

struct SinkGain {
    std::string wanted;
    double level = 0;
    bool persistent = false;
    bool delay = false;

    void define(CLI::App& app) {
        addSink(app, wanted);
        addNumber(app, "LEVEL", level, {-96, 0}, "In dB, -96 to 0")->required();
        app.add_flag("--persistent", persistent, "The device keeps it over a restart");
        app.add_flag("--delay", delay, "It is made persistent later");
    }

    void run(const Context& context) const {
        const PaSink sink = sinkNamed(context, wanted);
        const std::string effect = titleOf(sink) + gainText(level);
        const std::string asBefore = operate(context, effect, [&](const Wait& wait) {
            return setGain(sink, level, persistent, delay, wait);
        });
        printOutcome(context, effect + asBefore, paclient::toJson(sinkNow(sink)));
        warnUnlessKept(context, "the gain");
    }
};

struct SinkMonitor {
    std::string wanted;
    bool enable = false;

    void define(CLI::App& app) {
        addSink(app, wanted);
        addSwitch(app, enable);
    }

    void run(const Context& context) const {
        const PaSink sink = sinkNamed(context, wanted);
        const std::string effect = titleOf(sink) + (enable ? " is monitored" : " is not monitored");
        const std::string asBefore = operate(
            context, effect, [&](const Wait& wait) { return setMonitoring(sink, enable, wait); });
        printOutcome(context, effect + asBefore, paclient::toJson(sinkNow(sink)));
        warnUnlessKept(context, "the monitoring");
    }
};

struct SinkReset {
    std::string wanted;
    bool untilBack = false;

    void define(CLI::App& app) {
        addSink(app, wanted);
        app.add_flag("--wait", untilBack, "Wait until the device is active again");
    }

    void run(const Context& context) const {
        const PaSink sink = sinkNamed(context, wanted);
        operate(context, titleOf(sink) + " has been reset",
                [&](const Wait& wait) { return reset(sink, untilBack, wait); });
        const PaSink now = sinkNow(sink);
        const bool isBack = now.healthState != PaSink::INACTIVE;
        printOutcome(context,
                     titleOf(sink) + (isBack ? " has been reset: " : " is being reset: ") +
                         paclient::nameOf(now.healthState),
                     paclient::toJson(now));
    }
};

}  // namespace

Command sinkCommand() {
    return group("sink", "Set the gain of a sink, monitor it, reset it",
                 {command<SinkGain>("gain", "Set the output gain"),
                  command<SinkMonitor>("monitor", "Switch the monitoring of a sink"),
                  command<SinkReset>("reset", "Reset the device of a sink")});
}

}  // namespace console
