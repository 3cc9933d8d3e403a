// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "client/Change.h"
#include "console/Context.h"
#include "console/demo/demoSteps.h"

namespace console {

/// The text with the first eight characters of each UUID in it.
std::string withShortIds(const std::string& text);

/// A step, and what has been seen of it.
struct DemoProgress {
    const DemoStep& step;
    std::string seen{};
    std::string requestId{};  // of its announcement
    bool isOver = false;      // that announcement
    bool hasFailed = false;

    bool isAsExpected() const {
        return !hasFailed && seen.find(step.expected) != std::string::npos;
    }
};

/// Where the demo shows what happens: on a terminal a page with its steps and the zones, redrawn in
/// place, else plain lines.
class DemoScreen {
public:
    /// @param context, steps must outlive the screen
    /// @param zones   ids of those that are shown
    DemoScreen(const Context& context, const std::vector<DemoProgress>& steps,
               const std::set<std::string>& zones);

    void beginStep(const DemoProgress& step);

    /// Shows what the step waits for from now on.
    /// @param awaited as in "the run at the next minute"; empty for nothing
    void beginWait(const std::string& awaited);

    /// Writes one plain line where no page is drawn.
    void report(const std::string& who, const std::string& what);

    /// Reports a zone that is shown.
    void reportZone(const paclient::Change& change);

    /// Draws the page.
    void draw();

    /// Draws it when the last drawing is a while ago.
    void drawAgain();

private:
    using Clock = std::chrono::steady_clock;

    std::string elapsed() const;
    std::string numberText() const;

    const Context& context_;
    const std::vector<DemoProgress>& steps_;
    const std::set<std::string> zones_;
    const Clock::time_point start_ = Clock::now();
    const DemoProgress* step_ = nullptr;  // that has begun last
    std::string awaited_;
    Clock::time_point awaitedSince_ = start_;
    Clock::time_point drawnAt_ = start_;
    const std::unique_ptr<LiveView> view_;  // on a terminal
};

}  // namespace console
