// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "../../sdk/operations.h"
#include "../../sdk/recordKinds.h"

/// @file
/// The topics of the link protocol, docs/link-protocol.md.

namespace palink::topics {

/// @name What is published where
/// @{
std::string status(int dstNo);
std::string record(int dstNo, pa::RecordKind kind, int key);
std::string operation(int dstNo, const pa::OperationType& type);
std::string roundTrips(int dstNo);
std::string levelRequest(int dstNo, int element);
std::string level(int dstNo, int element);
std::string uploadBegin(int dstNo);
std::string uploadData(int dstNo);
std::string control(int dstNo, const std::string& function);
std::string answers(const std::string& clientId);
/// @}

/// @name Patterns of subscriptions
/// @{
inline constexpr const char* everyStatus = "pa/+/status";
std::string recordsOf(int dstNo);                       ///< of every kind
std::string recordsOf(int dstNo, pa::RecordKind kind);  ///< of one kind
std::string operationsFor(int dstNo);
std::string levelRequestsFor(int dstNo);
std::string levelsOf(int dstNo);
std::string uploadsFor(int dstNo);
std::string controlOf(int dstNo);
/// @}

struct RecordTopic {
    int dstNo = 0;
    pa::RecordKind kind = pa::RecordKind::Any;
    int key = 0;
};

/// @name Reading. Nothing for another topic, and for numbers that are not written as in the page:
/// out of range, with leading zeros, a key or number of 0, a kind that does not exist
/// @{
std::optional<int> readStatus(std::string_view topic);
std::optional<RecordTopic> readRecord(std::string_view topic);
std::optional<pa::OperationType> readOperation(std::string_view topic, int dstNo);
std::optional<pa::OperationType> readOperationType(std::string_view text);  ///< CLASS/NUMBER
std::optional<int> readLevelRequest(std::string_view topic, int dstNo);
std::optional<int> readLevel(std::string_view topic, int dstNo);
std::optional<std::string> readControl(std::string_view topic, int dstNo);  ///< the function
/// @}

}  // namespace palink::topics
