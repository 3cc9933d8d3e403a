#pragma once

#include <algorithm>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "client/ChangeStream.h"
#include "console/Context.h"
#include "console/following/LiveView.h"
#include "console/text/TextTable.h"

namespace console {

/// A part of the demo, with a table of what it does.
class DemoPage {
public:
    /// @param pageTitle what the part shows
    explicit DemoPage(std::string pageTitle) : title(std::move(pageTitle)) {}
    DemoPage(const DemoPage&) = delete;
    DemoPage& operator=(const DemoPage&) = delete;
    virtual ~DemoPage() = default;

    virtual void take(const paclient::Change& change) = 0;
    virtual TextTable table() const = 0;

    const std::string title;
};

/// The outcome of one step.
struct DemoResult {
    std::string name;
    std::string kind;
    std::string expected;
    std::string seen;
    bool asExpected;
    paclient::Json details;  ///< further members of the JSON object
};

/// The text with the first eight characters of each UUID in it.
std::string withShortIds(const std::string& text);

/// Where the demo shows what happens: on a terminal a page and the zones, redrawn in place, else
/// plain lines.
class DemoScreen {
public:
    /// @param context must outlive the screen
    /// @param steps   of the whole demo
    DemoScreen(const Context& context, std::size_t steps);

    /// Begins the next step.
    void beginStep(const std::string& name);

    /// What is waited for from now on; empty for nothing.
    void await(const std::string& what);

    /// Shows these zones too.
    void addZones(const std::vector<std::string>& ids) { zones_.insert(ids.begin(), ids.end()); }

    /// Shows a page until something is reached.
    /// @return false when `deadline` has come before
    /// @throws Failure when the user interrupts, or the connection is lost
    template <class Condition>
    bool showUntil(DemoPage& page, Moment deadline, Condition isReached) {
        while (!isReached()) {
            if (std::chrono::steady_clock::now() >= deadline) {
                return false;
            }
            showNext(page, deadline);
        }
        draw(page);
        return true;
    }

    /// The same for some time.
    void showFor(DemoPage& page, double seconds) {
        showUntil(page, after(seconds), [] { return false; });
    }

    /// Writes one plain line where no table is drawn.
    void report(const std::string& who, const std::string& what);

private:
    void showNext(DemoPage& page, Moment deadline);
    void draw(const DemoPage& page);
    std::string elapsed() const;
    std::string heading(const DemoPage& page) const;
    std::string waitText() const;

    const Context& context_;
    const Moment start_ = std::chrono::steady_clock::now();
    const std::size_t steps_;
    std::size_t step_ = 0;
    std::string stepName_;
    std::string awaited_;
    Moment awaitedSince_ = start_;
    Moment drawnAt_ = start_;
    paclient::Subscription changes_;
    std::set<std::string> zones_;
    std::optional<LiveView> view_;  // on a terminal
};

}  // namespace console
