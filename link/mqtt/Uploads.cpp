// SPDX-License-Identifier: Apache-2.0
#include "link/mqtt/Uploads.h"

#include <algorithm>
#include <exception>
#include <utility>

#include "framework/clock.h"
#include "framework/uuid.h"
#include "link/mqtt/LocalFile.h"
#include "link/mqtt/RequestEnds.h"
#include "link/mqtt/topics.h"
#include "link/mqtt/uploadMessages.h"

namespace palink {

namespace {

std::string newUploadId() {
    std::string id;
    generateUUID(id);
    return id;
}

}  // namespace

/// One file on its way.
class Uploads::Upload {
public:
    Upload(Uploads& uploads, const std::string& localPath, const std::string& serverPath)
        : uploads_(uploads),
          file_(localPath),
          begin_(encodeUploadBegin({serverPath, file_.size(), file_.sha256()})) {}

    UploadResult run() {
        constexpr int pauseMS = 250;
        while (!result_ && !uploads_.stopped_ && !uploads_.isAbandoned_()) {
            if (const std::optional<int> dstNo = uploads_.server_()) {
                attempt(*dstNo);
            } else {
                fault_ = "no connection to the server";
            }
            if (!result_ && pa::monotonicMS() - progressMS_ >= limitMS) {
                return {false, "no progress for 30 s: " + fault_};
            }
            if (!result_) {
                sleepMS(pauseMS);
            }
        }
        return result_.value_or(
            UploadResult{false, uploads_.stopped_ ? "the link was stopped" : interrupted});
    }

private:
    static constexpr const char* interrupted = "it was interrupted";
    static constexpr std::int64_t limitMS = std::chrono::milliseconds(patience).count();

    /// Sends what the server does not have yet, until that does not succeed.
    void attempt(int dstNo) {
        isBroken_ = false;
        offset_ = -1;
        ask({topics::uploadBegin(dstNo), begin_, {}});
        takeAnswer();
        for (std::int64_t next = offset_; !result_;) {
            const bool hasMore = !isBroken_ && next < file_.size();
            if (hasMore && waiting_ < maxUploadMessages) {
                const std::string part = file_.read(next, maxUploadBytes);
                ask({topics::uploadData(dstNo), part, {{"offset", std::to_string(next)}}});
                next += static_cast<std::int64_t>(part.size());
            } else if (waiting_ > 0) {
                takeAnswer();
            } else {
                return;
            }
        }
    }

    struct Question {
        std::string topic;
        std::string payload;
        std::vector<std::pair<std::string, std::string>> properties;
    };

    void ask(Question question) {
        MqttMessage message;
        message.topic = std::move(question.topic);
        message.payload = std::move(question.payload);
        message.userProperties = std::move(question.properties);
        message.userProperties.emplace_back("upload", id_);
        if (uploads_.requests_.add({std::move(message), false, ends_.taker()})) {
            ++waiting_;
        } else {
            giveUp("too much waits for the server");
        }
    }

    void takeAnswer() {
        if (waiting_ == 0) {
            return;
        }
        const std::optional<RequestEnd> end = ends_.take();
        --waiting_;
        if (!end) {
            result_ = UploadResult{false, interrupted};
        } else if (end->how != RequestEnd::How::Answered) {
            giveUp(end->text());
        } else if (!end->answer.accepted) {
            result_ = UploadResult{false, end->answer.reason};
        } else {
            takeProgress(end->answer.result);
        }
    }

    void takeProgress(const std::string& result) try {
        const UploadProgress progress = decodeUploadProgress(result);
        if (progress.stored) {
            result_ = UploadResult{true, {}};
        } else if (progress.offset <= offset_ || progress.offset > file_.size()) {
            giveUp("the server has lost a part of the file");
        } else {
            progressMS_ = offset_ >= 0 ? pa::monotonicMS() : progressMS_;
            offset_ = progress.offset;
        }
    } catch (const MalformedMessage& e) {
        giveUp(std::string("the server's answer cannot be read: ") + e.what());
    }

    /// Has this attempt end.
    void giveUp(const std::string& fault) {
        isBroken_ = true;
        fault_ = fault;
    }

    Uploads& uploads_;
    LocalFile file_;
    const std::string begin_;
    const std::string id_ = newUploadId();
    RequestEnds ends_{uploads_.isAbandoned_};
    int waiting_ = 0;           // for an answer
    bool isBroken_ = false;     // this attempt
    std::int64_t offset_ = -1;  // how much the server has; -1 before it has answered
    std::int64_t progressMS_ = pa::monotonicMS();
    std::string fault_;
    std::optional<UploadResult> result_;
};

Uploads::Uploads(Requests& requests, std::function<std::optional<int>()> server,
                 std::function<bool()> isAbandoned)
    : requests_(requests), server_(std::move(server)), isAbandoned_(std::move(isAbandoned)) {}

UploadResult Uploads::upload(const std::string& localPath, const std::string& serverPath) try {
    return Upload(*this, localPath, serverPath).run();
} catch (const std::exception& e) {
    return {false, e.what()};
}

}  // namespace palink
