// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <vector>

#include "Message.h"

/// An announcement that is in progress on the server. A plain value; the controller hands out
/// copies. Of the message itself the server reports only the request id and the types.
struct AnnouncementRequest : Message {
    int id = 0;                      ///< record number of the server
    std::string stateText;           ///< in the server's words
    std::string startDateTime;       ///< in the server's words
    std::string messageContent;      ///< the server's description of the message
    std::string priorityText;        ///< in the server's words
    std::vector<std::string> zones;  ///< ids of the zones in which it is to play
    /// "0" finished, "1" cancelled, "2" pre-empted, "3" failed; empty before.
    std::string completionCode;
    std::string completionMsg;  ///< why it is over, in the server's words; of a recording its path

    friend bool operator==(const AnnouncementRequest& a, const AnnouncementRequest& b) {
        return static_cast<const Message&>(a) == static_cast<const Message&>(b) && a.id == b.id &&
               a.stateText == b.stateText && a.startDateTime == b.startDateTime &&
               a.messageContent == b.messageContent && a.priorityText == b.priorityText &&
               a.zones == b.zones && a.completionCode == b.completionCode &&
               a.completionMsg == b.completionMsg;
    }
    friend bool operator!=(const AnnouncementRequest& a, const AnnouncementRequest& b) {
        return !(a == b);
    }
};
