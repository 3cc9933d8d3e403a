// SPDX-License-Identifier: Apache-2.0
#include "console/Output.h"

#include <algorithm>
#include <cerrno>
#include <utility>

#include "console/ExitCode.h"
#include "console/following/LiveView.h"
#include "console/interrupt.h"
#include "console/text/cleanText.h"

namespace console {

void Output::write(const std::string& lines) {
    if (beside_ != nullptr) {
        beside_->status("");
    }
    const std::lock_guard guard(lock_);
    removeStatus();
    errno = 0;
    stream_ << lines << std::flush;
    if (!stream_) {
        isClosed_ = isClosed_ || errno == EPIPE;
        stream_.clear();     // what a signal has ended may continue after it
        interrupt::check();  // it ends a write that waits for the reader
        throw Failure(ExitCode::Usage, "the output cannot be written");
    }
}

void Output::diagnostic(const std::string& text) {
    const std::lock_guard guard(lock_);
    const std::string line = "paconsole: " + clean(text) + '\n';
    if (holding_) {
        held_ += line;
    } else {
        removeStatus();
        stream_ << line << std::flush;
        stream_.clear();
    }
}

void Output::status(const std::string& text) {
    const std::lock_guard guard(lock_);
    if (isTerminal() && !holding_) {
        removeStatus();
        hasStatus_ = !text.empty();
        const std::string line = clean(text);
        const std::size_t room = sizeOfTerminal(terminal_).columns - 1;  // for the cursor
        stream_ << fitted(line, std::min(room, displayWidth(line)), "…") << std::flush;
    }
}

void Output::removeStatus() {
    if (std::exchange(hasStatus_, false)) {
        stream_ << "\r\x1b[K";
    }
}

void Output::hold() {
    const std::lock_guard guard(lock_);
    holding_ = true;
}

std::string Output::takeHeld() {
    const std::lock_guard guard(lock_);
    return std::exchange(held_, {});
}

void Output::release() {
    const std::lock_guard guard(lock_);
    holding_ = false;
    stream_ << std::exchange(held_, {}) << std::flush;
}

}  // namespace console
