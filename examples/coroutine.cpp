// SPDX-License-Identifier: Apache-2.0
// Announces in several zones at once, each twice in turn, with coroutines of C++20 on one thread:
// coroutine --server HOST[:PORT] ZONE...
#include <coroutine>
#include <iostream>
#include <map>
#include <optional>
#include <poll.h>
#include <public-address/client/Announcement.h>
#include <public-address/client/ChangeStream.h>
#include <public-address/client/choose.h>

#include "BrokerEndpoint.h"

namespace {

/// A coroutine that begins at once and ends by itself.
struct Task {
    struct promise_type {
        Task get_return_object() { return {}; }
        std::suspend_never initial_suspend() noexcept { return {}; }
        std::suspend_never final_suspend() noexcept { return {}; }
        void return_void() {}
        void unhandled_exception() { std::terminate(); }
    };
};

/// Resumes coroutines when the file descriptors that they wait for are readable.
class Loop {
public:
    struct Readable {
        Loop& loop;
        int descriptor;

        bool await_ready() { return false; }
        void await_suspend(std::coroutine_handle<> waiting) { loop.waiting_[descriptor] = waiting; }
        void await_resume() {}
    };
    Readable readable(int descriptor) { return {*this, descriptor}; }

    /// Returns when no coroutine waits any more.
    void run() {
        while (!waiting_.empty()) {
            std::vector<pollfd> polled;
            for (const auto& [descriptor, coroutine] : waiting_) {
                polled.push_back({descriptor, POLLIN, 0});
            }
            poll(polled.data(), polled.size(), -1);
            for (const pollfd& each : polled) {
                if (each.revents != 0) {
                    waiting_.extract(each.fd).mapped().resume();
                }
            }
        }
    }

private:
    std::map<int, std::coroutine_handle<>> waiting_;
};

/// How the request has ended; nothing when the change is about something else.
std::optional<std::string> endOf(const std::string& requestId, const paclient::Change& change) {
    if (const auto* ended = std::get_if<paclient::Deleted<AnnouncementRequest>>(&change)) {
        if (ended->record.getRequestID() == requestId) {
            return ended->record.completionMsg;
        }
    } else if (const auto* refusal = std::get_if<palink::Refusal>(&change)) {
        if (refusal->requestId == requestId) {
            return "refused: " + refusal->reason;
        }
    } else if (const auto* dropped = std::get_if<pa::DroppedOperation>(&change)) {
        if (dropped->requestId == requestId) {
            return "not sent: " + dropped->text;
        }
    }
    return std::nullopt;
}

Task announceTwice(Loop& loop, std::string zone, TTSVocalizer voice) {
    paclient::Subscription changes(paclient::kinds<paclient::Deleted<AnnouncementRequest>,
                                                   palink::Refusal, pa::DroppedOperation>());
    for (const char* text : {"First call", "Last call"}) {
        Message message;
        message.setAudioMessage(text, voice.language, voice.voice, Message::UTF_8);
        const std::string requestId = message.playAnnouncement({zone});
        std::optional<std::string> end;
        while (!end) {
            if (const paclient::ChangePtr change = changes.next()) {
                end = endOf(requestId, *change);
            } else {
                co_await loop.readable(changes.fileDescriptor());
            }
        }
        std::cout << zone << ": " << text << ": " << *end << std::endl;
    }
}

}  // namespace

int main(int argc, char** argv) try {
    BrokerEndpoint endpoint(brokerOf(argc, argv));
    paclient::Connection connection(endpoint);
    connection.open();
    const TTSVocalizer voice = paclient::chooseVoice("en", std::nullopt);
    Loop loop;
    for (const std::string& zone : paclient::chooseZones({argv + 3, argv + argc})) {
        announceTwice(loop, zone, voice);
    }
    loop.run();
} catch (const std::exception& error) {
    std::cerr << "coroutine: " << error.what() << '\n';
    return 1;
}
