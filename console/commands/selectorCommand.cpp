#include <memory>

#include "console/arguments/Parser.h"
#include "console/commands/commands.h"
#include "console/following/operate.h"
#include "console/text/resourceTable.h"
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

Handler defineSelectorList(Parser& parser) {
    const auto source = std::make_shared<std::optional<std::string>>();
    parser.addText("--source", *source, "Of one source: its number or its label", "ID");
    return [source](const Context& context) {
        context.session();
        printOfSource(context, selectors, *source);
    };
}

Handler defineState(Parser& parser) {
    const auto wanted = std::make_shared<std::string>();
    parser.addText("ID", *wanted, "The selector: its number or its label").required();
    return [wanted](const Context& context) { showState(context, *wanted); };
}

}  // namespace

Handler defineSelector(Parser& parser) {
    return defineSubcommands(parser, {{"list", "List the selectors", defineSelectorList},
                                      {"state", "Show the state of a selector", defineState}});
}

}  // namespace console
