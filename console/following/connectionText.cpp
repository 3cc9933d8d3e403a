#include "console/following/connectionText.h"

namespace console {

namespace {

/// Its loss is in the log.
std::string text(const palink::ConnectionChange& change) {
    const bool isBack =
        change.state == palink::ConnectionChange::State::Synced && change.number > 1;
    return isBack ? "the connection to the server is there again" : "";
}
std::string text(const paclient::Lost& lost) {
    return std::to_string(lost.count) + " changes are not printed: they came too fast";
}
template <class Other>
std::string text(const Other& /*change*/) {
    return {};
}

}  // namespace

std::string connectionText(const paclient::Change& change) {
    return std::visit([](const auto& what) { return text(what); }, change);
}

bool isLoss(const paclient::Change& change) {
    using State = palink::ConnectionChange::State;
    const auto* const connection = std::get_if<palink::ConnectionChange>(&change);
    return connection != nullptr &&
           (connection->state == State::Disconnected || connection->state == State::Stopped);
}

}  // namespace console
