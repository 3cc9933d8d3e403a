// SPDX-License-Identifier: Apache-2.0
#include "link/mqtt/answer.h"

#include "link/mqtt/jsonMessage.h"

namespace palink {

namespace {

using Json = nlohmann::json;

}  // namespace

std::string encodeAnswer(const Answer& answer) {
    Json json = {{"outcome", answer.accepted ? "accepted" : "refused"}};
    if (!answer.accepted) {
        json["reason"] = answer.reason;
    }
    if (!answer.requestId.empty()) {
        json["requestId"] = answer.requestId;
    }
    if (!answer.operation.empty()) {
        json["operation"] = answer.operation;
    }
    if (!answer.result.empty()) {
        json["result"] = Json::parse(answer.result);
    }
    return jsonText(json);
}

Answer decodeAnswer(std::string_view payload) {
    const JsonObject json(payload);
    Answer answer;
    answer.accepted = json.isFirst("outcome", "accepted", "refused");
    answer.reason = answer.accepted ? std::string() : json.text("reason");
    answer.requestId = json.has("requestId") ? json.text("requestId") : std::string();
    answer.operation = json.has("operation") ? json.text("operation") : std::string();
    answer.result = json.has("result") ? jsonText(json.member("result")) : std::string();
    return answer;
}

}  // namespace palink
