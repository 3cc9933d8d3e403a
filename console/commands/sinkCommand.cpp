#include <memory>

#include "console/arguments/Parser.h"
#include "console/commands/commands.h"
#include "console/commands/setGain.h"
#include "console/following/operate.h"
#include "console/text/resources.h"

namespace console {

namespace {

PaSink sinkNow(int id) {
    return findOne(sinks, std::to_string(id));
}

std::string titleOf(const PaSink& sink) {
    return "sink " + std::to_string(sink.id);
}

void monitorSink(const Context& context, PaSink sink, bool enable) {
    const std::string sentence = titleOf(sink) + (enable ? " is monitored" : " is not monitored");
    const auto holds = [&] { return sinkNow(sink.id).getPAMonitoring() == enable; };
    const std::string asBefore = bringAbout(context, {sentence, {pa::operations::setMonitoring}},
                                            holds, [&] { sink.setPAMonitoring(enable); });
    printOutcome(context, sentence + asBefore, toJson(sinkNow(sink.id)));
}

/// A device that is reset goes inactive and comes back.
/// @param wait until it has come back
void resetSink(const Context& context, PaSink sink, bool wait) {
    // Of one that is inactive before, only the return can be seen.
    const bool untilBack = wait || sink.healthState == PaSink::INACTIVE;
    bool isGone = sink.healthState == PaSink::INACTIVE;
    bool isBack = false;
    const auto take = [&](const std::optional<Change>& change) {
        const auto* const update = change ? std::get_if<PaSink>(&change->what) : nullptr;
        if (update != nullptr && update->id == sink.id) {
            isBack = isGone && update->healthState != PaSink::INACTIVE;
            isGone = isGone || update->healthState == PaSink::INACTIVE;
        }
        return untilBack ? isBack : isGone;
    };
    operate(
        context, {titleOf(sink) + " has been reset", {pa::operations::resetSink}},
        [&] { sink.reset(); }, take);
    const PaSink now = sinkNow(sink.id);
    printOutcome(context,
                 titleOf(sink) + (untilBack ? " has been reset: " : " is being reset: ") +
                     nameOf(now.healthState),
                 toJson(now));
}

void addSink(Parser& parser, std::string& wanted) {
    parser.addText("ID", wanted, "The sink: its number or its label").required();
}

Handler defineGain(Parser& parser) {
    struct Arguments {
        std::string sink;
        double level = 0;
        bool persistent = false;
        bool delay = false;
    };
    const auto a = std::make_shared<Arguments>();
    addSink(parser, a->sink);
    parser.addNumber("LEVEL", a->level, {-96, 0}, "In dB, -96 to 0").required();
    parser.addFlag("--persistent", a->persistent, "The device keeps it over a restart");
    parser.addFlag("--delay", a->delay, "It is made persistent later");
    return [a](const Context& context) {
        context.session();
        PaSink sink = findOne(sinks, a->sink);
        const auto current = [&sink] { return sinkNow(sink.id).outputGain.getLevel(); };
        const std::string sentence = setGain(
            context,
            {titleOf(sink), pa::operations::setSinkGain, a->level, a->persistent || a->delay},
            current, [&] { sink.setGain(Gain(a->level), a->persistent, a->delay); });
        printOutcome(context, sentence, toJson(sinkNow(sink.id)));
    };
}

Handler defineSwitch(Parser& parser) {
    const auto wanted = std::make_shared<std::string>();
    const auto enable = std::make_shared<bool>();
    addSink(parser, *wanted);
    parser.addSwitch(*enable);
    return [wanted, enable](const Context& context) {
        context.session();
        monitorSink(context, findOne(sinks, *wanted), *enable);
    };
}

Handler defineReset(Parser& parser) {
    const auto wanted = std::make_shared<std::string>();
    const auto wait = std::make_shared<bool>();
    addSink(parser, *wanted);
    parser.addFlag("--wait", *wait, "Wait until the device has come back");
    return [wanted, wait](const Context& context) {
        context.session();
        resetSink(context, findOne(sinks, *wanted), *wait);
    };
}

}  // namespace

Handler defineSink(Parser& parser) {
    return defineSubcommands(parser, {{"gain", "Set the output gain", defineGain},
                                      {"monitor", "Switch the monitoring of a sink", defineSwitch},
                                      {"reset", "Reset the device of a sink", defineReset}});
}

}  // namespace console
