#include <algorithm>
#include <fstream>
#include <regex>

#include "console/arguments/words.h"
#include "tests/console/consoleRun.h"
#include "tests/support/TestFolder.h"

/// @file
/// Runs the transcripts in the folder next to this file. A transcript is a list of cases:
///
///     $ list zones       a command line; the server is fast unless it begins with --speed
///     < line             a line of the script {script}, or of the shell, that it runs
///     > ID  REQUEST      an expected line of stdout
///     ! there is no ...  an expected line of stderr, after "paconsole: "
///     = 3                the exit code, when it is not 0
///     3$ get zone X  ! there is no ...   all of it in one line
///     file NAME          creates a file in the folder {folder}, with the lines that follow
///     | line
///     wav NAME           creates a recording there
///
/// {xNN} stands for a byte. In an expected line * stands for any text, and "..." as a whole line
/// for any lines. Stderr is always compared; stdout when lines are given, and it must be empty when
/// a command line fails without them. During a monitor a script prints to stderr.

namespace {

using Lines = std::vector<std::string>;

struct Case {
    std::string commandLine;
    Lines input;
    Lines out;
    Lines err;
    int code = 0;
};

bool lineMatches(const std::string& line, const std::string& pattern) {
    static const std::regex special(R"([.^$|()\[\]{}+?\\])");
    static const std::regex star(R"(\*)");
    const std::string escaped = std::regex_replace(pattern, special, R"(\$&)");
    return std::regex_match(line, std::regex(std::regex_replace(escaped, star, ".*")));
}

using Line = Lines::const_iterator;

bool linesMatch(Line line, Line end, Line pattern, Line patternEnd) {
    if (pattern == patternEnd) {
        return line == end;
    }
    if (*pattern == "...") {
        return linesMatch(line, end, pattern + 1, patternEnd) ||
               (line != end && linesMatch(line + 1, end, pattern, patternEnd));
    }
    return line != end && lineMatches(*line, *pattern) &&
           linesMatch(line + 1, end, pattern + 1, patternEnd);
}

bool textMatches(const std::string& text, const Lines& patterns) {
    const Lines lines = linesOf(text);
    return linesMatch(lines.begin(), lines.end(), patterns.begin(), patterns.end());
}

class Transcript {
public:
    void run(const std::filesystem::path& path) {
        std::ifstream file(path);
        static const std::regex form(R"((\d*)\$ ?(.*?)(  ! (.*))?)");
        std::smatch match;
        std::string line;
        for (int place = 1; std::getline(file, line); ++place) {
            const std::string text = line.size() > 2 ? filledIn(line.substr(2)) : "";
            if (std::regex_match(line, match, form)) {
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
                written_ = std::ofstream(folder_.path() / line.substr(5));
            } else if (line.rfind("wav ", 0) == 0) {
                folder_.writeWav(line.substr(4), 100);
            } else if (!line.empty() && line[0] != '#') {
                ADD_FAILURE() << "line " << place << " is of no form: " << line;
            }
        }
        finish();
    }

private:
    std::string filledIn(std::string text) const {
        const std::string folder = folder_.path().string();
        text = std::regex_replace(text, std::regex(R"(\{folder\})"), folder);
        text = std::regex_replace(text, std::regex(R"(\{script\})"), folder + "/script");
        for (std::size_t at = 0; (at = text.find("{x", at)) != std::string::npos; ++at) {
            constexpr int hexadecimal = 16;
            const int byte = std::stoi(text.substr(at + 2, 2), nullptr, hexadecimal);
            text.replace(at, 5, 1, static_cast<char>(byte));
        }
        return text;
    }

    /// Runs the case that has been read.
    void finish() const {
        if (place_ == 0) {
            return;
        }
        SCOPED_TRACE("line " + std::to_string(place_) + ": " + case_.commandLine);
        std::string script;
        for (const std::string& line : case_.input) {
            script += line + '\n';
        }
        folder_.write("script", script);
        const Ran ran = case_.commandLine == "shell"
                            ? runShell({case_.input.begin(), case_.input.end()})
                            : runWords(console::splitWords(case_.commandLine));
        EXPECT_EQ(ran.code, case_.code);
        EXPECT_TRUE(textMatches(ran.err, case_.err)) << ran.err;
        if (!case_.out.empty()) {
            EXPECT_TRUE(textMatches(ran.out, case_.out)) << ran.out;
        } else if (case_.code != 0) {
            EXPECT_EQ(ran.out, "");
        }
    }

    static Ran runWords(Lines words) {
        if (words.empty() || words[0] != "--speed") {
            return runConsole(words);
        }
        const std::string speed = words[1];
        words.erase(words.begin(), words.begin() + 2);
        return runConsole(words, speed);
    }

    Case case_;
    int place_ = 0;  // of the case in the transcript
    const TestFolder folder_{};
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
    Transcript().run(std::filesystem::path(PA_TRANSCRIPT_DIR) / (GetParam() + ".txt"));
}

INSTANTIATE_TEST_SUITE_P(Console, Transcripts, testing::ValuesIn(transcripts()),
                         [](const auto& test) { return test.param; });

}  // namespace
