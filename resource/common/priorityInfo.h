// SPDX-License-Identifier: Apache-2.0
#pragma once

/// How a priority level is meant.
enum AnnouncementPriorityMode : int {
    APM_ABSOLUTE_PRIORITY = 0,  ///< the level itself
    APM_RELATIVE_PRIORITY = 1,  ///< an offset that the server applies to its own level
};

/// Types of announcement, with their numbers on the link.
enum AnnouncementType : int {
    AT_LIVE = 0,
    AT_STORED_DATA = 1,
    AT_TEV = 2,
    AT_DISPLAY_v0 = 3,
    AT_TTS = 4,
    AT_BGM = 5,
    AT_MIXED = 6,
    AT_NONE = 7,
    AT_TEMPLATE = 8,
    AT_DISPLAY_TEMPLATE = 9,
    AT_TTS_SAF = 10,
    AT_STORED_DATA_SAF = 11,
    AT_MAX_ANNOUNCEMENT_TYPES = 12,
};

/// The priority of an announcement. A plain value.
class MessagePriority {
public:
    /// Absolute, level 500.
    MessagePriority() = default;
    /// A priority of this mode and level.
    MessagePriority(AnnouncementPriorityMode priorityMode, int priorityLevel)
        : mode(priorityMode), level(priorityLevel) {}

    /// How the level is meant.
    void setPriorityMode(AnnouncementPriorityMode priorityMode) { mode = priorityMode; }
    /// How the level is meant.
    [[nodiscard]] AnnouncementPriorityMode getPriorityMode() const { return mode; }
    /// A higher level comes first. No range check.
    void setPrioritylevel(int priorityLevel) { level = priorityLevel; }
    /// A higher level comes first.
    [[nodiscard]] int getPriorityLevel() const { return level; }

    friend bool operator==(const MessagePriority& a, const MessagePriority& b) {
        return a.mode == b.mode && a.level == b.level;
    }
    friend bool operator!=(const MessagePriority& a, const MessagePriority& b) { return !(a == b); }

    AnnouncementPriorityMode mode = APM_ABSOLUTE_PRIORITY;  ///< how `level` is meant
    int level = 500;                                        ///< a higher one comes first
};
