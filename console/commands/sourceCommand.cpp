#include "console/ExitCode.h"
#include "console/commands/devices.h"
#include "console/commands/sourceLevel.h"
#include "console/text/TextTable.h"

namespace console {

namespace {

using namespace paclient;

constexpr GainRules sourceGainRules = {
    {-96, 42},
    "In dB, -96 to 42",
    {{"--first", "The server's own first flag"}, {"--second", "The server's own second flag"}}};

/// Asks for a change of a lock, and prints who holds it then.
/// @throws Failure that names the holder, when the lock is the reason
template <class Operation>
void changeLock(const Context& context, const PaSource& source, const std::string& effect,
                Operation operation) {
    const auto sentence = [&source] {
        return titleOf(sources, source) + " is locked by " + holderText(lockOf(source.id));
    };
    operate(context, titleOf(sources, source) + effect, [&](const Wait& wait) {
        Confirmation confirmation = operation(source.id, wait);
        if (confirmation.state == Confirmation::State::Refused &&
            lockHolder(source.id) != ownUUID()) {
            throw Failure(ExitCode::Refused, sentence());
        }
        return confirmation;
    });
    printOutcome(context, sentence(), paclient::toJson(lockOf(source.id)));
}

void attach(const Context& context, const PaSource& source) {
    changeLock(context, source, " is locked", takeLock);
    if (!context.connection.lasts) {
        context.diagnostics.diagnostic(
            "the lock lapses when this command has ended; a script keeps it, and 'paconsole "
            "shell'");
    }
}

void detach(const Context& context, const PaSource& source) {
    changeLock(context, source, " is released", releaseLock);
}

void printZones(const Context& context, const PaSource& source) {
    const std::vector<std::string> attached = source.getAttachedPaZones();
    const SourceLock lock = lockOf(source.id);
    if (context.settings.json) {
        Json report = paclient::toJson(lock);
        report["zones"] = attached;
        context.writeJson(report);
        return;
    }
    TextTable table({"ITEM", "VALUE"});
    table.addRow({"source", std::to_string(source.id) + ' ' + source.label});
    table.addRow({"locked by", holderText(lock)});
    for (const std::string& zone : attached) {
        table.addRow({"zone", zone});
    }
    context.out.write(table.text());
}

}  // namespace

Command sourceCommand() {
    return group(
        "source", "Take a source, set its gain, see its zones and its level",
        {command<OfNamed<sources, attach>>("attach", "Take the lock of a source for this client"),
         command<OfNamed<sources, detach>>("detach", "Release it"),
         command<SetGain<sources, sourceGainRules>>("gain", "Set the input gain"),
         command<OfNamed<sources, printZones>>(
             "zones", "Show the zones attached to a source, and who holds its lock"),
         command<SourceLevel>("vu", "Show the level of its amplifier element, until Ctrl-C")});
}

}  // namespace console
