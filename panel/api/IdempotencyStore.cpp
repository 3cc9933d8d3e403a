// SPDX-License-Identifier: Apache-2.0
#include "panel/api/IdempotencyStore.h"

#include <algorithm>
#include <exception>
#include <optional>

#include "framework/clock.h"
#include "panel/http/ApiError.h"

namespace papanel {

namespace {

constexpr std::size_t longestKey = 64;
constexpr int nothingIsDone = 503;

/// What makes a request another one.
std::size_t fingerprintOf(const ApiRequest& request) {
    std::string text = request.method + ' ' + request.path;
    for (const auto& [name, value] : request.query) {
        text.append("\n").append(name).append("=").append(value);
    }
    text += '\n' + paclient::jsonLine(request.body);
    text += std::to_string(std::hash<std::string>()(request.bytes));
    return std::hash<std::string>()(text);
}

std::string keyOf(const ApiRequest& request) {
    std::string key = request.header("idempotency-key");
    const bool isVisible =
        std::all_of(key.begin(), key.end(), [](char c) { return c > ' ' && c <= '~'; });
    if (key.empty() || key.size() > longestKey || !isVisible) {
        throw ApiError(400, "bad-request",
                       "the header Idempotency-Key must have 1 to 64 visible ASCII characters");
    }
    return key;
}

}  // namespace

struct IdempotencyStore::Entry {
    std::size_t fingerprint = 0;
    bool isRunning = true;
    std::int64_t finishedMS = 0;
    std::size_t bytes = 0;
    std::optional<ApiReply> reply;  // this
    std::exception_ptr error;       // or this, once it does not run
};

ApiReply IdempotencyStore::answer(const ApiRequest& request, const std::function<ApiReply()>& run) {
    const Key key{request.caller.user, keyOf(request)};
    const std::size_t fingerprint = fingerprintOf(request);
    std::shared_ptr<Entry> entry;
    {
        std::unique_lock guard(lock_);
        forgetOld(pa::monotonicMS());
        for (auto found = entries_.find(key); found != entries_.end(); found = entries_.find(key)) {
            entry = found->second;
            if (entry->fingerprint != fingerprint) {
                throw ApiError(409, "conflict", "the key was used for another request");
            }
            if (!entry->isRunning) {
                if (entry->error) {
                    std::rethrow_exception(entry->error);
                }
                return *entry->reply;
            }
            finished_.wait(guard, [&] { return !entry->isRunning; });
        }
        entry = entries_[key] = std::make_shared<Entry>();
        entry->fingerprint = fingerprint;
    }
    bool isKept = true;
    try {
        entry->reply = run();
    } catch (const ApiError& error) {
        entry->error = std::current_exception();
        isKept = error.status != nothingIsDone;
    } catch (...) {
        entry->error = std::current_exception();
        isKept = false;
    }
    const std::lock_guard guard(lock_);
    entry->isRunning = false;
    isKept ? keep(key, *entry) : (void)entries_.erase(key);
    finished_.notify_all();
    if (entry->error) {
        std::rethrow_exception(entry->error);
    }
    return *entry->reply;
}

void IdempotencyStore::keep(const Key& key, Entry& entry) {
    constexpr std::size_t ofAnEntry = 1'000;
    entry.finishedMS = pa::monotonicMS();
    entry.bytes = ofAnEntry + (entry.reply ? paclient::jsonLine(entry.reply->body).size() : 0);
    bytes_ += entry.bytes;
    order_.push_back(key);
    forgetOld(entry.finishedMS);
}

/// The oldest first, as long as there are too many, or they are too old.
void IdempotencyStore::forgetOld(std::int64_t now) {
    constexpr std::int64_t lifetimeMS = std::chrono::milliseconds(lifetime).count();
    while (!order_.empty()) {
        const auto oldest = entries_.find(order_.front());
        const bool isTooOld = now - oldest->second->finishedMS > lifetimeMS;
        if (!isTooOld && bytes_ <= maxBytes_ && order_.size() <= maxAnswers) {
            return;
        }
        bytes_ -= oldest->second->bytes;
        entries_.erase(oldest);
        order_.pop_front();
    }
}

}  // namespace papanel
