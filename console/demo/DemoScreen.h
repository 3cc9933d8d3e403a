#pragma once

#include <functional>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "client/ChangeStream.h"
#include "console/Context.h"
#include "console/demo/demoSteps.h"
#include "console/following/LiveView.h"
#include "console/text/TextTable.h"

namespace console {

/// The text with the first eight characters of each UUID in it.
std::string withShortIds(const std::string& text);

/// Where the demo shows what happens: on a terminal a page with its steps and the zones, redrawn in
/// place, else plain lines.
class DemoScreen {
public:
    /// @param context must outlive the screen
    explicit DemoScreen(const Context& context);
    DemoScreen(const DemoScreen&) = delete;
    DemoScreen& operator=(const DemoScreen&) = delete;
    virtual ~DemoScreen() = default;

    void addZone(const std::string& id) { zones_.insert(id); }

    void beginStep(const DemoStep& step);

    std::string page() const { return step_->page; }

    /// Shows the page until something is reached.
    /// @param awaited as in "the run at the next minute"; empty for nothing
    /// @return false when `seconds` have passed before
    /// @throws Failure when the user interrupts, or the connection is lost
    bool showUntil(double seconds, const std::string& awaited,
                   const std::function<bool()>& isReached);

    /// Writes one plain line where no page is drawn.
    void report(const std::string& who, const std::string& what);

private:
    /// Called with each change.
    virtual void take(const paclient::Change& change) = 0;

    /// Of the steps.
    virtual TextTable table() const = 0;

    void showNext(Moment deadline);
    void draw();
    std::string elapsed() const;
    std::string numberText() const;

    const Context& context_;
    std::set<std::string> zones_;  // that are shown
    const Moment start_ = std::chrono::steady_clock::now();
    const DemoStep* step_ = demoSteps.data();
    std::size_t number_ = 0;  // of the step
    std::string awaited_;
    Moment awaitedSince_ = start_;
    Moment drawnAt_ = start_;
    paclient::Subscription changes_;
    std::optional<LiveView> view_;  // on a terminal
};

}  // namespace console
