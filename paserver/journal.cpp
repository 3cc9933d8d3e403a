// SPDX-License-Identifier: Apache-2.0
#include "paserver/journal.h"

#include <cstdlib>
#include <sys/stat.h>

#include "framework/stderrWriter.h"

namespace paserver {

namespace {

constexpr std::chrono::milliseconds exitLimit{1000};  // for lines that wait

}  // namespace

bool isJournal(int descriptor) {
    const char* const stream = std::getenv("JOURNAL_STREAM");
    struct stat status {};
    return stream != nullptr && fstat(descriptor, &status) == 0 &&
           stream == std::to_string(status.st_dev) + ':' + std::to_string(status.st_ino);
}

std::string journalLine(const pa::LogLine& line) {
    const bool isError = line.kind == pa::LogLine::Kind::Error;
    const char* const priority =
        isError ? (line.level == 1 ? "<3>" : "<4>") : (line.level == 1 ? "<6>" : "<7>");
    const std::string text = pa::formatLogLine(line);
    return priority + text.substr(text.find(' ') + 1);
}

void logToJournal() {
    static pa::StderrWriter& writer =
        *new pa::StderrWriter(pa::defaultSinkBytes, [](unsigned long dropped) {
            return "<4>" + std::to_string(dropped) + " log lines were dropped\n";
        });
    std::atexit([] { writer.flush(exitLimit); });
    pa::setLogSink([](const pa::LogLine& line) { writer.add(journalLine(line) + '\n'); });
}

}  // namespace paserver
