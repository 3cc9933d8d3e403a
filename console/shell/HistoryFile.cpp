// SPDX-License-Identifier: Apache-2.0
#include "console/shell/HistoryFile.h"

#include <fcntl.h>
#include <fstream>
#include <sys/stat.h>
#include <utility>

#include "console/text/cleanText.h"
#include "util/AtomicFile.h"
#include "util/Descriptor.h"
#include "util/FileError.h"

namespace console {

namespace fs = std::filesystem;

namespace {

/// Makes the folder and those above it, for the user only where they are new.
void makeFolder(const fs::path& folder) {
    fs::path path;
    for (const fs::path& part : folder) {
        path /= part;
        mkdir(path.c_str(), S_IRWXU);  // an existing one stays; a failure appears on writing
    }
}

/// Adds to the end of a regular file with one write, so that the lines of several shells do not
/// mix. Anything else than a file, a pipe for example, might keep the shell waiting.
std::error_code append(const fs::path& path, const std::string& text) {
    const pautil::Descriptor file(open(
        path.c_str(), O_WRONLY | O_APPEND | O_CREAT | O_NONBLOCK | O_CLOEXEC, S_IRUSR | S_IWUSR));
    struct stat status = {};
    if (!file.isOpen() || fstat(file.number(), &status) != 0) {
        return pautil::lastError();
    }
    if (!S_ISREG(status.st_mode)) {
        return std::make_error_code(std::errc::invalid_argument);
    }
    const bool failed = fchmod(file.number(), S_IRUSR | S_IWUSR) != 0;
    return failed ? pautil::lastError() : file.write(text.data(), text.size());
}

bool isFitForTerminal(const std::string& line) {
    return !line.empty() && clean(line) == line;
}

}  // namespace

HistoryFile::HistoryFile(fs::path path, Output& diagnostics)
    : path_(std::move(path)), diagnostics_(diagnostics) {}

std::vector<std::string> HistoryFile::load() {
    std::error_code ignored;
    if (path_.empty() || !fs::is_regular_file(path_, ignored)) {
        return {};  // what else is there is reported when a line is added
    }
    std::ifstream file(path_);
    if (!file) {
        reportOnce(pautil::lastError().message());
        return {};
    }
    std::string line;
    const bool isLong = fs::file_size(path_, ignored) > mostBytes;
    if (isLong) {
        file.seekg(-std::streamoff(mostBytes), std::ios::end);
        std::getline(file, line);  // part of one
    }
    std::vector<std::string> lines;
    std::size_t count = 0;
    for (; std::getline(file, line); ++count) {
        if (isFitForTerminal(line)) {
            lines.push_back(line);
        }
    }
    if (lines.size() > mostLines) {
        lines.erase(lines.begin(), lines.end() - std::ptrdiff_t(mostLines));
    }
    if (isLong || count > 2 * mostLines) {
        cutTo(lines);
    }
    return lines;
}

void HistoryFile::add(const std::string& line) {
    if (path_.empty() || !isFitForTerminal(line)) {
        return;
    }
    makeFolder(path_.parent_path());
    if (const std::error_code error = append(path_, line + '\n')) {
        reportOnce(error.message());
    }
}

void HistoryFile::cutTo(const std::vector<std::string>& lines) const try {
    std::string text;
    for (const std::string& line : lines) {
        text += line + '\n';
    }
    pautil::AtomicFile file(path_);
    file.fillWith(text);
    file.complete();
} catch (const pautil::FileError&) {
    return;  // the long file does no harm
}

void HistoryFile::reportOnce(const std::string& why) {
    diagnostics_.diagnostic("the history is not kept: " + path_.string() + ": " + why);
    path_.clear();
}

}  // namespace console
