#pragma once

#include <algorithm>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "console/Context.h"
#include "console/following/Changes.h"
#include "console/following/LiveView.h"
#include "console/text/TextTable.h"

namespace console {

/// A part of the demo: what it does shows in a table of its own.
class DemoPage {
public:
    DemoPage() = default;
    DemoPage(const DemoPage&) = delete;
    DemoPage& operator=(const DemoPage&) = delete;
    virtual ~DemoPage() = default;

    virtual void take(const Change& change) = 0;
    virtual TextTable table() const = 0;
};

/// What has become of one thing that the demo has done.
struct DemoResult {
    std::string name;
    std::string kind;
    std::string expected;
    std::string seen;
    bool asExpected;
    Json details;  ///< further members of the JSON object
};

/// Where the demo shows what happens: on a terminal a page and the zones, redrawn in place, else
/// plain lines.
class DemoScreen {
public:
    /// @param context must outlive the screen
    explicit DemoScreen(const Context& context);

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

    /// One plain line, where no table is drawn.
    void tell(const std::string& who, const std::string& what);

private:
    void showNext(DemoPage& page, Moment deadline);
    void draw(const DemoPage& page);
    std::string elapsed() const;

    const Context& context_;
    const Moment start_ = std::chrono::steady_clock::now();
    Moment drawnAt_ = start_;
    Changes changes_;
    std::set<std::string> zones_;
    std::optional<LiveView> view_;  // on a terminal
};

}  // namespace console
