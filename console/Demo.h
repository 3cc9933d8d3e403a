#pragma once

#include <optional>
#include <set>
#include <string>
#include <vector>

#include "console/Context.h"
#include "console/LiveView.h"
#include "console/demoPlan.h"

namespace console {

/// An announcement of the plan that is played.
struct Playing {
    DemoItem item;
    RequestFollower follower;
    std::string state;
};

/// The demo at work: plays the plan and shows what comes of it, as a table that is redrawn in place
/// on a terminal, else in plain lines.
class Demo {
public:
    /// @param context must outlive the demo
    explicit Demo(const Context& context);

    /// Plays the plan, one item after the other, cancels what is to be cancelled, and waits for
    /// the end of what ends by itself, but no longer than a demo may take.
    void play(const std::vector<DemoItem>& plan);

    const std::vector<Playing>& played() const { return playing_; }

private:
    void begin(const DemoItem& item);
    /// Whether everything is over that is to end by itself.
    bool isOver() const;
    template <class Condition>
    void watchUntil(Moment deadline, Condition isReached);
    void take(const Change& change);
    void tell(const std::string& who, const std::string& what);
    void draw();
    std::string elapsed() const;

    const Context& context_;
    const Moment start_ = std::chrono::steady_clock::now();
    const Moment limit_;
    Moment drawnAt_ = start_;
    Changes changes_;
    std::set<std::string> zones_;  // of the plan
    std::vector<Playing> playing_;
    std::optional<LiveView> view_;  // on a terminal
};

}  // namespace console
