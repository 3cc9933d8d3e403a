#include "console/shell/ShellNotices.h"

#include "client/Connection.h"
#include "console/text/changeText.h"
#include "sdk/operations.h"

namespace console {

using paclient::Connection;

ShellNotices::ShellNotices(Output& diagnostics, bool reportsConnection)
    : diagnostics_(diagnostics),
      reportsConnection_(reportsConnection),
      changes_(paclient::kinds<palink::Refusal, paclient::LockChange, palink::ConnectionChange>()),
      held_(Connection::heldSources()) {}

void ShellNotices::report(const std::string& reported) {
    while (const auto change = changes_.next()) {
        const std::string text = textOf(*change, reported);
        if (!text.empty()) {
            diagnostics_.diagnostic(text);
        }
    }
}

void ShellNotices::reportAfter(const std::string& command, const std::string& reported) {
    if (command == "source attach" || command == "source detach") {
        held_ = Connection::heldSources();  // the command has reported what it has detached
    }
    report(reported);
}

/// @return empty for what the user need not read
std::string ShellNotices::textOf(const paclient::Change& change, const std::string& reported) {
    if (const auto* const refusal = std::get_if<palink::Refusal>(&change)) {
        // The renewal of a lock may cross with its release: then it is refused.
        const bool isKnown = refusal->operation == pa::operations::renewLock ||
                             reported.find(refusal->reason) != std::string::npos;
        return isKnown ? "" : "refused: " + refusal->reason;
    }
    if (const auto* const lock = std::get_if<paclient::LockChange>(&change)) {
        const int id = lock->sourceId;
        const bool isLost = held_.count(id) > 0 && Connection::heldSources().count(id) == 0;
        held_.erase(isLost ? id : 0);
        return isLost ? "source " + std::to_string(id) + " is no longer attached" : "";
    }
    return reportsConnection_ ? connectionText(change) : "";
}

}  // namespace console
