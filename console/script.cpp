#include "console/script.h"

#include <cerrno>
#include <cstring>
#include <exception>
#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include "console/ExitCode.h"
#include "console/interrupt.h"

namespace console {

namespace {

Failure unusable(const std::string& name, const std::string& why) {
    return Failure(ExitCode::Usage, "script " + name + ": " + why);
}

/// The lines of a file, a pipe or a terminal. An ordinary stream would not wake up when the user
/// interrupts.
class ScriptFile {
public:
    explicit ScriptFile(const std::string& path)
        : name_(path == "-" ? "standard input" : path),
          descriptor_(path == "-" ? dup(STDIN_FILENO) : open(path.c_str(), O_RDONLY | O_CLOEXEC)) {
        if (descriptor_ < 0) {
            interrupt::check();                           // a pipe that nobody writes to waits here
            throw unusable(name_, std::strerror(errno));  // NOLINT: one thread alone opens scripts
        }
    }
    ScriptFile(const ScriptFile&) = delete;
    ScriptFile& operator=(const ScriptFile&) = delete;
    ~ScriptFile() { close(descriptor_); }

    const std::string& name() const { return name_; }

    /// The next line, without its end.
    /// @return false when there is none
    bool next(std::string& line) {
        std::size_t end = pending_.find('\n');
        while (end == std::string::npos && readMore()) {
            end = pending_.find('\n');
        }
        if (pending_.empty()) {
            return false;
        }
        line = pending_.substr(0, end);
        pending_.erase(0, end == std::string::npos ? end : end + 1);
        if (!line.empty() && line.back() == '\r') {
            line.pop_back();
        }
        return true;
    }

private:
    bool readMore() {
        constexpr int tickMS = 50;
        pollfd waiting = {descriptor_, POLLIN, 0};
        while (poll(&waiting, 1, tickMS) <= 0) {
            interrupt::check();
        }
        char buffer[4096];
        const ssize_t count = read(descriptor_, buffer, sizeof buffer);
        if (count < 0) {
            interrupt::check();
            throw unusable(name_, std::strerror(errno));  // NOLINT: as above
        }
        pending_.append(buffer, static_cast<std::size_t>(count));
        return count > 0;
    }

    std::string name_;
    int descriptor_;
    std::string pending_;
};

}  // namespace

std::vector<std::string> splitWords(const std::string& line) {
    std::vector<std::string> words;
    bool inWord = false;
    char quote = '\0';  // the one that is open
    const auto beginWord = [&] {
        if (!inWord) {
            words.emplace_back();
            inWord = true;
        }
    };
    const auto escapes = [&](std::size_t at) {
        const bool beforeSpecial =
            at + 1 < line.size() && (line[at + 1] == '"' || line[at + 1] == '\\');
        return line[at] == '\\' && (quote == '\0' || (quote == '"' && beforeSpecial));
    };
    for (std::size_t i = 0; i < line.size(); ++i) {
        const char c = line[i];
        if (escapes(i)) {
            if (++i == line.size()) {
                throw Failure(ExitCode::Usage, "nothing follows the backslash at the end");
            }
            beginWord();
            words.back() += line[i];
        } else if (quote != '\0' && c == quote) {
            quote = '\0';
        } else if (quote == '\0' && (c == '"' || c == '\'')) {
            quote = c;
            beginWord();  // '' is a word too
        } else if (quote == '\0' && (c == ' ' || c == '\t')) {
            inWord = false;
        } else if (quote == '\0' && c == '#' && !inWord) {
            break;
        } else {
            beginWord();
            words.back() += c;
        }
    }
    if (quote != '\0') {
        throw Failure(ExitCode::Usage, std::string("the quote ") + quote + " is not closed");
    }
    return words;
}

void runScript(const std::string& path,
               const std::function<void(const std::vector<std::string>& words)>& runCommand) {
    ScriptFile file(path);
    std::string line;
    for (int number = 1; file.next(line); ++number) {
        interrupt::check();
        const std::string place = file.name() + ", line " + std::to_string(number) + ": ";
        try {
            if (line.find('\0') != std::string::npos) {
                throw Failure(ExitCode::Usage, "a NUL character");
            }
            const auto words = splitWords(line);
            if (!words.empty()) {
                runCommand(words);
            }
        } catch (const Failure& failure) {
            throw Failure(failure.code, place + failure.what());
        }
    }
}

}  // namespace console
