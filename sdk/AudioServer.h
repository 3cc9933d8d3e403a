// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <deque>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "../framework/api.h"
#include "KeyValueMap.h"

class PAController;

/// The facade through which an application reaches its audio server: this client's identity, the
/// controller, file uploads, the media log and the server's description of itself.
///
/// Every function may be called from any thread. None calls back into the controller. The facade
/// that `gAudioServerInstance` names is never destroyed: the controller's worker may use it until
/// the process has ended.
class PA_API AudioServer {
public:
    /// Sends a file to the active server.
    /// @return 1 for success, any other number for a failure, which it has reported
    using Uploader =
        std::function<int(const std::string& localPath, const std::string& serverPath)>;

    /// The most media-log texts that are kept; the oldest are dropped first.
    static constexpr std::size_t campaignLogCapacity = 1000;

    /// A facade with a new UUID.
    explicit AudioServer(PAController& controller);
    AudioServer(const AudioServer&) = delete;
    AudioServer& operator=(const AudioServer&) = delete;
    ~AudioServer();

    /// This client's own UUID, the same for the object's whole life, and in the child of a fork():
    /// a daemon continues as the same client. A child that is to be a client beside its parent
    /// creates a facade of its own.
    [[nodiscard]] std::string getUUID() const;

    /// The process's controller.
    [[nodiscard]] PAController& getPAController() const;

    /// Uploads a file and waits for the result.
    /// @param localPath  a file of this device
    /// @param serverPath where the server is to keep it
    /// @return 1 for success; anything else is a failure, also when there is no link
    [[nodiscard]] int uploadFileToActiveServer(const std::string& localPath,
                                               const std::string& serverPath);

    /// Appends a media-log text from a sink record.
    void addCampaignLog(const std::string& text);

    /// The media-log texts kept, oldest first.
    [[nodiscard]] std::vector<std::string> getCampaignLog() const;

    /// Sets the function that carries out uploads; an empty one removes it. Later uploads use the
    /// new function. Waits for uploads in progress: when this returns the previous function is not
    /// in use any more. Not to be called from an upload.
    void setUploader(Uploader uploader);

    /// The server's description of itself (for example "name"); empty before the first connection.
    [[nodiscard]] KeyValueMap getServerInfo() const;
    /// Replaces the description. For the server link.
    void setServerInfo(const KeyValueMap& info);

private:
    struct UploadRoute;
    class RunningUpload;

    PAController& controller_;
    std::string uuid_;  // never changes

    std::shared_ptr<UploadRoute> route_;   // null for none
    std::deque<std::string> campaignLog_;  // oldest first
    KeyValueMap serverInfo_;
};
