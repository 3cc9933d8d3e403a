// SPDX-License-Identifier: Apache-2.0
#include "sdk/globals.h"

#include "framework/earlyObject.h"
#include "sdk/QXReceiver.h"

namespace {

pa::EarlyStorage<std::string> deviceIPAddress;
PASDK_EARLIEST const pa::EarlyObject<std::string> made(deviceIPAddress, "0.0.0.0");

}  // namespace

AudioServer* gAudioServerInstance = nullptr;
QXReceiver gQXReceiver;
int gLocalDstNo = 0;
int gActiveAudioServerDstNo = 0;
bool gIndirectCXSConnection = false;
int gMaxServerWaitTimeSeconds = 10;
constexpr std::string& gDeviceIPAddress = deviceIPAddress.object;
