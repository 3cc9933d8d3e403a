#include <memory>

#include "console/arguments/Parser.h"
#include "console/commands/commands.h"
#include "console/text/resourceTable.h"

namespace console {

namespace {

template <const auto& kind>
void listAll(const Context& context) {
    context.session();
    print(context, kind, kind.all());
}

template <const auto& kind>
void getOne(const Context& context, const std::string& wanted) {
    context.session();
    printOne(context, findOne(kind, wanted));
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
    static const std::vector<Kind> table = {
        kindOf<sources>(),  kindOf<sinks>(),        kindOf<zones>(),     kindOf<voices>(),
        kindOf<triggers>(), kindOf<selectors>(),    kindOf<schedules>(), kindOf<ttsItems>(),
        kindOf<locks>(),    kindOf<announcements>()};
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

}  // namespace

Handler defineList(Parser& parser) {
    const auto kind = std::make_shared<std::string>();
    parser.addText("KIND", *kind, valueText(kindNames(&Kind::many)))
        .required()
        .oneOf(kindNames(&Kind::many));
    return [kind](const Context& context) { kindNamed(*kind, &Kind::many).list(context); };
}

Handler defineGet(Parser& parser) {
    const auto kind = std::make_shared<std::string>();
    const auto id = std::make_shared<std::string>();
    parser.addText("KIND", *kind, valueText(kindNames(&Kind::one)))
        .required()
        .oneOf(kindNames(&Kind::one));
    parser.addText("ID", *id, "Its number, or its name or label").required();
    return [kind, id](const Context& context) { kindNamed(*kind, &Kind::one).get(context, *id); };
}

}  // namespace console
