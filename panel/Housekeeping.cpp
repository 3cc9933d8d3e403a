// SPDX-License-Identifier: Apache-2.0
#include "panel/Housekeeping.h"

#include <utility>

#include "framework/log.h"

namespace papanel {

Housekeeping::Housekeeping(std::vector<Work> tasks) {
    for (Work& work : tasks) {
        tasks_.push_back({std::move(work), {}});
    }
}

void Housekeeping::run() {
    for (Task& task : tasks_) {
        std::string failure;
        try {
            task.work();
        } catch (const std::exception& error) {
            failure = error.what();
        }
        if (!failure.empty() && failure != task.failure) {
            handleError(1, "housekeeping has failed: %s", failure.c_str());
        }
        task.failure = std::move(failure);
    }
}

}  // namespace papanel
