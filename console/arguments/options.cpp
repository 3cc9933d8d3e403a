// SPDX-License-Identifier: Apache-2.0
#include "console/arguments/options.h"

#include <stdexcept>
#include <vector>

namespace console {

namespace {

/// `12,40`: numbers with commas between.
std::vector<unsigned> parseNumberList(const std::string& text) {
    std::vector<unsigned> numbers;
    for (const std::string& part : CLI::detail::split(text + ',', ',')) {
        const auto number = paoperating::wholeText<unsigned>(part);
        if (!number) {
            throw std::invalid_argument("'" + text +
                                        "' is not a list of numbers with commas between");
        }
        numbers.push_back(*number);
    }
    return numbers;
}

}  // namespace

void addAudioOptions(CLI::App& app, paoperating::AudioRequest& audio, const std::string& fileHelp,
                     const std::string& fileType) {
    const auto takeItems = [&audio](const std::string& text) {
        audio.items = parseNumberList(text);
    };
    CLI::Option* const items =
        addParsed(app, "--items", takeItems, "Dictionary items to play", "N,N...");
    CLI::Option* const texts =
        addTexts(app, "--text", audio.texts, "A text to speak; repeatable", "TEXT");
    addText(app, "--file", audio.file, fileHelp, fileType)->excludes(items)->excludes(texts);
    texts->excludes(items);
    addWhole(app, "--repeat", audio.repeat, {1, greatestWhole},
             "How often the items are played (default 1)");
    addText(app, "--language", audio.language, "Language of the texts");
    addText(app, "--voice", audio.voice, "Voice of the texts");
}

}  // namespace console
