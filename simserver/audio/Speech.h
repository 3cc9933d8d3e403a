// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <mutex>
#include <string>

#include "simserver/ServerContext.h"
#include "simserver/audio/SpeechRenderer.h"

namespace simserver {

/// The voices of the station, and the previews that they speak. Its functions are called with the
/// server's lock held, but for the last.
class Speech {
public:
    /// @param context must outlive the object
    /// @param lock    of the server; taken for the reports of texts that have been spoken
    Speech(ServerContext& context, std::mutex& lock);

    /// Operation 108/3.
    /// @throws Refused, with the request's id if it is known
    void retrieve(const std::string& payload);

    /// Reports every voice, then every preview.
    void publishAll() const;

    /// Waits until every text has been spoken and reported. Called without the lock.
    void waitUntilIdle() { renderer_.waitUntilIdle(); }

private:
    void publish(const Preview& preview) const;

    ServerContext& context_;
    SpeechRenderer renderer_;  // locks for itself
};

}  // namespace simserver
