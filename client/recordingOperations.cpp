// SPDX-License-Identifier: Apache-2.0
#include <functional>
#include <set>

#include "client/confirmedOperations.h"
#include "client/confirmedParts.h"
#include "sdk/PAController.h"
#include "sdk/operations.h"

namespace paclient {

namespace {

using State = Confirmation::State;

bool isRunningRecording(const AnnouncementRequest& record) {
    return record.stateText == "Recording";
}

/// The numbers of the records of recordings that run.
std::set<int> runningRecordings() {
    std::set<int> ids;
    for (const AnnouncementRequest& record : gPaController.getAnnouncementRequests()) {
        if (isRunningRecording(record)) {
            ids.insert(record.id);
        }
    }
    return ids;
}

Confirmation askOfRecorder(pa::OperationType operation, const std::function<void()>& send,
                           const Wait& wait) {
    ConfirmedRequest request;
    request.operations = {operation};
    request.send = send;
    return awaitRefusal(request, shortened(wait));
}

}  // namespace

Confirmation startRecording(const std::string& serverPath, const Wait& wait) {
    const std::set<int> before = runningRecordings();
    bool isRunning = false;
    ConfirmedRequest request;
    request.operations = {pa::operations::startRecording};
    request.send = [&] { gPaController.startUserRecording(serverPath); };
    request.take = [&](const Change& change) {
        const auto* const update = std::get_if<Updated<AnnouncementRequest>>(&change);
        isRunning = isRunning || (update != nullptr && isRunningRecording(update->record) &&
                                  update->record.completionMsg == serverPath &&
                                  before.count(update->record.id) == 0);
    };
    request.holds = [&] { return isRunning; };
    return confirm(request, wait);
}

StoppedRecording stopRecording(const Wait& wait) {
    std::set<int> running = runningRecordings();
    std::optional<AnnouncementRequest> end;
    ConfirmedRequest request;
    request.operations = {pa::operations::stopRecording};
    request.send = [] { gPaController.stopUserRecording(); };
    request.take = [&](const Change& change) {
        const auto* const update = std::get_if<Updated<AnnouncementRequest>>(&change);
        if (update == nullptr) {
            return;
        }
        if (isRunningRecording(update->record)) {
            running.insert(update->record.id);
        } else if (running.count(update->record.id) > 0) {
            end = update->record;
        }
    };
    request.holds = [&] { return end.has_value(); };
    const Confirmation confirmation = confirm(request, wait);
    if (!end || !confirmation.holds()) {
        return {confirmation, {}};
    }
    if (end->stateText != "Recorded") {
        return {{State::Refused, "the recording is lost: " + end->completionMsg}, {}};
    }
    return {{State::Done}, end->completionMsg};
}

Confirmation previewRecording(const std::string& serverPath, const Wait& wait) {
    return askOfRecorder(
        pa::operations::previewRecording, [&] { gPaController.previewUserRecording(serverPath); },
        wait);
}

Confirmation deleteRecording(const std::string& serverPath, const Wait& wait) {
    return askOfRecorder(
        pa::operations::deleteRecording, [&] { gPaController.deleteUserRecording(serverPath); },
        wait);
}

}  // namespace paclient
