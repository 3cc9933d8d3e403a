#include <memory>
#include <set>

#include "console/arguments/Parser.h"
#include "console/commands/commands.h"
#include "console/commands/sourceZones.h"
#include "console/text/resourceTable.h"

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

Handler defineMembers(Parser& parser) {
    const auto zone = std::make_shared<std::string>();
    parser.addText("ZONE", *zone, "Its name").required();
    return [zone](const Context& context) { listMembers(context, *zone); };
}

/// What `attach` and `detach` are asked for.
struct Arguments {
    std::vector<std::string> zones;
    std::string source;
    bool isFlagged = false;
};

/// @param flag the option that the command has besides
std::shared_ptr<Arguments> addArguments(Parser& parser, const char* flag, const char* flagHelp) {
    auto arguments = std::make_shared<Arguments>();
    parser.addTexts("ZONE", arguments->zones, "Names of zones", "ZONE").oneOrMore();
    parser.addText("--source", arguments->source, "The source: its number or its label", "ID")
        .required();
    parser.addFlag(flag, arguments->isFlagged, flagHelp);
    return arguments;
}

Handler defineAttach(Parser& parser) {
    const auto arguments =
        addArguments(parser, "--replace", "Detach the zones that are attached before");
    parser.named("ZONE").required();
    return [arguments](const Context& context) {
        context.session();
        attachZones(context, findOne(sources, arguments->source), arguments->zones,
                    arguments->isFlagged);
    };
}

Handler defineDetach(Parser& parser) {
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

Handler defineZone(Parser& parser) {
    return defineSubcommands(
        parser, {{"members", "List the sinks of a zone", defineMembers},
                 {"attach", "Attach zones to a source, so that they hear it", defineAttach},
                 {"detach", "Detach zones from a source", defineDetach}});
}

}  // namespace console
