// SPDX-License-Identifier: Apache-2.0
#include "console/files/LineFile.h"

#include <fcntl.h>
#include <poll.h>
#include <string_view>
#include <unistd.h>
#include <utility>

#include "console/ExitCode.h"
#include "console/interrupt.h"

namespace console {

LineFile::LineFile(const std::string& path, const std::string& asWhat, std::function<void()> onTick)
    : name_(path == "-" ? "standard input" : path),
      asWhat_(asWhat),
      onTick_(std::move(onTick)),
      descriptor_(path == "-" ? dup(STDIN_FILENO) : open(path.c_str(), O_RDONLY | O_CLOEXEC)) {
    if (!descriptor_.isOpen()) {
        failWithErrno();  // also when an interruption ends the wait for the writer of a pipe
    }
}

bool LineFile::next(std::string& line) {
    std::size_t end = pending_.find('\n', begin_);
    while (end == std::string::npos && readMore()) {
        end = pending_.find('\n');
    }
    if (begin_ == pending_.size()) {
        return false;
    }
    line = pending_.substr(begin_, end == std::string::npos ? end : end - begin_);
    begin_ = end == std::string::npos ? pending_.size() : end + 1;
    constexpr std::string_view byteOrderMark = "\xEF\xBB\xBF";
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
    pollfd waiting = {descriptor_.number(), POLLIN, 0};
    while (poll(&waiting, 1, tickMS) <= 0) {
        interrupt::check();
        if (onTick_) {
            onTick_();
        }
    }
    interrupt::check();  // a device may be ready without end
    pending_.erase(0, std::exchange(begin_, 0));
    requireFits(pending_.size());
    char buffer[65536];
    const ssize_t count = read(descriptor_.number(), buffer, sizeof buffer);
    if (count < 0) {
        failWithErrno();
    }
    pending_.append(buffer, static_cast<std::size_t>(count));
    return count > 0;
}

void LineFile::requireFits(std::size_t bytes) const {
    require(bytes <= mostBytes,
            asWhat_ + ' ' + name_ + ": larger than " + std::to_string(mostBytes >> 20U) + " MiB");
}

void LineFile::failWithErrno() const {
    const std::error_code error = pautil::lastError();
    interrupt::check();
    throw Failure(ExitCode::Usage, asWhat_ + ' ' + name_ + ": " + error.message());
}

}  // namespace console
