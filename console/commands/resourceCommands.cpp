// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <iterator>

#include "console/commands/commands.h"
#include "console/text/resourceTable.h"
#include "operating/simulation.h"

namespace console {

using namespace paclient;

namespace {

template <const auto& kind>
void listAll(const Context& context) {
    context.connected();
    print(context, kind, kind.all());
}

template <const auto& kind>
void getOne(const Context& context, const std::string& wanted) {
    context.connected();
    printOne(context, findOne(kind, wanted));
}

/// The names by which the resources of a kind can be called now: numbers and labels.
template <const auto& kind>
std::vector<std::string> allNames() {
    std::vector<std::string> names;
    const auto records = kind.all();
    for (auto* const textOf : {kind.number, kind.name}) {
        if (textOf != nullptr) {
            std::transform(records.begin(), records.end(), std::back_inserter(names), textOf);
        }
    }
    return names;
}

// ------------------------------------------------------------------- what no records are sent for

std::string secondsText(const Json& entry) {
    return valueText(entry["seconds"].get<double>());
}

/// Lists dictionary items, all of them or the chimes.
template <bool onlyChimes>
void listItems(const Context& context) {
    Json array = Json::array();
    TextTable table({onlyChimes ? "CHIME" : "ITEM", "TEXT", "SECONDS"});
    for (const auto& item : context.connected().simControl().contents().dictionary) {
        if (item.chime || !onlyChimes) {
            array.push_back(paoperating::toJson(item));
            table.addRow({std::to_string(item.item), item.text, secondsText(array.back())});
        }
    }
    context.write(table, array);
}

void listRecordings(const Context& context) {
    Json array = Json::array();
    TextTable table({"PATH", "SECONDS"});
    for (const auto& recording : context.connected().simControl().contents().recordings) {
        array.push_back(paoperating::toJson(recording));
        table.addRow({recording.path, secondsText(array.back())});
    }
    context.write(table, array);
}

// ------------------------------------------------------------------------------------------ kinds

/// What can be done with a kind of resource.
struct KindCommands {
    const char* one;  ///< null for what can only be listed
    const char* many;
    void (*list)(const Context& context);
    void (*get)(const Context& context, const std::string& wanted);
    std::vector<std::string> (*names)();
};

template <const auto& kind>
constexpr KindCommands kindOf{kind.one, kind.many, listAll<kind>, getOne<kind>, allNames<kind>};

constexpr KindCommands kindRows[] = {
    kindOf<sources>,
    kindOf<sinks>,
    kindOf<zones>,
    // Not by the port: it is no name of a voice when something is to be spoken.
    {voices.one, voices.many, listAll<voices>, getOne<voices>,
     [] { return memberTexts<&TTSVocalizer::voice>(allVoices()); }},
    kindOf<triggers>,
    kindOf<selectors>,
    kindOf<schedules>,
    kindOf<ttsItems>,
    kindOf<locks>,
    kindOf<announcements>,
    {nullptr, "dictionary", listItems<false>, nullptr, nullptr},
    {nullptr, "chimes", listItems<true>, nullptr, nullptr},
    {nullptr, "recordings", listRecordings, nullptr, nullptr},
};

/// Adds the argument KIND, the name of one or of many.
void addKind(CLI::App& app, const KindCommands*& chosen, const char* KindCommands::*form) {
    std::vector<std::string> names;
    for (const KindCommands& kind : kindRows) {
        if (kind.*form != nullptr) {
            names.emplace_back(kind.*form);
        }
    }
    const auto take = [&chosen, form](const std::string& name) {
        chosen = std::find_if(
            std::begin(kindRows), std::end(kindRows),
            [&](const KindCommands& kind) { return kind.*form != nullptr && kind.*form == name; });
    };
    addParsed(app, "KIND", take, "Of the resources", "TEXT")->required()->check(oneOf(names));
}

struct List {
    const KindCommands* kind = nullptr;

    void define(CLI::App& app) { addKind(app, kind, &KindCommands::many); }
    void run(const Context& context) const { kind->list(context); }
};

struct Get {
    const KindCommands* kind = nullptr;
    std::string id;

    void define(CLI::App& app) {
        addKind(app, kind, &KindCommands::one);
        addText(app, "ID", id, "Its number, or its name or label")->required();
    }

    void run(const Context& context) const { kind->get(context, id); }
};

}  // namespace

const std::vector<Command>& commands() {
    static const std::vector<Command> table = {
        statusCommand(),  listCommand(),    getCommand(),      zoneCommand(),    sourceCommand(),
        sinkCommand(),    triggerCommand(), selectorCommand(), playCommand(),    cancelCommand(),
        previewCommand(), recordCommand(),  scheduleCommand(), monitorCommand(), demoCommand(),
        shellCommand(),   simCommand(),
    };
    return table;
}

Command listCommand() {
    return command<List>("list", "List every resource of a kind");
}

Command getCommand() {
    return command<Get>("get", "Show one resource with all its members");
}

std::vector<std::string> knownNames(const std::string& kind) {
    if (kind == "language") {
        return memberTexts<&TTSVocalizer::language>(allVoices());
    }
    for (const KindCommands& row : kindRows) {
        if (row.one != nullptr && row.one == kind) {
            return row.names();
        }
    }
    return {};
}

}  // namespace console
