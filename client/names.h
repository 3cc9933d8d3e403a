// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <string>

#include "../framework/api.h"
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
PA_API std::string nameOf(PaSource::Type value);
PA_API std::string nameOf(PaSource::AttachState value);
PA_API std::string nameOf(PaSource::BroadcastType value);
PA_API std::string nameOf(PaSource::HealthState value);
PA_API std::string nameOf(PaSink::Type value);
PA_API std::string nameOf(PaSink::State value);
PA_API std::string nameOf(PaSink::AnnouncementType value);
PA_API std::string nameOf(PaSink::HealthState value);
PA_API std::string nameOf(PaSink::BroadcastType value);
PA_API std::string nameOf(PaSink::MuteState value);
PA_API std::string nameOf(PaTrigger::Type value);
PA_API std::string nameOf(PaTrigger::State value);
PA_API std::string nameOf(PaTrigger::PRIORITY_MODE value);
PA_API std::string nameOf(PaSelector::Type value);
PA_API std::string nameOf(PaSelector::Protection value);
PA_API std::string nameOf(PaSelector::Mode value);
PA_API std::string nameOf(PaSelector::DynamicRestriction value);
PA_API std::string nameOf(PaSelector::State value);
PA_API std::string nameOf(PAControllerObserver::MessageRetrievalError value);
PA_API std::string nameOf(Message::Type value);
PA_API std::string nameOf(Message::TextEncoding value);
PA_API std::string nameOf(AnnouncementType value);
PA_API std::string nameOf(AnnouncementPriorityMode value);
/// @}

/// The type of a content with this name, letter case aside. `NONE` is not one.
PA_API std::optional<Message::Type> messageTypeNamed(const std::string& name);

/// The names of all types of content, with commas between.
PA_API std::string messageTypeNames();

}  // namespace paclient
