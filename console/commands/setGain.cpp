#include "console/commands/setGain.h"

#include "console/text/recordText.h"

namespace console {

namespace {

/// The level in the six digits that are sent; a zero has no sign.
std::string levelText(double level) {
    return valueText(level + 0.0);
}

}  // namespace

std::string setGain(const Context& context, const GainRequest& gain,
                    const std::function<double()>& current, const std::function<void()>& send) {
    std::string sentence = gain.what + " has the gain " + levelText(gain.level) + " dB";
    const Request request{sentence, {gain.operation}};
    const auto holds = [&] { return levelText(current()) == levelText(gain.level); };
    if (!holds()) {
        operate(context, request, send, seen(holds));
        return sentence;
    }
    if (gain.isFlagged) {
        operateUnseen(context, request, send);  // the server may have more to do than is seen
        return sentence;
    }
    send();  // which refuses what has no gain to set
    return sentence + ", as before";
}

}  // namespace console
