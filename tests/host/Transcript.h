// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <condition_variable>
#include <gtest/gtest.h>
#include <mutex>
#include <string>
#include <utility>

/// Text that any thread adds to and waits for.
class Transcript {
public:
    void add(const std::string& text) {
        const std::lock_guard guard(lock_);
        text_ += text;
        changed_.notify_all();
    }

    /// Waits until `piece` has been added, for a minute at most: longer than any test needs.
    /// @return the whole text
    std::string waitFor(const std::string& piece) {
        std::unique_lock guard(lock_);
        EXPECT_TRUE(changed_.wait_for(guard, std::chrono::minutes(1),
                                      [&] { return text_.find(piece) != std::string::npos; }))
            << piece << " has not been added";
        return text_;
    }

    std::string text() { return waitFor(""); }

    /// Takes the text: it is empty afterwards.
    std::string take() {
        const std::lock_guard guard(lock_);
        return std::exchange(text_, {});
    }

private:
    std::mutex lock_;
    std::condition_variable changed_;
    std::string text_;
};
