#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "simserver/protocol/Request.h"

/// @file
/// Decodes what the parts of requests and of schedules have in common. Every function throws
/// Refused for a text that is anything else, naming what is wrong.

namespace simserver {

/// The number of a type, of whatever form.
const AnnouncementType& decodeType(std::string_view text);

/// The number of a type that the server plays.
const AnnouncementType& decodePlayedType(std::string_view text);

/// The number of the mode: whether the level is relative.
bool decodeRelative(std::string_view text);

/// zone^zone; the devices of a plain text stand there as they are
std::vector<std::string> decodeZones(std::string_view list, ContentForm form);

/// item^item!repeats
DictionaryContent decodeDictionary(std::string_view text);

/// origin^path, with whatever the path holds
RecordedContent decodeRecorded(std::string_view text);

/// entry!entry, each of them encoded: language^voice^rate^text
SpokenContent decodeSpoken(std::string_view text);

}  // namespace simserver
