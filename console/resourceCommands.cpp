#include <memory>
#include <set>

#include "console/TextTable.h"
#include "console/cleanText.h"
#include "console/commands.h"
#include "console/options.h"
#include "console/resources.h"
#include "sdk/PAController.h"

namespace console {

namespace {

template <class Record>
void print(const Context& context, const Resource<Record>& kind,
           const std::vector<Record>& records) {
    if (context.settings.json) {
        context.writeJson(toJson(records));
        return;
    }
    std::vector<std::string> headings;
    for (const Column& column : kind.columns) {
        headings.emplace_back(column.heading);
    }
    TextTable table(headings);
    for (const Record& record : records) {
        std::vector<std::string> cells;
        for (const Column& column : kind.columns) {
            cells.push_back(memberText(record, column.member));
        }
        table.addRow(cells);
    }
    context.out.write(table.text());
}

template <const auto& kind>
void listAll(const Context& context) {
    context.session();
    print(context, kind, kind.all());
}

template <const auto& kind>
void getOne(const Context& context, const std::string& wanted) {
    context.session();
    const auto record = findOne(kind, wanted);
    if (context.settings.json) {
        context.writeJson(toJson(record));
        return;
    }
    TextTable table({"MEMBER", "VALUE"});
    forEachMember(record, [&table](const char* name, const auto& value) {
        table.addRow({name, valueText(value)});
    });
    context.out.write(table.text());
}

/// What can be done with a kind of resource.
struct Kind {
    const char* one;
    const char* many;
    void (*list)(const Context& context);
    void (*get)(const Context& context, const std::string& wanted);
};

template <const auto& kind>
Kind kindOf() {
    return {kind.one, kind.many, listAll<kind>, getOne<kind>};
}

const std::vector<Kind>& kinds() {
    static const std::vector<Kind> table = {kindOf<sources>(), kindOf<sinks>(), kindOf<zones>(),
                                            kindOf<voices>(), kindOf<announcements>()};
    return table;
}

/// The names of all kinds, of one or of many.
std::vector<std::string> kindNames(const char* Kind::*form) {
    std::vector<std::string> names;
    for (const Kind& kind : kinds()) {
        names.emplace_back(kind.*form);
    }
    return names;
}

const Kind& kindNamed(const std::string& name, const char* Kind::*form) {
    return kinds()[findName("kind", name, kindNames(form))];
}

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

}  // namespace

Handler defineList(CLI::App& parser) {
    const auto kind = std::make_shared<std::string>();
    addText(parser, "KIND", *kind, valueText(kindNames(&Kind::many)))
        ->required()
        ->check(CLI::IsMember(kindNames(&Kind::many)));
    return [kind](const Context& context) { kindNamed(*kind, &Kind::many).list(context); };
}

Handler defineGet(CLI::App& parser) {
    const auto kind = std::make_shared<std::string>();
    const auto id = std::make_shared<std::string>();
    addText(parser, "KIND", *kind, valueText(kindNames(&Kind::one)))
        ->required()
        ->check(CLI::IsMember(kindNames(&Kind::one)));
    addText(parser, "ID", *id, "Its number, or its name or label")->required();
    return [kind, id](const Context& context) { kindNamed(*kind, &Kind::one).get(context, *id); };
}

Handler defineZone(CLI::App& parser) {
    const auto zone = std::make_shared<std::string>();
    parser.require_subcommand(1);
    CLI::App* const members = parser.add_subcommand("members", "List the sinks of a zone");
    addText(*members, "ZONE", *zone, "Its name")->required();
    return [zone](const Context& context) { listMembers(context, *zone); };
}

}  // namespace console
