// SPDX-License-Identifier: Apache-2.0
#include "link/mqtt/levelPayload.h"

#include "link/mqtt/jsonMessage.h"

namespace palink {

std::string encodeLevel(double level) {
    return jsonText(level);
}

double decodeLevel(std::string_view payload) {
    constexpr std::size_t longest = 64;  // nothing nested is read
    const bool isShort = payload.size() <= longest && !hasNul(payload);
    const nlohmann::json json =
        isShort ? nlohmann::json::parse(payload.begin(), payload.end(), nullptr, false)
                : nlohmann::json();
    if (!json.is_number()) {
        throw MalformedMessage("no JSON number");
    }
    return json.get<double>();
}

}  // namespace palink
