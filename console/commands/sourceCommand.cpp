#include "client/confirmedOperations.h"
#include "client/resources.h"
#include "console/commands/commands.h"
#include "console/commands/sourceLevel.h"
#include "console/commands/sourceLock.h"
#include "console/commands/sourceZones.h"
#include "console/following/operate.h"

namespace console {

namespace {

void addSource(CLI::App& app, std::string& wanted) {
    addText(app, "ID", wanted, "The source: its number or its label")->required();
}

/// A subcommand that needs nothing but the source.
template <void (*act)(const Context&, const PaSource&)>
struct OfSource {
    std::string wanted;

    void define(CLI::App& app) { addSource(app, wanted); }

    void run(const Context& context) const {
        context.session();
        act(context, findOne(paclient::sources, wanted));
    }
};

struct SourceGain {
    std::string wanted;
    double level = 0;
    bool first = false;
    bool second = false;

    void define(CLI::App& app) {
        addSource(app, wanted);
        addNumber(app, "LEVEL", level, {-96, 42}, "In dB, -96 to 42")->required();
        app.add_flag("--first", first, "The server's own first flag");
        app.add_flag("--second", second, "The server's own second flag");
    }

    void run(const Context& context) const {
        context.session();
        const PaSource source = findOne(paclient::sources, wanted);
        const std::string id = std::to_string(source.id);
        const std::string effect = "source " + id + gainText(level);
        const std::string asBefore = operate(context, effect, [&](const paclient::Wait& wait) {
            return setGain(source, level, first, second, wait);
        });
        printOutcome(context, effect + asBefore, paclient::toJson(findOne(paclient::sources, id)));
        warnUnlessKept(context, "the gain");
    }
};

struct SourceLevel {
    std::string wanted;
    LevelLimits limits;

    void define(CLI::App& app) {
        addSource(app, wanted);
        addWhole(app, "--count", limits.count, {1, greatestWhole}, "End after so many readings");
        addNumber(app, "--seconds", limits.seconds, {0, forEver}, "End after so many seconds");
    }

    void run(const Context& context) const {
        context.session();
        showLevel(context, findOne(paclient::sources, wanted), limits);
    }
};

}  // namespace

Command sourceCommand() {
    return group(
        "source", "Take a source, set its gain, see its zones and its level",
        {command<OfSource<attachSource>>("attach", "Take the lock of a source for this client"),
         command<OfSource<detachSource>>("detach", "Release it"),
         command<SourceGain>("gain", "Set the input gain"),
         command<OfSource<printZones>>(
             "zones", "Show the zones attached to a source, and who holds its lock"),
         command<SourceLevel>("vu", "Show the level of its amplifier element, until Ctrl-C")});
}

}  // namespace console
