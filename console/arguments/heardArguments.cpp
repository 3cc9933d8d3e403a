#include "console/arguments/heardArguments.h"

namespace console {

HeardArguments addHeard(Parser& parser, std::vector<unsigned>& items,
                        std::vector<std::string>& texts, std::optional<std::string>& file,
                        const std::string& fileHelp, const std::string& fileType) {
    const auto takeItems = [&items](const std::string& text) {
        items = parseNumberList("--items", text);
    };
    HeardArguments heard{parser.add("--items", takeItems, "Dictionary items to play", "N,N..."),
                         parser.addTexts("--text", texts, "A text to speak; repeatable", "TEXT"),
                         parser.addText("--file", file, fileHelp, fileType)};
    heard.items.excludes(heard.texts).excludes(heard.file);
    heard.texts.excludes(heard.file);
    return heard;
}

}  // namespace console
