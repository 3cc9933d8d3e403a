#pragma once

#include <map>
#include <sstream>

#include "console/demo/DemoScreen.h"
#include "util/TemporaryFolder.h"

namespace console {

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

/// A run of the demo. The destructor undoes what it has left.
class DemoRun final : private DemoScreen {
public:
    DemoRun(const Context& context, const std::vector<std::string>& zoneIds);
    ~DemoRun() override;

    /// Runs the steps, also after one that fails.
    const std::vector<DemoProgress>& run();

private:
    struct Event {
        const char* line;
        const char* awaited;
        const char* reached;
        double seconds;
        bool (DemoRun::*isReached)() const;
    };
    static const Event events[];

    void perform(DemoProgress& step, const std::string& line);
    std::string runLine(const std::vector<std::string>& words);
    std::vector<std::string> filled(const std::string& line) const;
    std::string valueOf(const std::string& name) const;
    std::string waitedFor(const std::string& line);
    bool areOver() const;
    bool isLive() const;
    bool isRenewed() const { return renewals_ >= 2; }
    bool hasRun() const { return hasRun_; }
    void take(const paclient::Change& change) override;
    TextTable table() const override;

    const Context& context_;
    const bool lasted_;  // the session before
    const pautil::TemporaryFolder folder_{"paconsole"};
    std::map<std::string, std::string> values_;
    const std::size_t firstPlayed_;
    std::vector<DemoProgress> steps_;
    std::ostringstream printed_;  // by the lines
    Output out_{printed_};
    Context lineContext_;
    int renewals_ = 0;     // of the lock of the source
    bool hasRun_ = false;  // the schedule
};

}  // namespace console
