#include "console/arguments/completion.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <map>

#include "console/arguments/commandLine.h"
#include "console/arguments/words.h"
#include "console/text/TextTable.h"

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
    struct Case {
        std::string line;
        std::string result;  // the line afterwards; empty when nothing is known
        std::size_t choices;
    };
    const Case cases[] = {
        // commands, subcommands, options, listed values
        {"sta", "status ", 1},
        {"he", "help ", 1},
        {"help zo", "help zone ", 1},
        {"sh", "", 0},  // refused on a line
        {"zone mem", "zone members ", 1},
        {"play --zon", "play --zones ", 1},
        {"play --scen", "", 0},  // of the process
        {"--format js", "--format json ", 1},
        {"list --format=t", "list --format=text ", 1},
        {"play --repeat ", "", 0},
        {"play --wait --zon", "play --wait --zones ", 1},  // a flag has no value
        // names
        {"get zone l", "get zone Lift ", 1},
        {"get zone ha", "get zone ha", 2},
        {"get zone hall\\ ", "get zone 'hall 2' ", 1},
        {"get zone O", "get zone \"O'Hara's\" ", 1},
        {"get zone S", "get zone 'Say \"no\"' ", 1},
        {"get zone a", "get zone a,b ", 1},
        {"get source d", "get source Desk", 2},
        {"get source 'Desk \\", "get source 'Desk \\ $HOME' ", 1},
        {"schedule remove 3 1", "schedule remove 3 1", 2},
        {"cancel abd", "cancel abd-2 ", 1},
        {"play --voice Am", "play --voice Am", 2},  // not half a letter
        {"play --zones Hall,li", "play --zones Hall,Lift ", 1},
        {"play --zones=li", "play --zones=Lift ", 1},
        {"play --zones Lift,a", "", 0},  // it would be parted
        // what cannot go on
        {"get zone Li\\", "", 0},
        {"# get zone L", "", 0},
        {"get zone Lift L", "", 0},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.line);
        const Completion completion = completed(c.line);
        EXPECT_EQ(completion.choices.size(), c.choices);
        EXPECT_EQ(
            completion.choices.empty() ? "" : c.line.substr(0, completion.begin) + completion.word,
            c.result);
    }
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
