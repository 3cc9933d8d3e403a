// SPDX-License-Identifier: Apache-2.0
#include "paserver/ClientRequest.h"

#include <algorithm>
#include <charconv>

#include "framework/clock.h"
#include "link/mqtt/MalformedMessage.h"
#include "link/mqtt/topics.h"

namespace paserver {

namespace {

using palink::MalformedMessage;
namespace topics = palink::topics;

constexpr std::size_t maxCorrelation = 64;
constexpr std::size_t maxProperty = 64;

/// A server may publish to topics that a client may not: it answers to those of answers only.
bool isForAnswers(const std::string& topic) {
    constexpr std::string_view before = "pa/clients/";
    constexpr std::string_view after = "/answers";
    if (topic.size() <= before.size() + after.size()) {
        return false;
    }
    const std::string client =
        topic.substr(before.size(), topic.size() - before.size() - after.size());
    return topic == topics::answers(client) &&
           client.find_first_of(std::string_view("/+#\0", 4)) == std::string::npos;
}

/// Fills in what the topic names.
void readTopic(ClientRequest& request, std::string_view topic, int dstNo) {
    if (const auto type = topics::readOperation(topic, dstNo)) {
        request.kind = ClientRequest::Kind::Operation;
        request.operation = *type;
    } else if (topic == topics::roundTrips(dstNo)) {
        request.kind = ClientRequest::Kind::RoundTrip;
    } else if (const auto element = topics::readLevelRequest(topic, dstNo)) {
        request.kind = ClientRequest::Kind::Level;
        request.element = *element;
    } else if (topic == topics::uploadBegin(dstNo)) {
        request.kind = ClientRequest::Kind::UploadBegin;
    } else if (topic == topics::uploadData(dstNo)) {
        request.kind = ClientRequest::Kind::UploadData;
    } else if (auto function = topics::readControl(topic, dstNo)) {
        request.kind = ClientRequest::Kind::Control;
        request.function = std::move(*function);
    } else {
        throw MalformedMessage("a topic that is none of the protocol");
    }
}

std::string property(const palink::ReceivedMessage& message, const char* name) {
    std::string value = message.userProperty(name).value_or("");
    if (value.empty() || value.size() > maxProperty) {
        throw MalformedMessage(std::string("a request whose property \"") + name +
                               "\" is missing or too long");
    }
    return value;
}

std::int64_t offsetOf(const palink::ReceivedMessage& message) {
    const std::string text = property(message, "offset");
    std::int64_t offset = -1;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), offset);
    if (error != std::errc() || end != text.data() + text.size() || offset < 0) {
        throw MalformedMessage("an upload whose offset is no number");
    }
    return offset;
}

}  // namespace

ClientRequest readRequest(const palink::ReceivedMessage& message, int dstNo) {
    ClientRequest request;
    request.arrivedUS = pa::monotonicUS();
    readTopic(request, message.topic(), dstNo);
    if (message.payload().size() > maxRequestBytes) {
        throw MalformedMessage("a request whose payload is too long");
    }
    request.payload = message.payload();
    if (const auto left = message.expirySeconds()) {
        constexpr std::int64_t perSecond = 1000;
        request.deadlineMS = pa::monotonicMS() + *left * perSecond;
    }
    if (request.kind == ClientRequest::Kind::Level) {
        return request;
    }
    request.responseTopic = message.responseTopic();
    request.correlation = message.correlation();
    if (!isForAnswers(request.responseTopic)) {
        throw MalformedMessage("a request whose response topic is none of a client");
    }
    if (request.correlation.empty() || request.correlation.size() > maxCorrelation) {
        throw MalformedMessage("a request without correlation data, or with too much");
    }
    if (request.kind == ClientRequest::Kind::Operation) {
        request.client = property(message, "client");
        request.generation = property(message, "generation");
        if (message.userProperty("activeGeneration")) {
            request.activeGeneration = property(message, "activeGeneration");
        }
    } else if (request.kind == ClientRequest::Kind::UploadBegin) {
        request.upload = property(message, "upload");
    } else if (request.kind == ClientRequest::Kind::UploadData) {
        request.upload = property(message, "upload");
        request.offset = offsetOf(message);
    }
    return request;
}

}  // namespace paserver
