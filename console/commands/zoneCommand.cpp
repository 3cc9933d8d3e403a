#include <set>

#include "console/ExitCode.h"
#include "console/commands/commands.h"
#include "console/commands/sourceZones.h"
#include "console/text/resourceTable.h"

namespace console {

namespace {

struct ZoneMembers {
    std::string zone;

    void define(CLI::App& app) { addText(app, "ZONE", zone, "Its name")->required(); }

    void run(const Context& context) const {
        context.session();
        std::vector<PaSink> members;
        std::set<int> listed;  // a sink that names the zone and its sub-zones is listed once
        for (const PaSink& sink : findOne(paclient::zones, zone).getMembers()) {
            if (listed.insert(sink.id).second) {
                members.push_back(sink);
            }
        }
        print(context, paclient::sinks, members);
    }
};

void addSource(CLI::App& app, std::string& source) {
    addText(app, "--source", source, "The source: its number or its label", "ID")->required();
}

struct ZoneAttach {
    std::vector<std::string> zones;
    std::string source;
    bool replace = false;

    void define(CLI::App& app) {
        addTextList(app, "ZONE", zones, "Names of zones")->required();
        addSource(app, source);
        app.add_flag("--replace", replace, "Detach the zones that are attached before");
    }

    void run(const Context& context) const {
        context.session();
        attachZones(context, findOne(paclient::sources, source), zones, replace);
    }
};

struct ZoneDetach {
    std::vector<std::string> zones;
    std::string source;
    bool all = false;

    void define(CLI::App& app) {
        addTextList(app, "ZONE", zones, "Names of zones");
        addSource(app, source);
        app.add_flag("--all", all, "Detach every zone");
    }

    void run(const Context& context) const {
        if (zones.empty() != all) {
            throw Failure(ExitCode::Usage, "detach what? Either ZONE or --all");
        }
        context.session();
        const PaSource from = findOne(paclient::sources, source);
        all ? detachAllZones(context, from) : detachZones(context, from, zones);
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
