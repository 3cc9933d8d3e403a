#pragma once

#include <optional>
#include <string>

#include "../resource/common/paInfo.h"
#include "../resource/common/priorityInfo.h"
#include "../sdk/Message.h"
#include "../sdk/PAControllerObserver.h"

/// @file
/// The values of the records' enumerations by name. A value without a name is written as a number.
/// Every function may be called from any thread.

namespace paclient {

/// @name Names of values
/// @{

/// The name of a value as it is in its enumeration.
std::string nameOf(PaSource::Type value);
std::string nameOf(PaSource::AttachState value);
std::string nameOf(PaSource::BroadcastType value);
std::string nameOf(PaSource::HealthState value);
std::string nameOf(PaSink::Type value);
std::string nameOf(PaSink::State value);
std::string nameOf(PaSink::AnnouncementType value);
std::string nameOf(PaSink::HealthState value);
std::string nameOf(PaSink::BroadcastType value);
std::string nameOf(PaSink::MuteState value);
std::string nameOf(PaTrigger::Type value);
std::string nameOf(PaTrigger::State value);
std::string nameOf(PaTrigger::PRIORITY_MODE value);
std::string nameOf(PaSelector::Type value);
std::string nameOf(PaSelector::Protection value);
std::string nameOf(PaSelector::Mode value);
std::string nameOf(PaSelector::DynamicRestriction value);
std::string nameOf(PaSelector::State value);
std::string nameOf(PAControllerObserver::MessageRetrievalError value);
std::string nameOf(Message::Type value);
std::string nameOf(Message::TextEncoding value);
std::string nameOf(AnnouncementType value);
std::string nameOf(AnnouncementPriorityMode value);
/// @}

/// The type of a content with this name, letter case aside. `NONE` is not one.
std::optional<Message::Type> messageTypeNamed(const std::string& name);

/// The names of all types of content, with commas between.
std::string messageTypeNames();

}  // namespace paclient
