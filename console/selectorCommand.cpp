#include <memory>

#include "console/commands.h"
#include "console/operate.h"
#include "console/options.h"
#include "console/resourceTable.h"
#include "sdk/PAController.h"

namespace console {

namespace {

void showState(const Context& context, const std::string& wanted) {
    context.session();
    const PaSelector selector = findOne(selectors, wanted);
    const PaSelector::State state = gPaController.getPaSelectorState(selector.id);
    printOutcome(context, "selector " + std::to_string(selector.id) + ": " + nameOf(state),
                 {{"id", selector.id}, {"state", jsonValue(state)}});
}

Handler defineSelectorList(CLI::App& parser) {
    const auto source = std::make_shared<std::optional<std::string>>();
    addText(parser, "--source", *source, "Of one source: its number or its label", "ID");
    return [source](const Context& context) {
        context.session();
        printOfSource(context, selectors, *source);
    };
}

Handler defineState(CLI::App& parser) {
    const auto wanted = std::make_shared<std::string>();
    addText(parser, "ID", *wanted, "The selector: its number or its label")->required();
    return [wanted](const Context& context) { showState(context, *wanted); };
}

}  // namespace

Handler defineSelector(CLI::App& parser) {
    return defineSubcommands(parser, {{"list", "List the selectors", defineSelectorList},
                                      {"state", "Show the state of a selector", defineState}});
}

}  // namespace console
