// SPDX-License-Identifier: Apache-2.0
#include "framework/log.h"

#include <array>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <map>
#include <mutex>
#include <pthread.h>
#include <sys/syscall.h>
#include <unistd.h>
#include <utility>

#include "framework/clock.h"
#include "framework/earlyObject.h"
#include "framework/fork.h"
#include "framework/stderrWriter.h"

using namespace pa;

long debugLevel = 0;

namespace {

/// Reports of bad server records: the only ones that can come in a burst.
constexpr int suppressedLevel = 3;
constexpr std::time_t suppressionSeconds = 10;
constexpr std::size_t rememberedErrors = 64;
constexpr std::size_t longestText = 2000;

/// How long the end of the process, and a new sink, wait for stderr.
constexpr std::chrono::milliseconds stderrLimit{1000};

/// How long a fork waits for stderr, so that a parent that ends at once, as that of daemon() does,
/// loses no line.
constexpr std::chrono::milliseconds forkLimit{100};

/// An error that was written lately, and how often it came again since.
struct RecentError {
    std::time_t writtenAt = 0;
    unsigned long repeats = 0;
};

struct Log {
    std::mutex lock;
    LogSink sink;                               // empty for stderr
    std::map<std::string, RecentError> recent;  // of the suppressed level, by text

    pa::ForkParticipant emptiesBeforeFork{pa::ForkRank::First,
                                          {[] { flushLog(forkLimit); }, {}, {}}};
    pa::ForkParticipant acrossFork{pa::ForkRank::Log,
                                   {[this] { lock.lock(); }, [this] { lock.unlock(); },
                                    [this] {
                                        for (auto& [text, error] : recent) {
                                            error.repeats = 0;  // the parent reports them
                                        }
                                        lock.unlock();
                                    }}};
};

std::string threadName() {
    std::array<char, 16> name{};
    pthread_getname_np(pthread_self(), name.data(), name.size());
    return std::string(name.data()) + '/' + std::to_string(syscall(SYS_gettid));
}

std::string droppedNotice(unsigned long dropped) {
    return formatLogLine({LogLine::Kind::Error, 1, wallClock(), threadName(),
                          std::to_string(dropped) +
                              " log lines were dropped: stderr did not take them in time"}) +
           '\n';
}

// Both are built before main or on first use and never destroyed: threads of the library log before
// main and after it. exit() runs its handlers in reverse order: after the destructors of static
// objects, which may log, the counts of suppressed errors are queued, and then the writer is waited
// for.
pa::StderrWriter& stderrWriter() {
    static pa::StderrWriter& instance = *[] {
        std::atexit([] { flushLog(stderrLimit); });
        return new pa::StderrWriter(defaultSinkBytes, droppedNotice);
    }();
    return instance;
}

Log& theLog() {
    static Log& instance = *[] {
        stderrWriter();
        std::atexit(flushSuppressedErrors);
        return new Log;
    }();
    return instance;
}

PASDK_EARLIEST const pa::MadeEarly made(theLog);

[[gnu::format(printf, 1, 0)]] std::string formatted(const char* format, va_list arguments) {
    std::array<char, longestText + 1> buffer{};
    const int length = std::vsnprintf(buffer.data(), buffer.size(), format, arguments);
    std::string text(buffer.data());
    if (length > static_cast<int>(longestText)) {
        text += "...";
    }
    return text;
}

void write(Log& log, LogLine::Kind kind, int level, std::time_t now, const std::string& text) {
    const LogLine line{kind, level, now, threadName(), text};
    if (log.sink) {
        const pa::ForkBypass bypass;
        try {
            log.sink(line);
            return;
        } catch (...) {
            // The default sink takes what this one does not.
        }
    }
    stderrWriter().add(formatLogLine(line) + '\n');
}

/// Forgets the errors that were written before `before`, and writes how often they were repeated.
void writeRepeats(Log& log, std::time_t before, std::time_t now) {
    for (auto it = log.recent.begin(); it != log.recent.end();) {
        const auto& [text, error] = *it;
        // A clock that is set back must not suppress an error for years.
        if (error.writtenAt >= before && error.writtenAt <= now) {
            ++it;
            continue;
        }
        if (error.repeats > 0) {
            write(log, LogLine::Kind::Error, suppressedLevel, now,
                  "suppressed " + std::to_string(error.repeats) + " more of: " + text);
        }
        it = log.recent.erase(it);
    }
}

void report(int level, const std::string& text) {
    Log& log = theLog();
    const std::time_t now = wallClock();
    const std::lock_guard guard(log.lock);
    writeRepeats(log, now - suppressionSeconds + 1, now);
    if (level == suppressedLevel) {
        if (const auto found = log.recent.find(text); found != log.recent.end()) {
            ++found->second.repeats;
            return;
        }
        if (log.recent.size() >= rememberedErrors) {
            writeRepeats(log, now + 1, now);  // all of them, to make room
        }
        log.recent[text] = {now, 0};
    }
    write(log, LogLine::Kind::Error, level, now, text);
}

void trace(int level, const std::string& text) {
    Log& log = theLog();
    const std::time_t now = wallClock();
    const std::lock_guard guard(log.lock);
    writeRepeats(log, now - suppressionSeconds + 1, now);
    write(log, LogLine::Kind::Debug, level, now, text);
}

}  // namespace

void debug(int level, const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    try {
        trace(level, formatted(format, arguments));
    } catch (const std::exception&) {
        stderrWriter().countDropped();  // out of memory: a log line must never make things worse
    }
    va_end(arguments);
}

void handleError(int level, const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    try {
        report(level, formatted(format, arguments));
    } catch (const std::exception&) {
        stderrWriter().countDropped();  // out of memory: a log line must never make things worse
    }
    va_end(arguments);
}

LogSink pa::setLogSink(LogSink sink) {
    Log& log = theLog();
    // The sink receives the counts of suppressed errors before the objects that it uses are
    // destroyed.
    static const int registered = std::atexit(flushSuppressedErrors);
    static_cast<void>(registered);
    flushLog(stderrLimit);
    const std::lock_guard guard(log.lock);
    return std::exchange(log.sink, std::move(sink));
}

std::string pa::formatLogLine(const LogLine& line) {
    std::tm utc{};
    gmtime_r(&line.time, &utc);
    std::array<char, 32> time{};
    std::strftime(time.data(), time.size(), "%Y-%m-%dT%H:%M:%SZ", &utc);
    std::string out(time.data());
    out += line.kind == LogLine::Kind::Error ? " error " : " debug ";
    out += std::to_string(line.level) + " [" + line.thread + "] ";
    for (const char c : line.text) {
        if (const auto byte = static_cast<unsigned char>(c); byte < 0x20 || byte == 0x7f) {
            std::array<char, 5> escape{};
            std::snprintf(escape.data(), escape.size(), "\\x%02x", static_cast<unsigned>(byte));
            out += escape.data();
        } else {
            out += c;
        }
    }
    return out;
}

void pa::flushSuppressedErrors() {
    Log& log = theLog();
    const std::time_t now = wallClock();
    const std::lock_guard guard(log.lock);
    try {
        writeRepeats(log, now + 1, now);
    } catch (const std::exception&) {
        stderrWriter().countDropped();  // out of memory: a log line must never make things worse
    }
}

bool pa::flushLog(std::chrono::milliseconds limit) {
    return stderrWriter().flush(limit);
}
