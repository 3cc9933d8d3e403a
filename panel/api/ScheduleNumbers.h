// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <condition_variable>
#include <mutex>
#include <set>

namespace papanel {

/// The numbers of schedules that requests are about to make, so that no two make the same one. The
/// server knows of a number only when it has confirmed it.
///
/// Every function may be called from any thread.
class ScheduleNumbers {
public:
    /// A number that no other request uses meanwhile.
    class Taken {
    public:
        /// Waits while the server chooses one.
        /// @param wanted 0 for the lowest one that is free
        /// @throws ApiError refused when a schedule with this number is being made
        Taken(ScheduleNumbers& numbers, int wanted);
        Taken(const Taken&) = delete;
        Taken& operator=(const Taken&) = delete;
        ~Taken();

        [[nodiscard]] int number() const { return number_; }

        /// The outcome is unknown: the number is not given to another schedule unless it is wanted.
        void leaveOut();

    private:
        ScheduleNumbers& numbers_;
        const int number_;
    };

    /// The server chooses a number: begins when no number is taken, and none is until it ends.
    class ServersChoice {
    public:
        explicit ServersChoice(ScheduleNumbers& numbers);
        ServersChoice(const ServersChoice&) = delete;
        ServersChoice& operator=(const ServersChoice&) = delete;
        ~ServersChoice();

    private:
        ScheduleNumbers& numbers_;
    };

private:
    int take(int wanted);

    std::mutex lock_;
    std::condition_variable changed_;
    // Guarded by lock_.
    std::set<int> taken_;
    int choices_ = 0;  // of the server, that are not made yet
    std::set<int> leftOut_;
};

}  // namespace papanel
