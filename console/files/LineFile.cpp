#include "console/files/LineFile.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <poll.h>
#include <string_view>
#include <unistd.h>
#include <utility>

#include "console/ExitCode.h"
#include "console/interrupt.h"

namespace console {

namespace {

constexpr std::string_view byteOrderMark = "\xEF\xBB\xBF";

}  // namespace

LineFile::LineFile(const std::string& path, const std::string& asWhat, std::function<void()> onTick)
    : name_(path == "-" ? "standard input" : path),
      asWhat_(asWhat),
      onTick_(std::move(onTick)),
      descriptor_(path == "-" ? dup(STDIN_FILENO) : open(path.c_str(), O_RDONLY | O_CLOEXEC)) {
    if (descriptor_ < 0) {
        fail();  // also when an interruption ends the wait for the writer of a pipe
    }
}

LineFile::~LineFile() {
    close(descriptor_);
}

bool LineFile::next(std::string& line) {
    std::size_t end = pending_.find('\n', begin_);
    if (end == std::string::npos) {
        pending_.erase(0, std::exchange(begin_, 0));
    }
    for (std::size_t searched = pending_.size(); end == std::string::npos && readMore();
         searched = pending_.size()) {
        end = pending_.find('\n', searched);
    }
    if (begin_ == pending_.size()) {
        return false;
    }
    line = pending_.substr(begin_, end == std::string::npos ? end : end - begin_);
    begin_ = end == std::string::npos ? pending_.size() : end + 1;
    if (std::exchange(isFirst_, false) &&
        line.compare(0, byteOrderMark.size(), byteOrderMark) == 0) {
        line.erase(0, byteOrderMark.size());
    }
    if (!line.empty() && line.back() == '\r') {
        line.pop_back();
    }
    return true;
}

std::string LineFile::readAll() {
    std::string text;
    for (std::string line; next(line);) {
        text += line + '\n';
        requireFits(text.size());
    }
    return text;
}

bool LineFile::readMore() {
    constexpr int tickMS = 50;
    pollfd waiting = {descriptor_, POLLIN, 0};
    while (poll(&waiting, 1, tickMS) <= 0) {
        interrupt::check();
        if (onTick_) {
            onTick_();
        }
    }
    interrupt::check();  // a device may be ready without end
    requireFits(pending_.size());
    char buffer[65536];
    const ssize_t count = read(descriptor_, buffer, sizeof buffer);
    if (count < 0) {
        fail();
    }
    pending_.append(buffer, static_cast<std::size_t>(count));
    return count > 0;
}

void LineFile::requireFits(std::size_t bytes) const {
    if (bytes > mostBytes) {
        throw Failure(ExitCode::Usage, asWhat_ + ' ' + name_ + ": larger than " +
                                           std::to_string(mostBytes >> 20U) + " MiB");
    }
}

void LineFile::fail() const {
    const int error = errno;
    interrupt::check();
    throw Failure(ExitCode::Usage, asWhat_ + ' ' + name_ + ": " +
                                       std::strerror(error));  // NOLINT: one thread reads lines
}

}  // namespace console
