#pragma once

#include <atomic>
#include <string>

class AudioServer;
class QXReceiver;

/// @file
/// What the parts of the SDK share across the process. The controller reads these and writes none.
/// They are usable in static constructors (but for one with an init_priority of 101) and never
/// destroyed.

/// The audio-server facade; null before the SDK is connected. Set before the link starts, then left
/// alone.
extern std::atomic<AudioServer*> gAudioServerInstance;

/// The server link's send queue.
extern QXReceiver gQXReceiver;

/// Destination number of the local (directly connected) server.
extern std::atomic<int> gLocalDstNo;

/// Destination number of the active audio server; 0 when none is active.
extern std::atomic<int> gActiveAudioServerDstNo;

/// Whether the client reaches the audio server indirectly, through the local server.
extern std::atomic<bool> gIndirectCXSConnection;

/// The longest time, in seconds, that a synchronous operation waits for the server.
extern std::atomic<int> gMaxServerWaitTimeSeconds;

/// This device's IP address, the origin in request payloads. Set before the link starts, then left
/// alone.
extern std::string& gDeviceIPAddress;
