// An application reads a controller and a sink through const references.
#include <gtest/gtest.h>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <vector>

#include "sdk/PAController.h"

namespace {

TEST(ControllerInterface, IsReadThroughAConstReference) {
    const PAController& controller = gPaController;
    EXPECT_TRUE(controller.getPaSources().empty() && controller.getPaSourceLocks().empty());
    EXPECT_TRUE(controller.getPaSinks().empty() && controller.getPaSinks(3).empty());
    EXPECT_TRUE(controller.getPaZones().empty());
    EXPECT_TRUE(controller.getHwPaTriggers().empty() && controller.getHwPaTriggers(3).empty());
    EXPECT_EQ(controller.getHwPaTriggerState(3), PaTrigger::UNKNOWN);
    EXPECT_TRUE(controller.getSwPaTriggers().empty());
    EXPECT_TRUE(controller.getPaSelectors().empty() && controller.getPaSelectors(3).empty());
    EXPECT_EQ(controller.getPaSelectorState(3), PaSelector::DISABLED);
    EXPECT_TRUE(controller.getPaSinksForSelector(3).empty());
    EXPECT_TRUE(controller.getTTSVocalizerList().empty());
    EXPECT_TRUE(controller.getTTSDictionaryList().empty());
    EXPECT_TRUE(controller.getAnnouncementRequests().empty() && controller.listSchedules().empty());
    std::vector<std::string> zones;
    controller.getAttachedPaZoneList(3, &zones);
    EXPECT_TRUE(zones.empty());
}

TEST(ControllerInterface, ASinkIsOperatedThroughAConstReference) {
    const PaSink sink;  // of no type: what needs one is refused
    EXPECT_THROW(sink.setGain(-10, false, false), std::invalid_argument);
    EXPECT_THROW(static_cast<void>(sink.getGain()), std::out_of_range);
    EXPECT_THROW(sink.reset(), std::out_of_range);
    EXPECT_TRUE(sink.getPAMonitoring());
    static_assert(std::is_invocable_v<decltype(&PaSink::setPAMonitoring), const PaSink&, bool>);
}

}  // namespace
