#include "framework/log.h"

#include <array>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <mutex>
#include <pthread.h>
#include <sys/syscall.h>
#include <unistd.h>
#include <utility>

#include "framework/clock.h"

using namespace pa;

std::atomic<long> debugLevel{0};

namespace {

/// Reports of bad server records: the one kind that can come in a burst.
constexpr int suppressedLevel = 3;
constexpr std::time_t suppressionSeconds = 10;
constexpr std::size_t rememberedErrors = 64;
constexpr std::size_t longestText = 2000;

/// An error that was written lately, and how often it came again since.
struct RecentError {
    std::time_t writtenAt = 0;
    unsigned long repeats = 0;
};

struct Log {
    std::mutex lock;
    LogSink sink;                               // empty for stderr
    std::map<std::string, RecentError> recent;  // of the suppressed level, by text
};

// Built on first use and never destroyed: threads of the library log before main and after it.
Log& theLog() {
    static Log& instance = *[] {
        std::atexit(flushSuppressedErrors);
        return new Log;
    }();
    return instance;
}

std::string threadName() {
    std::array<char, 16> name{};
    pthread_getname_np(pthread_self(), name.data(), name.size());
    return std::string(name.data()) + '/' + std::to_string(syscall(SYS_gettid));
}

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
        try {
            log.sink(line);
            return;
        } catch (...) {
            // The default sink takes what this one does not.
        }
    }
    const std::string out = formatLogLine(line) + '\n';
    std::fwrite(out.data(), 1, out.size(), stderr);
}

/// Forgets the errors that were written before `before`, and tells how often they came again.
void tellRepeats(Log& log, std::time_t before, std::time_t now) {
    for (auto it = log.recent.begin(); it != log.recent.end();) {
        const auto& [text, error] = *it;
        // A clock set back must not keep an error silent for years.
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
    tellRepeats(log, now - suppressionSeconds + 1, now);
    if (level == suppressedLevel) {
        if (const auto found = log.recent.find(text); found != log.recent.end()) {
            ++found->second.repeats;
            return;
        }
        if (log.recent.size() >= rememberedErrors) {
            tellRepeats(log, now + 1, now);  // all of them, to make room
        }
        log.recent[text] = {now, 0};
    }
    write(log, LogLine::Kind::Error, level, now, text);
}

void trace(int level, const std::string& text) {
    Log& log = theLog();
    const std::time_t now = wallClock();
    const std::lock_guard guard(log.lock);
    tellRepeats(log, now - suppressionSeconds + 1, now);
    write(log, LogLine::Kind::Debug, level, now, text);
}

/// Out of memory: a log line must never make things worse.
void tellOfLostLine() {
    std::fputs("a log line was lost\n", stderr);
}

}  // namespace

void debug(int level, const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    try {
        trace(level, formatted(format, arguments));
    } catch (...) {
        tellOfLostLine();
    }
    va_end(arguments);
}

void handleError(int level, const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    try {
        report(level, formatted(format, arguments));
    } catch (...) {
        tellOfLostLine();
    }
    va_end(arguments);
}

LogSink pa::setLogSink(LogSink sink) {
    Log& log = theLog();
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
        tellRepeats(log, now + 1, now);
    } catch (...) {
        tellOfLostLine();
    }
}
