#include "sdk/globals.h"

#include "framework/earlyObject.h"
#include "sdk/QXReceiver.h"

namespace {

pa::EarlyStorage<std::string> deviceIPAddress;
PASDK_EARLIEST const pa::EarlyObject<std::string> made(deviceIPAddress, "0.0.0.0");

}  // namespace

std::atomic<AudioServer*> gAudioServerInstance{nullptr};
QXReceiver gQXReceiver;
std::atomic<int> gLocalDstNo{0};
std::atomic<int> gActiveAudioServerDstNo{0};
std::atomic<bool> gIndirectCXSConnection{false};
std::atomic<int> gMaxServerWaitTimeSeconds{10};
constexpr std::string& gDeviceIPAddress = deviceIPAddress.object;
