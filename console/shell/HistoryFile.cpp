#include "console/shell/HistoryFile.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <fstream>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

#include "console/text/cleanText.h"

namespace console {

namespace fs = std::filesystem;

namespace {

std::string reason() {
    return std::strerror(errno);  // NOLINT: one thread reads lines
}

/// Makes the folder and those above it, for the user alone where they are new.
void makeFolder(const fs::path& folder) {
    fs::path path;
    for (const fs::path& part : folder) {
        path /= part;
        mkdir(path.c_str(), S_IRWXU);  // one that is there already stays; what fails shows later
    }
}

/// A regular file that is open for adding to its end. Anything else might keep the shell waiting.
class AppendedFile {
public:
    explicit AppendedFile(const fs::path& path, int moreFlags = 0)
        : descriptor_(open(path.c_str(),
                           O_WRONLY | O_APPEND | O_CREAT | O_NONBLOCK | O_CLOEXEC | moreFlags,
                           S_IRUSR | S_IWUSR)) {
        struct stat status = {};
        const bool isFile =
            descriptor_ >= 0 && fstat(descriptor_, &status) == 0 && S_ISREG(status.st_mode);
        if (descriptor_ >= 0 && !isFile) {
            errno = EINVAL;
        }
        isGood_ = isFile && fchmod(descriptor_, S_IRUSR | S_IWUSR) == 0;
    }
    AppendedFile(const AppendedFile&) = delete;
    AppendedFile& operator=(const AppendedFile&) = delete;
    ~AppendedFile() {
        if (descriptor_ >= 0) {
            close(descriptor_);
        }
    }

    /// At one stroke, so that shells side by side do not mix their lines.
    /// @return whether all of it is written; else errno says why
    bool write(const std::string& text) const {
        return isGood_ && ::write(descriptor_, text.data(), text.size()) == ssize_t(text.size());
    }

private:
    int descriptor_;
    bool isGood_ = false;
};

bool isFitForTerminal(const std::string& line) {
    return !line.empty() && clean(line) == line;
}

}  // namespace

fs::path historyPath(const char* stateHome, const char* home) {
    const auto isAbsolute = [](const char* text) { return text != nullptr && *text == '/'; };
    if (isAbsolute(stateHome)) {
        return fs::path(stateHome) / "paconsole/history";
    }
    return isAbsolute(home) ? fs::path(home) / ".local/state/paconsole/history" : fs::path();
}

HistoryFile::HistoryFile(fs::path path, Output& diagnostics)
    : path_(std::move(path)), diagnostics_(diagnostics) {}

std::vector<std::string> HistoryFile::load() {
    std::error_code ignored;
    if (path_.empty() || !fs::is_regular_file(path_, ignored)) {
        return {};  // what is in the way shows when a line is added
    }
    std::ifstream file(path_);
    if (!file) {
        tellOnce(reason());
        return {};
    }
    std::vector<std::string> lines;
    std::size_t count = 0;
    for (std::string line; std::getline(file, line); ++count) {
        if (isFitForTerminal(line)) {
            lines.push_back(line);
        }
    }
    if (lines.size() > mostLines) {
        lines.erase(lines.begin(), lines.end() - std::ptrdiff_t(mostLines));
    }
    if (count > 2 * mostLines) {
        replaceBy(lines);
    }
    return lines;
}

void HistoryFile::add(const std::string& line) {
    if (path_.empty() || !isFitForTerminal(line)) {
        return;
    }
    makeFolder(path_.parent_path());
    if (!AppendedFile(path_).write(line + '\n')) {
        tellOnce(reason());
    }
}

/// Beside the file first, so that no line is lost when the disk is full.
void HistoryFile::replaceBy(const std::vector<std::string>& lines) {
    std::string text;
    for (const std::string& line : lines) {
        text += line + '\n';
    }
    const std::string beside = path_.string() + '.' + std::to_string(getpid());
    const bool isReplaced =
        AppendedFile(beside, O_EXCL).write(text) && std::rename(beside.c_str(), path_.c_str()) == 0;
    if (!isReplaced) {
        unlink(beside.c_str());  // the long file does no harm
    }
}

void HistoryFile::tellOnce(const std::string& why) {
    diagnostics_.diagnostic("the history is not kept: " + path_.string() + ": " + why);
    path_.clear();
}

}  // namespace console
