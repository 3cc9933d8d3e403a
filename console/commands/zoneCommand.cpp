// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <set>

#include "console/commands/devices.h"
#include "console/text/resourceTable.h"
#include "operating/operations.h"

namespace console {

using namespace paclient;

namespace {

using Ids = std::vector<std::string>;

struct ZoneMembers {
    std::string zone;

    void define(CLI::App& app) { addText(app, "ZONE", zone, "Its name")->required(); }

    void run(const Context& context) const {
        context.connected();
        std::vector<PaSink> members = findOne(paclient::zones, zone).getMembers();
        std::set<int> listed;  // a sink that names the zone and its sub-zones is listed once
        const auto isListed = [&](const PaSink& sink) { return !listed.insert(sink.id).second; };
        members.erase(std::remove_if(members.begin(), members.end(), isListed), members.end());
        print(context, sinks, members);
    }
};

/// The zones and the source of a command.
struct OfSource : Named<paclient::sources> {
    Ids zones;

    CLI::Option* define(CLI::App& app) {
        Named::define(app, "--source");
        return addTextList(app, "ZONE", zones, "Names of zones");
    }

    /// Runs an operation, and prints the zones that are attached then.
    template <class Operation>
    static void change(const Context& context, const PaSource& from, const std::string& effect,
                       Operation operation) {
        const std::string title = titleOf(paclient::sources, from);
        const std::string asBefore = operate(context, title + effect, operation);
        const Ids now = from.getAttachedPaZones();
        printOutcome(
            context,
            title + " has " + (now.empty() ? "no zones" : "the zones " + valueText(now)) + asBefore,
            {{"sourceId", from.id}, {"zones", now}});
        warnUnlessKept(context, "the attachment");
    }
};

struct ZoneAttach : OfSource {
    bool replace = false;

    void define(CLI::App& app) {
        OfSource::define(app)->required();
        app.add_flag("--replace", replace, "Detach the zones that are attached before");
    }

    void run(const Context& context) const {
        const PaSource to = find(context);
        Ids ids;
        for (const std::string& name : zones) {
            ids.push_back(findOne(paclient::zones, name).id);
        }
        const auto mode = replace ? PaSource::REPLACE_EXISTING_SET : PaSource::ADD_TO_EXISTING_SET;
        change(context, to, " has these zones",
               [&](const Wait& wait) { return attachZones(to, ids, mode, wait); });
    }
};

struct ZoneDetach : OfSource {
    bool all = false;

    void define(CLI::App& app) {
        OfSource::define(app);
        app.add_flag("--all", all, "Detach every zone");
    }

    void run(const Context& context) const {
        require(zones.empty() == all, "detach what? Either ZONE or --all");
        const PaSource from = find(context);
        const Ids unwanted = all ? Ids() : paoperating::chooseAttached(from, zones);
        change(context, from, all ? " has no zones" : " has lost these zones",
               [&](const Wait& wait) {
                   return all ? detachAllZones(from, wait) : detachZones(from, unwanted, wait);
               });
    }
};

}  // namespace

Command zoneCommand() {
    return group("zone", "Ask about a zone, attach zones to a source and detach them",
                 {command<ZoneMembers>("members", "List the sinks of a zone"),
                  command<ZoneAttach>("attach", "Attach zones to a source, which then plays there"),
                  command<ZoneDetach>("detach", "Detach zones from a source")});
}

}  // namespace console
