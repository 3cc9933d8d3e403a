// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <mutex>
#include <string>

#include "framework/fork.h"

namespace pa {

/// Writes lines to stderr (file descriptor 2) on a thread of its own, so that a stderr that is not
/// read blocks no caller. Waiting lines are written together: as many whole lines as a pipe takes
/// atomically (PIPE_BUF) with one write(2), so that lines of several processes do not mix.
///
/// Every function may be called from any thread. The thread never ends, so neither does the object:
/// it is made with `new` and never destroyed.
class StderrWriter {
public:
    /// Formats the line, line end included, that reports how many lines were dropped.
    using Notice = std::string (*)(unsigned long dropped);

    /// @param capacity the most bytes of lines that wait
    /// @param notice   called on the writer's thread; when it throws the number is not reported
    StderrWriter(std::size_t capacity, Notice notice);

    /// Queues a line, its line end included, and returns at once. From the first line that does not
    /// fit until all waiting lines are written, lines are dropped and counted; then the notice is
    /// written.
    /// @throws std::bad_alloc
    void add(const std::string& line);

    /// Counts a line that was lost before it came here.
    void countDropped();

    /// Waits until every line so far has been written, or refused by stderr.
    /// @param limit by the host's clock
    /// @return false when the limit passed first
    bool flush(std::chrono::milliseconds limit);

private:
    void run();
    void writeWaiting(std::unique_lock<std::mutex>& guard);
    void reportDropped(std::unique_lock<std::mutex>& guard);
    bool writeNotice(unsigned long dropped);
    void startThread();
    void becomeChild();
    bool noticeIsDue() const { return dropped_ > 0 && !refused_; }

    const std::size_t capacity_;
    const Notice notice_;

    std::mutex lock_;
    std::condition_variable changed_;
    // Guarded by lock_.
    std::string waiting_;        // lines that the thread has not taken, oldest first
    std::uint64_t added_ = 0;    // bytes of all lines that ever waited
    std::uint64_t handled_ = 0;  // bytes of those that were written or refused
    unsigned long dropped_ = 0;  // lines lost and not yet reported
    bool full_ = false;          // lines are dropped until all that wait are written
    bool refused_ = false;       // stderr did not take the last line
    bool started_ = false;       // the thread runs

    ForkParticipant acrossFork_;
};

}  // namespace pa
