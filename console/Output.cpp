#include "console/Output.h"

#include <utility>

#include "console/ExitCode.h"
#include "console/interrupt.h"
#include "console/text/cleanText.h"

namespace console {

void Output::write(const std::string& lines) {
    const std::lock_guard guard(lock_);
    stream_ << lines << std::flush;
    if (!stream_) {
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
        stream_ << line << std::flush;
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
