#pragma once

#include <filesystem>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "client/records.h"
#include "console/demo/DemoScreen.h"

namespace console {

/// The demo's page of operating: a source that is held, a software trigger, a preview.
class DemoOperating final : public DemoPage {
public:
    /// @param context, screen must outlive the page
    /// @param zoneIds at least two; any will do
    /// @param wav     where the preview is saved
    DemoOperating(const Context& context, DemoScreen& screen,
                  const std::vector<std::string>& zoneIds, std::filesystem::path wav);

    /// Releases what a demo that ends early holds.
    ~DemoOperating() override;

    /// Runs the steps, one after the other, also after one that fails.
    std::vector<DemoResult> run();

    static constexpr std::size_t stepCount = 6;

private:
    struct Step {
        const char* name;
        const char* kind;
        const char* expected;
        bool (DemoOperating::*perform)();
    };
    static const Step steps[stepCount];

    bool takeSource();
    bool attachZones();
    bool useTrigger();
    void endTrigger();
    bool savePreview();
    bool holdSource();
    bool releaseSource();

    void take(const paclient::Change& change) override;
    TextTable table() const override;
    void chooseSources();
    template <class Condition>
    bool waitFor(double seconds, Condition isReached);
    paclient::Wait showing(double seconds);
    bool holds(const paclient::Confirmation& confirmation);
    void see(const std::string& what);
    bool fail(const std::string& why);
    bool playsLive(const std::set<std::string>& zoneIds) const;
    bool isHolder() const;

    const Context& context_;
    DemoScreen& screen_;
    const std::set<std::string> heldZones_;
    const std::string triggerZone_;
    const std::filesystem::path wav_;
    std::optional<PaSource> held_;
    std::optional<PaSource> triggered_;
    int trigger_ = 0;  // of that source; 0: none
    std::vector<DemoResult> results_;
    std::string refusal_;  // of the step at hand
    int renewals_ = 0;     // of the lock that is held
};

}  // namespace console
