// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

#include "framework/log.h"

namespace paserver {

/// Whether stderr is connected to the journal, by JOURNAL_STREAM.
bool isJournal(int descriptor);

/// The line as the journal takes it from stderr: its priority, "<3>" for an error to "<7>" for a
/// detail, and the text without the time.
std::string journalLine(const pa::LogLine& line);

/// Writes the log to stderr in this form, from now on.
void logToJournal();

}  // namespace paserver
