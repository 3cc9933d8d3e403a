#include "sdk/globals.h"

#include "sdk/QXReceiver.h"

std::atomic<AudioServer*> gAudioServerInstance{nullptr};
QXReceiver gQXReceiver;
std::atomic<int> gLocalDstNo{0};
std::atomic<int> gActiveAudioServerDstNo{0};
std::atomic<bool> gIndirectCXSConnection{false};
std::atomic<int> gMaxServerWaitTimeSeconds{10};
std::string& gDeviceIPAddress = *new std::string("0.0.0.0");
