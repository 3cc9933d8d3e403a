#include "console/commands/sourceZones.h"

#include <algorithm>
#include <set>

#include "console/ExitCode.h"
#include "console/commands/sourceLock.h"
#include "console/following/operate.h"
#include "console/text/TextTable.h"
#include "console/text/resources.h"

namespace console {

namespace {

using ZoneIds = std::set<std::string>;

ZoneIds attachedTo(const PaSource& source) {
    const auto ids = source.getAttachedPaZones();
    return {ids.begin(), ids.end()};
}

bool hasAll(const ZoneIds& attached, const ZoneIds& wanted) {
    return std::includes(attached.begin(), attached.end(), wanted.begin(), wanted.end());
}

bool hasNone(const ZoneIds& attached, const ZoneIds& unwanted) {
    return std::none_of(unwanted.begin(), unwanted.end(),
                        [&](const std::string& id) { return attached.count(id) > 0; });
}

std::string titleOf(const PaSource& source) {
    return "source " + std::to_string(source.id);
}

std::vector<std::string> listOf(const ZoneIds& ids) {
    return {ids.begin(), ids.end()};
}

void print(const Context& context, const PaSource& source, const std::string& asBefore) {
    const auto attached = listOf(attachedTo(source));
    printOutcome(context,
                 titleOf(source) + " has " +
                     (attached.empty() ? "no zones" : "the zones " + valueText(attached)) +
                     asBefore,
                 {{"sourceId", source.id}, {"zones", attached}});
}

}  // namespace

void printZones(const Context& context, const PaSource& source) {
    const auto attached = listOf(attachedTo(source));
    const Lock lock = lockOf(source.id);
    if (context.settings.json) {
        Json report = toJson(lock);
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

void attachZones(const Context& context, const PaSource& source,
                 const std::vector<std::string>& zoneNames, bool replace) {
    ZoneIds wanted;
    for (const std::string& name : zoneNames) {
        wanted.insert(findOne(zones, name).id);
    }
    const auto holds = [&] {
        const ZoneIds attached = attachedTo(source);
        return replace ? attached == wanted : hasAll(attached, wanted);
    };
    const auto send = [&] {
        source.attachPaZone(listOf(wanted), replace ? PaSource::REPLACE_EXISTING_SET
                                                    : PaSource::ADD_TO_EXISTING_SET);
    };
    const Request request{titleOf(source) + " has these zones",
                          {pa::operations::attachZones, pa::operations::detachZones}};
    print(context, source, bringAbout(context, request, holds, send));
}

void detachZones(const Context& context, const PaSource& source,
                 const std::vector<std::string>& zoneNames) {
    const auto attached = source.getAttachedPaZones();
    ZoneIds unwanted;
    for (const std::string& name : zoneNames) {
        // What is attached may be a zone that the server has withdrawn.
        const std::string id = knowsName(name, attached)
                                   ? attached[findName("zone", name, attached)]
                                   : findOne(zones, name).id;
        if (std::find(attached.begin(), attached.end(), id) == attached.end()) {
            throw Failure(ExitCode::Refused,
                          "zone '" + id + "' is not attached to " + titleOf(source));
        }
        unwanted.insert(id);
    }
    operate(
        context, {titleOf(source) + " has lost these zones", {pa::operations::detachZones}},
        [&] { source.detachPaZone(listOf(unwanted)); },
        seen([&] { return hasNone(attachedTo(source), unwanted); }));
    print(context, source, "");
}

void detachAllZones(const Context& context, const PaSource& source) {
    const auto holds = [&] { return source.getAttachedPaZones().empty(); };
    const Request request{titleOf(source) + " has no zones", {pa::operations::detachZones}};
    print(context, source, bringAbout(context, request, holds, [&] { source.detachAllPaZones(); }));
}

}  // namespace console
