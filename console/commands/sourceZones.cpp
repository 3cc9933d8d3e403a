#include "console/commands/sourceZones.h"

#include <algorithm>

#include "client/confirmedOperations.h"
#include "client/resources.h"
#include "console/ExitCode.h"
#include "console/commands/sourceLock.h"
#include "console/following/operate.h"
#include "console/text/TextTable.h"

namespace console {

namespace {

using paclient::Wait;
using Ids = std::vector<std::string>;

std::string titleOf(const PaSource& source) {
    return "source " + std::to_string(source.id);
}

std::string listOf(const Ids& zoneIds) {
    return zoneIds.empty() ? "no zones" : "the zones " + paclient::valueText(zoneIds);
}

/// Prints the zones that are attached.
void print(const Context& context, const PaSource& source, const std::string& asBefore) {
    const Ids attached = source.getAttachedPaZones();
    printOutcome(context, titleOf(source) + " has " + listOf(attached) + asBefore,
                 {{"sourceId", source.id}, {"zones", attached}});
    warnUnlessKept(context, "the attachment");
}

}  // namespace

void printZones(const Context& context, const PaSource& source) {
    const Ids attached = source.getAttachedPaZones();
    const paclient::SourceLock lock = paclient::lockOf(source.id);
    if (context.settings.json) {
        paclient::Json report = paclient::toJson(lock);
        report["zones"] = attached;
        context.writeJson(report);
        return;
    }
    TextTable table({"ITEM", "VALUE"});
    table.addRow({"source", std::to_string(source.id) + ' ' + source.label});
    table.addRow({"locked by", paclient::holderText(lock)});
    for (const std::string& zone : attached) {
        table.addRow({"zone", zone});
    }
    context.out.write(table.text());
}

void attachZones(const Context& context, const PaSource& source, const Ids& zoneNames,
                 bool replace) {
    Ids wanted;
    for (const std::string& name : zoneNames) {
        wanted.push_back(findOne(paclient::zones, name).id);
    }
    const auto mode = replace ? PaSource::REPLACE_EXISTING_SET : PaSource::ADD_TO_EXISTING_SET;
    print(context, source,
          operate(context, titleOf(source) + " has these zones", [&](const Wait& wait) {
              return paclient::attachZones(source, wanted, mode, wait);
          }));
}

void detachZones(const Context& context, const PaSource& source, const Ids& zoneNames) {
    const Ids attached = source.getAttachedPaZones();
    Ids unwanted;
    for (const std::string& name : zoneNames) {
        // What is attached may be a zone that the server has withdrawn.
        const std::string id = paclient::knowsName(name, attached)
                                   ? attached[paclient::findName("zone", name, attached)]
                                   : findOne(paclient::zones, name).id;
        if (std::find(attached.begin(), attached.end(), id) == attached.end()) {
            throw Failure(ExitCode::Refused,
                          "zone '" + id + "' is not attached to " + titleOf(source));
        }
        unwanted.push_back(id);
    }
    operate(context, titleOf(source) + " has lost these zones",
            [&](const Wait& wait) { return paclient::detachZones(source, unwanted, wait); });
    print(context, source, "");
}

void detachAllZones(const Context& context, const PaSource& source) {
    print(context, source,
          operate(context, titleOf(source) + " has no zones",
                  [&](const Wait& wait) { return paclient::detachAllZones(source, wait); }));
}

}  // namespace console
