// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <vector>

#include "simserver/protocol/FieldReader.h"
#include "simserver/protocol/Request.h"

/// @file
/// Decodes what the parts of requests and of schedules have in common. Every function throws
/// Refused for a field that is anything else.

namespace simserver {

/// The number of a type, of whatever form.
const PartType& decodeType(const NamedField& field);

/// The number of a type that the server plays.
const PartType& decodePlayedType(const NamedField& field);

/// The number of the mode: whether the level is relative.
bool decodeRelative(const NamedField& field);

/// zone^zone; the devices of a plain text are not encoded
std::vector<std::string> decodeZones(const NamedField& field, ContentForm form);

/// item^item!repeats
DictionaryContent decodeDictionary(const NamedField& field);

/// origin^path; the path is not encoded and may hold any character
RecordedContent decodeRecorded(const NamedField& field);

/// entry!entry, each of them encoded: language^voice^rate^text
SpokenContent decodeSpoken(const NamedField& field);

}  // namespace simserver
