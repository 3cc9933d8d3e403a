// SPDX-License-Identifier: Apache-2.0
#include "framework/stderrWriter.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdint>
#include <exception>
#include <poll.h>
#include <unistd.h>
#include <utility>

#include "framework/clock.h"
#include "framework/posixThread.h"

namespace pa {

namespace {

/// How often `flush` looks at its limit: the host's clock is not that of the condition variable.
constexpr std::chrono::milliseconds tick{10};

/// Waits for a stderr that is slow, whether it blocks or not. SIGPIPE is blocked on this thread
/// like every asynchronous signal: a pipe without a reader is an ordinary error.
/// @return how many bytes stderr took before it refused
std::size_t writeAll(const char* text, std::size_t size) {
    std::size_t written = 0;
    while (written < size) {
        const ssize_t n = write(STDERR_FILENO, text + written, size - written);
        if (n > 0) {
            written += static_cast<std::size_t>(n);
        } else if (n < 0 && (errno == EAGAIN || errno == EWOULDBLOCK)) {
            pollfd writable{STDERR_FILENO, POLLOUT, 0};
            poll(&writable, 1, -1);
        } else if (n == 0 || errno != EINTR) {
            break;
        }
    }
    return written;
}

/// The end of the lines that are written together from `begin` on: whole ones, as many as a pipe
/// takes in one piece, at least one.
std::size_t endOfPiece(const std::string& lines, std::size_t begin) {
    if (lines.size() - begin <= PIPE_BUF) {
        return lines.size();
    }
    const std::size_t last = lines.rfind('\n', begin + PIPE_BUF - 1);
    const bool none = last == std::string::npos || last < begin;
    return (none ? lines.find('\n', begin) : last) + 1;
}

}  // namespace

StderrWriter::StderrWriter(std::size_t capacity, Notice notice)
    : capacity_(capacity),
      notice_(notice),
      acrossFork_(ForkRank::LogWriter, {[this] { lock_.lock(); }, [this] { lock_.unlock(); },
                                        [this] { becomeChild(); }}) {}

void StderrWriter::add(const std::string& line) {
    const std::lock_guard guard(lock_);
    startThread();
    if (full_ || line.size() > capacity_ - (added_ - handled_)) {
        full_ = true;
        ++dropped_;
    } else {
        waiting_ += line;
        added_ += line.size();
    }
    changed_.notify_all();
}

void StderrWriter::countDropped() {
    const std::lock_guard guard(lock_);
    ++dropped_;
    changed_.notify_all();
}

bool StderrWriter::flush(std::chrono::milliseconds limit) {
    std::unique_lock guard(lock_);
    const std::uint64_t target = added_;
    const std::int64_t until = monotonicMS() + limit.count();
    while (handled_ < target || full_ || noticeIsDue()) {
        if (monotonicMS() >= until) {
            return false;
        }
        startThread();
        changed_.wait_for(guard, tick);
    }
    return true;
}

/// Without a thread lines wait: the next one tries again.
void StderrWriter::startThread() {
    if (started_) {
        return;
    }
    try {
        PosixThread thread("log-writer", [this] { run(); });
        thread.detach();
        started_ = true;
    } catch (const std::exception&) {
    }
}

/// The waiting lines are the parent's. The thread starts with the first line.
void StderrWriter::becomeChild() {
    forgetWaiters(changed_);
    waiting_.clear();
    handled_ = added_;
    dropped_ = 0;
    full_ = false;
    started_ = false;
    lock_.unlock();
}

void StderrWriter::run() {
    std::unique_lock guard(lock_);
    while (true) {
        changed_.wait(guard, [this] { return !waiting_.empty() || full_ || noticeIsDue(); });
        if (!waiting_.empty()) {
            writeWaiting(guard);
        } else {
            reportDropped(guard);
        }
        changed_.notify_all();  // flush
    }
}

void StderrWriter::writeWaiting(std::unique_lock<std::mutex>& guard) {
    const std::string lines = std::exchange(waiting_, {});
    for (std::size_t begin = 0, end = 0; begin < lines.size(); begin = end) {
        end = endOfPiece(lines, begin);
        guard.unlock();
        const std::size_t written = writeAll(lines.data() + begin, end - begin);
        const auto lost = std::count(lines.data() + begin + written, lines.data() + end, '\n');
        guard.lock();
        handled_ += end - begin;
        refused_ = lost > 0;
        dropped_ += static_cast<unsigned long>(lost);
    }
}

/// All waiting lines are written: later ones follow the notice.
void StderrWriter::reportDropped(std::unique_lock<std::mutex>& guard) {
    full_ = false;
    if (!noticeIsDue()) {
        return;
    }
    const unsigned long reported = dropped_;
    guard.unlock();
    const bool taken = writeNotice(reported);
    guard.lock();
    refused_ = !taken;
    dropped_ -= taken ? reported : 0;
}

bool StderrWriter::writeNotice(unsigned long dropped) {
    try {
        const std::string notice = notice_(dropped);
        return writeAll(notice.data(), notice.size()) == notice.size();
    } catch (const std::exception&) {
        return false;  // out of memory: reported after the next line
    }
}

}  // namespace pa
