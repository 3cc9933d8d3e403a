// SPDX-License-Identifier: Apache-2.0
#include "link/mqtt/topics.h"

#include <charconv>
#include <limits>
#include <system_error>

namespace palink::topics {

namespace {

constexpr std::string_view root = "pa/";

std::string ofServer(int dstNo, const char* rest) {
    return std::string(root) + std::to_string(dstNo) + rest;
}

std::string ofServer(int dstNo, const char* rest, int number) {
    return ofServer(dstNo, rest) + std::to_string(number);
}

/// Reads a topic from its front.
class Reader {
public:
    explicit Reader(std::string_view topic) : rest_(topic) {}

    /// Goes past a fixed text.
    Reader& text(std::string_view expected) {
        isRead_ = isRead_ && rest_.substr(0, expected.size()) == expected;
        if (isRead_) {
            rest_.remove_prefix(expected.size());
        }
        return *this;
    }

    /// Reads a number other than 0 that is written in the one possible way.
    Reader& number(int& value, int smallest = 1) {
        const bool isNegative = smallest < 0 && !rest_.empty() && rest_.front() == '-';
        const std::size_t first = isNegative ? 1 : 0;
        const bool begins = rest_.size() > first && rest_[first] >= '1' && rest_[first] <= '9';
        const auto [end, fault] = std::from_chars(rest_.data(), rest_.data() + rest_.size(), value);
        isRead_ = isRead_ && begins && fault == std::errc();
        if (isRead_) {
            rest_.remove_prefix(static_cast<std::size_t>(end - rest_.data()));
        }
        return *this;
    }

    [[nodiscard]] std::string_view rest() const { return rest_; }
    [[nodiscard]] bool isRead() const { return isRead_; }
    [[nodiscard]] bool isAtEnd() const { return isRead_ && rest_.empty(); }

private:
    std::string_view rest_;
    bool isRead_ = true;
};

/// Elements begin at 0: that of a source is a hundredth of its id.
std::optional<int> readElement(std::string_view topic, const std::string& before) {
    int element = 0;
    const bool isRead = Reader(topic).text(before).text("0").isAtEnd() ||
                        Reader(topic).text(before).number(element).isAtEnd();
    return isRead ? std::optional(element) : std::nullopt;
}

bool isKind(int number) {
    for (const pa::RecordKindRow& row : pa::recordKinds) {
        if (static_cast<int>(row.kind) == number) {
            return true;
        }
    }
    return false;
}

}  // namespace

std::string status(int dstNo) {
    return ofServer(dstNo, "/status");
}

std::string record(int dstNo, pa::RecordKind kind, int key) {
    return ofServer(dstNo, "/records/", static_cast<int>(kind)) + '/' + std::to_string(key);
}

std::string operation(int dstNo, const pa::OperationType& type) {
    return ofServer(dstNo, "/operations/") + textOf(type);
}

std::string roundTrips(int dstNo) {
    return ofServer(dstNo, "/roundTrips");
}

std::string levelRequest(int dstNo, int element) {
    return ofServer(dstNo, "/levelRequests/", element);
}

std::string level(int dstNo, int element) {
    return ofServer(dstNo, "/levels/", element);
}

std::string uploadBegin(int dstNo) {
    return ofServer(dstNo, "/uploads/begin");
}

std::string uploadData(int dstNo) {
    return ofServer(dstNo, "/uploads/data");
}

std::string control(int dstNo, const std::string& function) {
    return ofServer(dstNo, "/control/") + function;
}

std::string answers(const std::string& clientId) {
    return std::string(root) + "clients/" + clientId + "/answers";
}

std::string recordsOf(int dstNo) {
    return ofServer(dstNo, "/records/#");
}

std::string recordsOf(int dstNo, pa::RecordKind kind) {
    return ofServer(dstNo, "/records/", static_cast<int>(kind)) + "/+";
}

std::string operationsFor(int dstNo) {
    return ofServer(dstNo, "/operations/#");
}

std::string levelRequestsFor(int dstNo) {
    return ofServer(dstNo, "/levelRequests/+");
}

std::string levelsOf(int dstNo) {
    return ofServer(dstNo, "/levels/+");
}

std::string uploadsFor(int dstNo) {
    return ofServer(dstNo, "/uploads/+");
}

std::string controlOf(int dstNo) {
    return ofServer(dstNo, "/control/+");
}

std::optional<int> readStatus(std::string_view topic) {
    int dstNo = 0;
    const bool isRead = Reader(topic).text(root).number(dstNo).text("/status").isAtEnd();
    return isRead ? std::optional(dstNo) : std::nullopt;
}

std::optional<RecordTopic> readRecord(std::string_view topic) {
    constexpr int anyKey = std::numeric_limits<int>::min();
    RecordTopic read;
    int kind = 0;
    Reader reader(topic);
    reader.text(root).number(read.dstNo).text("/records/").number(kind).text("/");
    if (!reader.number(read.key, anyKey).isAtEnd() || !isKind(kind)) {
        return std::nullopt;
    }
    read.kind = static_cast<pa::RecordKind>(kind);
    return read;
}

std::optional<pa::OperationType> readOperation(std::string_view topic, int dstNo) {
    Reader reader(topic);
    reader.text(ofServer(dstNo, "/operations/"));
    return reader.isRead() ? readOperationType(reader.rest()) : std::nullopt;
}

std::optional<pa::OperationType> readOperationType(std::string_view text) {
    pa::OperationType type;
    Reader reader(text);
    reader.number(type.classNo).text("/");
    return reader.number(type.number).isAtEnd() ? std::optional(type) : std::nullopt;
}

std::optional<int> readLevelRequest(std::string_view topic, int dstNo) {
    return readElement(topic, ofServer(dstNo, "/levelRequests/"));
}

std::optional<int> readLevel(std::string_view topic, int dstNo) {
    return readElement(topic, ofServer(dstNo, "/levels/"));
}

std::optional<std::string> readControl(std::string_view topic, int dstNo) {
    Reader reader(topic);
    reader.text(ofServer(dstNo, "/control/"));
    const bool hasFunction =
        reader.isRead() && !reader.isAtEnd() && reader.rest().find('/') == std::string_view::npos;
    return hasFunction ? std::optional(std::string(reader.rest())) : std::nullopt;
}

}  // namespace palink::topics
