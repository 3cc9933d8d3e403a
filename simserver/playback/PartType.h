// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace simserver {

/// What a part of an announcement occupies in a zone.
enum class Medium { Audio, Visual };

/// How the content of a part is encoded.
enum class ContentForm { None, Recorded, Dictionary, Text, Spoken, Template };

/// The type of a part of an announcement, and how the server plays it.
struct PartType {
    int number;
    const char* name;
    Medium medium;
    ContentForm form;         ///< `None` for a type that the server does not play
    const char* whyNot = "";  ///< why the server does not play it
};

/// @name Numbers of types
/// @{
constexpr int liveAnnouncement = 0;
constexpr int displayAnnouncement = 3;
constexpr int noAnnouncement = 7;  ///< nothing plays
/// @}

/// The type with a number, null for a number that is none.
const PartType* findType(int number);

}  // namespace simserver
