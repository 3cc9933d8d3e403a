// SPDX-License-Identifier: Apache-2.0
#include "console/arguments/completion.h"

#include <algorithm>
#include <map>

#include "console/arguments/commandLine.h"
#include "console/arguments/words.h"
#include "console/text/TextTable.h"
#include "tests/support/tables.h"

namespace {

using console::complete;
using console::Completion;
using Texts = std::vector<std::string>;

/// What a station's server may have made up as names.
Texts names(const std::string& kind) {
    static const std::map<std::string, Texts> all = {
        {"zone",
         {"Hall", "hall 2", "Lift", "O'Hara's", "Say \"no\"", "a,b", "--format=json", "two\nlines",
          "\x1b[2J", "\xE9", "\xE2\x80\xAEturned", ""}},
        {"source", {"3", "Desk", "Desk \\ $HOME"}},
        {"sink", {"7", "Horn"}},
        {"schedule", {"12", "17", "3"}},
        {"announcement", {"abc-1", "abd-2"}},
        {"voice", {"Ann", "Am\xC3\xA9lie", "Am\xC3\xA8"}},
        {"language", {"en", "fr"}},
    };
    const auto found = all.find(kind);
    return found == all.end() ? Texts() : found->second;
}

Completion completed(const std::string& line) {
    const console::CommandParser parser(console::Settings{}, console::LineKind::Shell);
    return complete(line, parser.tree(), names);
}

TEST(Completion, replacesTheWordAtTheCursor) {
    expectTable([](const std::string& given) {
        const std::string line = given.substr(0, given.rfind('<'));
        const Completion completion = completed(line);
        const std::string result = line.substr(0, completion.begin) + completion.word;
        return std::to_string(completion.choices.size()) +
               (completion.choices.empty() ? "" : " " + result + "<");
    });
    EXPECT_TRUE(completed("# get zone L").choices.empty());
}

TEST(Completion, leavesOutWhatALineCannotSay) {
    EXPECT_EQ(completed("zone members ").choices,
              (Texts{"Hall", "Lift", "O'Hara's", "Say \"no\"", "a,b", "hall 2"}));
    EXPECT_EQ(completed("zone members ").word, "");
    EXPECT_EQ(completed("schedule remove ").choices, (Texts{"3", "12", "17"}));
}

TEST(ChoiceTable, fitsTheTerminal) {
    using console::choiceTable;
    EXPECT_EQ(choiceTable({"a", "bb", "c", "d", "e"}, 9), "a   d\nbb  e\nc\n");
    EXPECT_EQ(choiceTable({"wider than the terminal", "\x1b[2J"}, 9),
              "wider than the terminal\n\\x1B[2J\n");
    const std::string many = choiceTable(Texts(103, "x"), 3);
    EXPECT_EQ(std::count(many.begin(), many.end(), '\n'), 101);
    EXPECT_EQ(many.substr(many.size() - 13), "x\nand 3 more\n");
}

TEST(Words, areQuotedSoThatTheyAreReadBack) {
    for (const std::string text :
         {"plain", "two words", "", "it's", "say \"no\"", "it's \"both\"", "back\\slash", "'\\\"'",
          "#comment", "a#b", "$HOME;`ls`&|<>*?~!(){}[]", "caf\xC3\xA9", "tab\there"}) {
        EXPECT_EQ(console::splitWords(console::quoted(text)), Texts{text}) << text;
        const auto scan = console::scanWords(console::quotedBeginning(text) + "-more");
        EXPECT_EQ(scan.words, Texts{std::string(text) + "-more"});
    }
}

}  // namespace
