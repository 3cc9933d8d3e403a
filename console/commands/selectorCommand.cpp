#include "console/commands/commands.h"
#include "console/following/operate.h"
#include "console/text/resourceTable.h"
#include "sdk/PAController.h"

namespace console {

namespace {

struct SelectorList {
    std::optional<std::string> source;

    void define(CLI::App& app) {
        addText(app, "--source", source, "Of one source: its number or its label", "ID");
    }

    void run(const Context& context) const {
        context.session();
        printOfSource(context, paclient::selectors, source);
    }
};

struct SelectorState {
    std::string wanted;

    void define(CLI::App& app) {
        addText(app, "ID", wanted, "The selector: its number or its label")->required();
    }

    void run(const Context& context) const {
        context.session();
        const PaSelector selector = findOne(paclient::selectors, wanted);
        const PaSelector::State state = gPaController.getPaSelectorState(selector.id);
        printOutcome(context,
                     "selector " + std::to_string(selector.id) + ": " + paclient::nameOf(state),
                     {{"id", selector.id},
                      {"state", static_cast<int>(state)},
                      {"stateText", paclient::nameOf(state)}});
    }
};

}  // namespace

Command selectorCommand() {
    return group("selector", "See the selectors",
                 {command<SelectorList>("list", "List the selectors"),
                  command<SelectorState>("state", "Show the state of a selector")});
}

}  // namespace console
