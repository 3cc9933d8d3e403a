#pragma once

#include <memory>
#include <string>
#include <vector>

#include "console/demo/DemoScreen.h"
#include "console/demo/demoPlan.h"

namespace console {

/// The demo's page of announcements: plays the plan and shows the outcome.
class DemoAnnouncements final : public DemoPage {
public:
    /// @param context, screen must outlive the page
    DemoAnnouncements(const Context& context, DemoScreen& screen);

    /// Cancels what a demo that ends early still plays.
    ~DemoAnnouncements() override;

    /// Plays the plan, one item after the other, cancels what is to be cancelled, and waits for
    /// the end of what ends by itself, but no longer than a demo may take.
    std::vector<DemoResult> play(const std::vector<DemoItem>& plan);

private:
    /// An announcement of the plan that is played.
    struct Playing {
        DemoItem item;
        std::unique_ptr<paclient::Announcement> announcement;
        std::string state;
    };

    void take(const paclient::Change& change) override;
    TextTable table() const override;
    void begin(const DemoItem& item);
    bool isOver() const;
    std::vector<DemoResult> results() const;

    const Context& context_;
    DemoScreen& screen_;
    std::vector<Playing> playing_;
};

}  // namespace console
