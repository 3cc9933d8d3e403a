#include "console/Output.h"

#include "console/ExitCode.h"
#include "console/cleanText.h"

namespace console {

void Output::write(const std::string& lines) {
    const std::lock_guard guard(lock_);
    stream_ << lines << std::flush;
    if (!stream_) {
        throw Failure(ExitCode::Usage, "the output cannot be written");
    }
}

void Output::diagnostic(const std::string& text) {
    const std::lock_guard guard(lock_);
    stream_ << "paconsole: " << clean(text) << std::endl;
}

}  // namespace console
