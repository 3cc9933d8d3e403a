#include <memory>

#include "console/arguments/Parser.h"
#include "console/commands/commands.h"
#include "console/commands/setGain.h"
#include "console/commands/sourceLevel.h"
#include "console/commands/sourceLock.h"
#include "console/commands/sourceZones.h"
#include "console/text/resources.h"

namespace console {

namespace {

void addSource(Parser& parser, std::string& wanted) {
    parser.addText("ID", wanted, "The source: its number or its label").required();
}

/// A subcommand that needs nothing but the source.
template <void (*act)(const Context&, const PaSource&)>
Handler define(Parser& parser) {
    const auto wanted = std::make_shared<std::string>();
    addSource(parser, *wanted);
    return [wanted](const Context& context) {
        context.session();
        act(context, findOne(sources, *wanted));
    };
}

Handler defineGain(Parser& parser) {
    struct Arguments {
        std::string source;
        double level = 0;
        bool first = false;
        bool second = false;
    };
    const auto a = std::make_shared<Arguments>();
    addSource(parser, a->source);
    parser.addNumber("LEVEL", a->level, {-96, 42}, "In dB, -96 to 42").required();
    parser.addFlag("--first", a->first, "The server's own first flag");
    parser.addFlag("--second", a->second, "The server's own second flag");
    return [a](const Context& context) {
        context.session();
        const PaSource source = findOne(sources, a->source);
        const std::string id = std::to_string(source.id);
        const auto current = [&id] { return findOne(sources, id).inputGain; };
        const std::string sentence = setGain(
            context,
            {"source " + id, pa::operations::setSourceGain, a->level, a->first || a->second},
            current, [&] { source.setGain(a->level, a->first, a->second); });
        printOutcome(context, sentence, toJson(findOne(sources, id)));
    };
}

Handler defineVu(Parser& parser) {
    struct Arguments {
        std::string source;
        LevelLimits limits;
    };
    const auto a = std::make_shared<Arguments>();
    addSource(parser, a->source);
    parser.addWhole("--count", a->limits.count, {1, greatestWhole}, "End after so many readings");
    parser.addNumber("--seconds", a->limits.seconds, {0, forEver}, "End after so many seconds");
    return [a](const Context& context) {
        context.session();
        showLevel(context, findOne(sources, a->source), a->limits);
    };
}

}  // namespace

Handler defineSource(Parser& parser) {
    return defineSubcommands(
        parser, {{"attach", "Take the lock of a source for this client", define<attachSource>},
                 {"detach", "Release it", define<detachSource>},
                 {"gain", "Set the input gain", defineGain},
                 {"zones", "Show the zones attached to a source, and who holds its lock",
                  define<printZones>},
                 {"vu", "Show the level of its amplifier element, until Ctrl-C", defineVu}});
}

}  // namespace console
