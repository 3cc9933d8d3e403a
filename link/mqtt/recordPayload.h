// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "include/common/RecordList.h"
#include "link/mqtt/MalformedMessage.h"
#include "sdk/recordKinds.h"

/// @file
/// The payload and checksum of a record on the broker, docs/link-protocol.md.

namespace palink {

/// The longest payload of a record, in bytes.
inline constexpr std::size_t maxRecordBytes = std::size_t{1} << 20U;

/// @return a JSON array of strings and nulls. Bytes that are no UTF-8 become U+FFFD
std::string encodeRecord(const pa::RecordFields& fields);

/// @throws MalformedMessage when the payload is anything but an array of strings and nulls. Takes
///         time and memory in proportion to the payload, however it is nested
pa::RecordFields decodeRecord(std::string_view payload);

/// The checksum of one record; that of a kind is the sum of those of its records.
std::uint64_t recordChecksum(pa::RecordKind kind, int key, std::string_view payload);

}  // namespace palink
