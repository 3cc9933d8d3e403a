#include "console/commands/commands.h"
#include "console/text/resourceTable.h"

namespace console {

using namespace paclient;

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

/// Adds the argument KIND, the name of one or of many.
void addKind(CLI::App& app, const Kind*& chosen, const char* Kind::*form) {
    std::vector<std::string> names;
    for (const Kind& kind : kinds()) {
        names.emplace_back(kind.*form);
    }
    const auto take = [&chosen, names](const std::string& name) {
        chosen = &kinds()[findName("kind", name, names)];
    };
    addParsed(app, "KIND", take, valueText(names), "TEXT")->required()->check(oneOf(names));
}

struct List {
    const Kind* kind = nullptr;

    void define(CLI::App& app) { addKind(app, kind, &Kind::many); }
    void run(const Context& context) const { kind->list(context); }
};

struct Get {
    const Kind* kind = nullptr;
    std::string id;

    void define(CLI::App& app) {
        addKind(app, kind, &Kind::one);
        addText(app, "ID", id, "Its number, or its name or label")->required();
    }

    void run(const Context& context) const { kind->get(context, id); }
};

}  // namespace

Command listCommand() {
    return command<List>("list", "List every resource of a kind");
}

Command getCommand() {
    return command<Get>("get", "Show one resource with all its members");
}

}  // namespace console
