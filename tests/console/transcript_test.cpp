// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <cstdio>
#include <fstream>
#include <map>
#include <regex>
#include <utility>

#include "console/arguments/words.h"
#include "console/text/cleanText.h"
#include "tests/console/consoleRun.h"
#include "tests/support/TestFolder.h"

/// @file
/// Runs the transcripts in the folder next to this file. A transcript is a list of cases:
///
///     $ list zones       a command line; the server is fast unless it begins with --speed
///     < line             a line of the file {script}, which is the standard input too
///     > ID  REQUEST      an expected line of stdout
///     ! there is no ...  an expected line of stderr, after "paconsole: "
///     = 3                the exit code, when it is not 0
///     3$ get zone X  ! there is no ...   all of it in one line
///     file NAME          creates a file in the folder {folder}, with the lines that follow
///     | line
///     wav NAME           creates a recording there
///     let NAME text      {NAME} is the text from now on
///
/// {xNN} stands for a byte. In an expected line * stands for any text, and "..." as a whole line
/// for any lines. Stderr is always compared; stdout when lines are given, and it must be empty when
/// a command line fails without them. During a monitor a script prints to stderr. But for
/// JSON no output may have anything that a terminal obeys.

namespace {

using Lines = std::vector<std::string>;

struct CommandCase {
    std::string commandLine;
    Lines input;
    Lines out;
    Lines err;
    int code = 0;
};

/// Whether the items fit the pattern, in which `any` stands for any number of items.
template <class Items, class Item, class Fits>
bool matches(const Items& items, const Items& pattern, const Item& any, Fits fits) {
    auto item = items.begin();
    auto at = pattern.begin();
    auto nextItem = items.end();  // what the last `any` may cover next, and the pattern after it
    auto afterAny = pattern.end();
    while (item != items.end()) {
        if (at != pattern.end() && *at == any) {
            nextItem = item;
            afterAny = ++at;
        } else if (at != pattern.end() && fits(*item, *at)) {
            ++item;
            ++at;
        } else if (nextItem != items.end()) {
            item = ++nextItem;
            at = afterAny;
        } else {
            return false;
        }
    }
    return std::all_of(at, pattern.end(), [&any](const auto& rest) { return rest == any; });
}

bool textMatches(const std::string& text, const Lines& patterns) {
    return matches(linesOf(text), patterns, "...", [](const auto& line, const auto& pattern) {
        return matches(line, pattern, '*', std::equal_to<>());
    });
}

/// A station whose records take longer to arrive than a thread waits for its turn.
std::string largeStation() {
    std::string zones;
    for (int i = 0; i < 20'000; ++i) {
        zones += (i > 0 ? "," : "") + ("{\"id\": \"" + std::to_string(i)) + "\"}";
    }
    return R"({"name": "Large", "dstNo": 1, "sinks": [], "sources": [], "voices": [], "dictionary": [], "zones": [)" +
           zones + "]}";
}

class TranscriptRun {
public:
    void run(const std::filesystem::path& path) {
        std::ifstream file(path);
        static const std::regex oneLine(R"((\d*)\$ ?(.*?)(  ! (.*))?)");
        static const std::regex definition(R"(let (\w+) (.*))");
        std::smatch match;
        std::string line;
        for (int place = 1; std::getline(file, line); ++place) {
            const std::string text = line.size() > 2 ? filledIn(line.substr(2)) : "";
            if (std::regex_match(line, match, oneLine)) {
                finish();
                place_ = place;
                case_ = {filledIn(match[2]), {}, {}, {}, 0};
                if (match[3].matched) {
                    case_.code = std::stoi(match[1]);
                    case_.err = {"paconsole: " + filledIn(match[4])};
                }
            } else if (line.rfind("< ", 0) == 0 || line == "<") {
                case_.input.push_back(text);
            } else if (line.rfind("> ", 0) == 0) {
                case_.out.push_back(text);
            } else if (line.rfind("! ", 0) == 0) {
                case_.err.push_back(text == "..." ? text : "paconsole: " + text);
            } else if (line.rfind("= ", 0) == 0) {
                case_.code = std::stoi(text);
            } else if (line.rfind("| ", 0) == 0) {
                written_ << text << '\n' << std::flush;
            } else if (line.rfind("file ", 0) == 0) {
                finish();
                written_ = std::ofstream(folder_.path() / line.substr(5));
            } else if (line.rfind("wav ", 0) == 0) {
                finish();
                folder_.writeWav(line.substr(4), 100);
            } else if (std::regex_match(line, match, definition)) {
                texts_['{' + match[1].str() + '}'] = filledIn(match[2]);
            } else if (!line.empty() && line[0] != '#') {
                ADD_FAILURE() << "line " << place << " is of no form: " << line;
            }
        }
        finish();
    }

private:
    std::string filledIn(std::string text) const {
        for (const auto& [name, value] : texts_) {
            for (std::size_t at = 0; (at = text.find(name, at)) != std::string::npos;) {
                text.replace(at, name.size(), value);
                at += value.size();
            }
        }
        for (std::size_t at = 0; (at = text.find("{x", at)) != std::string::npos; ++at) {
            constexpr int hexadecimal = 16;
            const int byte = std::stoi(text.substr(at + 2, 2), nullptr, hexadecimal);
            text.replace(at, 5, 1, static_cast<char>(byte));
        }
        return text;
    }

    /// Runs the case that has been read, if there is one.
    void finish() {
        if (place_ == 0) {
            return;
        }
        SCOPED_TRACE("line " + std::to_string(std::exchange(place_, 0)) + ": " + case_.commandLine);
        std::string script;
        for (const std::string& line : case_.input) {
            script += line + '\n';
        }
        ASSERT_TRUE(std::freopen(folder_.write("script", script).c_str(), "r", stdin));
        const Ran ran = runConsole(console::splitWords(case_.commandLine));
        EXPECT_EQ(ran.code, case_.code);
        EXPECT_TRUE(textMatches(ran.err, case_.err)) << ran.err;
        if (!case_.out.empty() || case_.code != 0) {
            EXPECT_TRUE(textMatches(ran.out, case_.out)) << ran.out;
        }
        for (const std::string& line : linesOf(ran.err + ran.out)) {
            EXPECT_TRUE(line[0] == '{' || line == console::clean(line)) << line;
        }
    }

    CommandCase case_;
    int place_ = 0;  // of the case in the transcript; 0 for none
    const TestFolder folder_{};
    std::map<std::string, std::string> texts_ = {
        {"{folder}", folder_.path().string()},
        {"{large}", folder_.write("large.json", largeStation())},
        {"{script}", (folder_.path() / "script").string()},
    };
    std::ofstream written_;
};

Lines transcripts() {
    Lines names;
    for (const auto& entry : std::filesystem::directory_iterator(PA_TRANSCRIPT_DIR)) {
        names.push_back(entry.path().stem().string());
    }
    std::sort(names.begin(), names.end());
    return names;
}

class Transcripts : public testing::TestWithParam<std::string> {};

TEST_P(Transcripts, hold) {
    TranscriptRun().run(std::filesystem::path(PA_TRANSCRIPT_DIR) / (GetParam() + ".txt"));
}

INSTANTIATE_TEST_SUITE_P(Console, Transcripts, testing::ValuesIn(transcripts()),
                         [](const auto& test) { return test.param; });

}  // namespace
