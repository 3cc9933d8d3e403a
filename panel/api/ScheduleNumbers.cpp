// SPDX-License-Identifier: Apache-2.0
#include "panel/api/ScheduleNumbers.h"

#include <string>

#include "panel/http/ApiError.h"
#include "sdk/PAController.h"

namespace papanel {

ScheduleNumbers::Taken::Taken(ScheduleNumbers& numbers, int wanted)
    : numbers_(numbers), number_(numbers.take(wanted)) {}

ScheduleNumbers::Taken::~Taken() {
    const std::lock_guard guard(numbers_.lock_);
    numbers_.taken_.erase(number_);
    numbers_.changed_.notify_all();
}

void ScheduleNumbers::Taken::leaveOut() {
    const std::lock_guard guard(numbers_.lock_);
    numbers_.leftOut_.insert(number_);
}

ScheduleNumbers::ServersChoice::ServersChoice(ScheduleNumbers& numbers) : numbers_(numbers) {
    std::unique_lock guard(numbers_.lock_);
    numbers_.changed_.wait(guard, [this] { return numbers_.taken_.empty(); });
    ++numbers_.choices_;
}

ScheduleNumbers::ServersChoice::~ServersChoice() {
    const std::lock_guard guard(numbers_.lock_);
    --numbers_.choices_;
    numbers_.changed_.notify_all();
}

int ScheduleNumbers::take(int wanted) {
    std::unique_lock guard(lock_);
    changed_.wait(guard, [this] { return choices_ == 0; });
    int number = wanted;
    if (wanted == 0) {
        do {
            ++number;
        } while (taken_.count(number) != 0 || leftOut_.count(number) != 0 ||
                 gPaController.findSchedule(number));
    }
    if (!taken_.insert(number).second) {
        throw ApiError(409, "refused",
                       "a schedule " + std::to_string(number) + " is being made already");
    }
    return number;
}

}  // namespace papanel
