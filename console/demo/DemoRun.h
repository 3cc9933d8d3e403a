// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>
#include <map>
#include <sstream>

#include "client/ChangeStream.h"
#include "console/demo/DemoScreen.h"
#include "util/TemporaryFolder.h"

namespace console {

/// A run of the demo. The destructor undoes what it has left.
class DemoRun {
public:
    DemoRun(const Context& context, const std::vector<std::string>& zoneIds);
    DemoRun(const DemoRun&) = delete;
    DemoRun& operator=(const DemoRun&) = delete;
    ~DemoRun();

    /// Runs the steps, also after one that fails.
    const std::vector<DemoProgress>& run();

private:
    void perform(DemoProgress& step, const std::string& line);
    std::string runLine(const std::vector<std::string>& words);
    std::vector<std::string> filled(const std::string& line) const;
    std::string valueOf(const std::string& name) const;
    std::string waitedFor(const std::string& line);
    bool areOver() const;
    bool isLive() const;
    bool showUntil(double seconds, const std::string& awaited,
                   const std::function<bool()>& isReached);
    void take(const paclient::Change& change);

    const Context& context_;
    const bool lasted_;  // the session before
    const pautil::TemporaryFolder folder_{"paconsole"};
    std::map<std::string, std::string> values_;
    const std::size_t firstPlayed_;
    std::vector<DemoProgress> steps_;
    DemoScreen screen_;
    paclient::Subscription changes_;
    std::ostringstream printed_;  // by the lines
    Output out_{printed_};
    Context lineContext_;
    int renewals_ = 0;     // of the lock of the source
    bool hasRun_ = false;  // the schedule
};

}  // namespace console
