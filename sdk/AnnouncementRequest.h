#pragma once

#include <string>
#include <vector>

#include "sdk/Message.h"

/// An announcement that is in progress on the server. A plain value; the controller hands out
/// copies. Of the message itself the server reports the request id and the types alone.
struct AnnouncementRequest : Message {
    int id = 0;                  ///< record number of the server
    std::string stateText;       ///< as the server words it
    std::string startDateTime;   ///< as the server words it
    std::string messageContent;  ///< the server's description of the message
    std::string priorityText;    ///< as the server words it
    std::vector<std::string> zones;
    std::string completionCode;
    std::string completionMsg;
};
