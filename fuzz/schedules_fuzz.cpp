// SPDX-License-Identifier: Apache-2.0
// Schedules as JSON: what is read is written so that it is read again; nothing but invalid_argument
// leaves the reader.
#include <stdexcept>

#include "client/scheduleJson.h"
#include "fuzz/Target.h"

using paclient::Json;

void fuzz::run(const std::string& input) {
    Json list;
    if (!returns<std::invalid_argument>([&] { list = paclient::parseScheduleList(input); })) {
        return;
    }
    require(paclient::readSchedules(list).size() == list.size(), "an entry for each");
    for (const Json& entry : list) {
        ScheduleDefinition schedule;
        if (returns<std::invalid_argument>([&] { schedule = paclient::scheduleFrom(entry); })) {
            const Json written = paclient::toJson(schedule, paclient::JsonTexts::None);
            require(paclient::scheduleFrom(Json::parse(paclient::jsonLine(written))) == schedule,
                    "a schedule that is written and read again");
            for (const auto& [name, value] : entry.items()) {
                require(!value.is_primitive() || written.at(name) == value,
                        "written as it was read");
            }
        }
    }
}
