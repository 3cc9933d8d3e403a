// SPDX-License-Identifier: Apache-2.0
#include "client/confirmedParts.h"

#include <cstdio>

namespace paclient {

std::string sentDigits(double level) {
    char text[32];
    std::snprintf(text, sizeof text, "%g", level + 0.0);
    return text;
}

Wait shortened(const Wait& wait) {
    Wait result = wait;
    result.limit = std::min(wait.limit, refusalLimit);
    return result;
}

Confirmation confirmGain(const ConfirmedRequest& request, bool isFlagged, const Wait& wait) {
    if (!isFlagged || !request.holds()) {
        return confirm(request, wait);
    }
    const Confirmation answer = awaitRefusal(request, shortened(wait));
    return answer.state == Confirmation::State::TimedOut ? Confirmation{Confirmation::State::Done}
                                                         : answer;
}

}  // namespace paclient
