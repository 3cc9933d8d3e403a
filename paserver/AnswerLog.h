// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <map>
#include <string>
#include <utility>

#include "paserver/ClientRequest.h"

namespace paserver {

/// The answers of the last 60 s, so that a request which is sent again is carried out once.
/// Passive: time, in ms, is an argument that never decreases.
class AnswerLog {
public:
    static constexpr std::int64_t lifeMS = 60'000;
    static constexpr std::size_t maxBytes = std::size_t{64} << 20U;

    /// Forgets what is older.
    void expire(std::int64_t nowMS) {
        while (!order_.empty() && order_.front().second + lifeMS <= nowMS) {
            const auto oldest = answers_.find(order_.front().first);
            bytes_ -= bytesOf(oldest->second);
            if (const auto client = clients_.find(oldest->first.first); --client->second == 0) {
                clients_.erase(client);
            }
            answers_.erase(oldest);
            order_.pop_front();
        }
    }

    /// @return the payload of the answer to this request; null when it is new
    const std::string* find(const ClientRequest& request, std::int64_t nowMS) {
        expire(nowMS);
        const auto found = answers_.find(keyOf(request));
        return found == answers_.end() ? nullptr : &found->second;
    }

    /// Whether it cannot keep another answer: forgetting an earlier one could have its operation
    /// carried out twice.
    [[nodiscard]] bool isFull() const { return bytes_ >= maxBytes; }

    void put(const ClientRequest& request, const std::string& answer, std::int64_t nowMS) {
        const auto [place, isNew] = answers_.try_emplace(keyOf(request), answer);
        if (isNew) {
            order_.emplace_back(place->first, nowMS);
            bytes_ += bytesOf(place->second);
            ++clients_[request.responseTopic];
        }
    }

    /// How many clients have got them.
    [[nodiscard]] std::size_t clients() const { return clients_.size(); }

private:
    using Key = std::pair<std::string, std::string>;  // topic of the answers, correlation data

    static std::size_t bytesOf(const std::string& answer) {
        constexpr std::size_t perAnswer = 640;  // with the key, twice
        return perAnswer + answer.size();
    }

    static Key keyOf(const ClientRequest& request) {
        return {request.responseTopic, request.correlation};
    }

    std::map<Key, std::string> answers_;
    std::deque<std::pair<Key, std::int64_t>> order_;  // with the time of the answer
    std::map<std::string, std::size_t> clients_;      // how many each has got, by topic
    std::size_t bytes_ = 0;
};

}  // namespace paserver
