#include <memory>
#include <set>

#include "console/commands.h"
#include "console/options.h"
#include "console/resourceTable.h"
#include "console/sourceZones.h"

namespace console {

namespace {

void listMembers(const Context& context, const std::string& wanted) {
    context.session();
    std::vector<PaSink> members;
    std::set<int> shown;  // a sink that lists the zone and its sub-zones is shown once
    for (const PaSink& sink : findOne(zones, wanted).getMembers()) {
        if (shown.insert(sink.id).second) {
            members.push_back(sink);
        }
    }
    print(context, sinks, members);
}

Handler defineMembers(CLI::App& parser) {
    const auto zone = std::make_shared<std::string>();
    addText(parser, "ZONE", *zone, "Its name")->required();
    return [zone](const Context& context) { listMembers(context, *zone); };
}

/// What `attach` and `detach` are asked for.
struct Arguments {
    std::vector<std::string> zones;
    std::string source;
    bool isFlagged = false;
};

/// @param flag the option that the command has besides
std::shared_ptr<Arguments> addArguments(CLI::App& parser, const char* flag, const char* flagHelp) {
    auto arguments = std::make_shared<Arguments>();
    addTexts(parser, "ZONE", arguments->zones, "Names of zones", "ZONE")
        ->expected(1, greatestWhole)
        ->allow_extra_args();
    addText(parser, "--source", arguments->source, "The source: its number or its label", "ID")
        ->required();
    parser.add_flag(flag, arguments->isFlagged, flagHelp);
    return arguments;
}

Handler defineAttach(CLI::App& parser) {
    const auto arguments =
        addArguments(parser, "--replace", "Detach the zones that are attached before");
    parser.get_option("ZONE")->required();
    return [arguments](const Context& context) {
        context.session();
        attachZones(context, findOne(sources, arguments->source), arguments->zones,
                    arguments->isFlagged);
    };
}

Handler defineDetach(CLI::App& parser) {
    const auto arguments = addArguments(parser, "--all", "Detach every zone");
    return [arguments](const Context& context) {
        if (arguments->zones.empty() != arguments->isFlagged) {
            throw Failure(ExitCode::Usage, "detach what? Either ZONE or --all");
        }
        context.session();
        const PaSource source = findOne(sources, arguments->source);
        arguments->isFlagged ? detachAllZones(context, source)
                             : detachZones(context, source, arguments->zones);
    };
}

}  // namespace

Handler defineZone(CLI::App& parser) {
    return defineSubcommands(
        parser, {{"members", "List the sinks of a zone", defineMembers},
                 {"attach", "Attach zones to a source, so that they hear it", defineAttach},
                 {"detach", "Detach zones from a source", defineDetach}});
}

}  // namespace console
