#pragma once

#include <string>
#include <vector>

#include "console/demo/DemoScreen.h"
#include "sdk/ScheduleDefinition.h"

namespace console {

/// The demo's page of schedules: one is made at the beginning, runs at the next minute of the
/// station while the other pages are shown, and is deleted.
class DemoSchedule final : public DemoPage {
public:
    /// Sends the schedule to the server.
    /// @param context, screen must outlive the page
    /// @param zone where it plays
    DemoSchedule(const Context& context, DemoScreen& screen, const std::string& zone);

    /// Deletes a schedule that a demo which ends early has left.
    ~DemoSchedule() override;

    /// Waits until it has run, and deletes it.
    DemoResult finish();

private:
    void take(const paclient::Change& /*change*/) override {}
    TextTable table() const override;
    void makeSchedule(const std::string& zone);
    void catchUp();
    void see(const std::string& what);
    template <class Condition>
    bool waitFor(double seconds, Condition isReached);

    const Context& context_;
    DemoScreen& screen_;
    paclient::Subscription changes_;  // also those that come while other pages are shown
    ScheduleDefinition schedule_;
    DemoResult result_;
    bool isLeft_ = false;  // at the server
    bool hasRun_ = false;
    std::string refusal_;
};

}  // namespace console
