// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>
#include <string>
#include <vector>

namespace papanel {

/// What is to be done again and again. A task that fails keeps no other one from its turn. For one
/// thread.
class Housekeeping {
public:
    using Work = std::function<void()>;

    /// @param tasks may throw
    explicit Housekeeping(std::vector<Work> tasks);

    /// Does every task once. A failure is logged when it is another one than the last time.
    void run();

private:
    struct Task {
        Work work;
        std::string failure;
    };

    std::vector<Task> tasks_;
};

}  // namespace papanel
