// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

#include "../framework/api.h"
#include "../framework/shared.h"

class AudioServer;
class QXReceiver;

/// @file
/// Objects that the parts of the SDK share. The controller only reads them; the link sets the
/// facade when it starts, and the numbers of the servers when it is connected. They are usable in
/// static constructors (but for one with an init_priority of 101) and never destroyed. Pointer,
/// numbers and flag are plain objects: see framework/shared.h for access from several threads.

/// The audio-server facade; null before the SDK is connected. Set by the link when it starts, then
/// constant.
extern PA_API AudioServer* gAudioServerInstance;

/// The server link's send queue.
extern PA_API QXReceiver gQXReceiver;

/// Destination number of the local (directly connected) server.
extern PA_API int gLocalDstNo;

/// Destination number of the active audio server; 0 when none is active.
extern PA_API int gActiveAudioServerDstNo;

/// Whether the client reaches the audio server indirectly, through the local server.
extern PA_API bool gIndirectCXSConnection;

/// The longest time, in seconds, that a synchronous operation waits for the server.
extern PA_API int gMaxServerWaitTimeSeconds;

/// This device's IP address, the origin in request payloads. Set before the link starts, then
/// constant.
extern PA_API std::string& gDeviceIPAddress;
