// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <ctime>
#include <functional>
#include <string>
#include <vector>

#include "include/common/RecordList.h"
#include "sdk/AudioServer.h"
#include "sdk/globals.h"
#include "tests/recordingHost/NotingObserver.h"

/// A host that only records the controller's calls. It replaces pa_host: no thread is started, none
/// sleeps, nothing is sent.
///
/// One transcript holds operations, events, observer calls, log lines, error reports, uploads and
/// sleeps in the order in which they came. A line begins with "*" when it was written with the
/// controller's mutex held.
namespace recordingHost {

struct Host {
    std::string transcript;
    int mutexEntries = 0;
    int uuids = 0;  ///< how many have been made

    int uploadResult = 1;                  ///< of every upload; 1 is success
    std::time_t now = 1000;                ///< the wall clock
    std::function<void(int)> sleepAction;  ///< called in place of a sleep, once it is noted
};
Host& host();

/// Puts the host in its first state: empty transcript, direct connection to server 1, this device
/// at 10.0.0.5, verbosity 0, an audio server instance with the UUID "uuid-self".
void reset();

/// The transcript since the last call or reset, a line each.
std::string transcript();

/// How often the controller's mutex was entered since the last call or reset.
int mutexEntries();

/// Writes a line into the transcript.
void note(const std::string& line);

}  // namespace recordingHost

/// Writes every call into the transcript, as "name: call arguments".
class RecordingObserver : public NotingObserver {
public:
    explicit RecordingObserver(std::string name) : name_(std::move(name)) {}

    /// Called in every callback, after it has been written down.
    std::function<void()> inCallback;

private:
    void called(const std::string& kind, const std::string& id, const std::string& what) override;

    std::string name_;
};

/// The fields of a record, written with "|" between them and "-" for one that is absent. After "N="
/// follows the field of column N, those before it are absent.
pa::RecordFields fieldsOf(const std::string& text);

/// Fields with one of them replaced, and absent ones up to it.
pa::RecordFields with(pa::RecordFields fields, std::size_t column, const std::string& text);
