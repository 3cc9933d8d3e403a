// SPDX-License-Identifier: Apache-2.0
// What an operation costs, from the call until it is queued, beside the same text that is appended
// to one reserved string and pushed under a mutex.
#include <algorithm>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <stdexcept>
#include <utility>

#include "bench/controller/cases.h"
#include "bench/controller/operationRows.h"
#include "sdk/QXReceiver.h"
#include "sdk/globals.h"

namespace bench {

namespace {

/// Takes what waits in the send queue, and counts the operations of one type: the controller's
/// worker renews locks by itself.
class QueueReader final : public pa::OperationSender {
public:
    bool sendOperation(const pa::Operation& operation) override {
        const std::lock_guard guard(lock_);
        if (operation.type == type_) {
            last_ = operation.payload;
            ++count_;
            changed_.notify_all();
        }
        return true;
    }

    /// Waits until so many operations of the type have come.
    /// @return the payload of the last one
    std::string take(pa::OperationType type, int operations) {
        {
            const std::lock_guard guard(lock_);
            type_ = type;
            count_ = 0;
        }
        gQXReceiver.connect(*this);
        std::unique_lock guard(lock_);
        changed_.wait(guard, [&] { return count_ >= operations; });
        guard.unlock();
        gQXReceiver.pause();
        return last_;
    }

private:
    std::mutex lock_;
    std::condition_variable changed_;
    pa::OperationType type_;
    int count_ = 0;
    std::string last_;
};

class PlainQueue {
public:
    void push(std::string text) {
        const std::lock_guard guard(lock_);
        waiting_.push_back({{-2, {92, 17}, 1, std::move(text)}, 0});
    }
    void clear() { waiting_.clear(); }

private:
    struct Waiting {
        pa::Operation operation;
        std::int64_t since;
    };

    std::mutex lock_;
    std::deque<Waiting> waiting_;
};

constexpr int perRound = 1000;

QueueReader& queueReader() {
    static QueueReader reader;
    return reader;
}

/// Compares two ways to queue operations.
ResultRow queueRow(const RunSettings& settings, const std::string& what, pa::OperationType type,
                   const std::function<void()>& prepare, const std::function<void()>& queue,
                   PlainQueue& plain, const std::function<void()>& queuePlain, double wanted) {
    const int count = settings.size(perRound);
    int queued = 0;
    const auto drain = [&] {
        if (queued > 0) {
            queueReader().take(type, std::exchange(queued, 0));
        }
        plain.clear();
    };
    Contender controller{[&] {
        queue();
        queued = count;
    }};
    Contender reference{queuePlain, {}};
    TurnPlan plan;
    plan.roundsPerTrial = 5;
    plan.itemsPerRound = count;
    plan.prepare = prepare;
    plan.tidy = drain;
    compareInTurns(settings, plan, {&controller, &reference});
    return rowOf(what, controller, reference, wanted);
}

std::vector<ResultRow> encodings(const RunSettings& settings) {
    Requester from = makeRequester();
    const std::size_t count = static_cast<std::size_t>(settings.size(perRound));
    std::vector<ResultRow> rows;
    for (const OperationRow& row : operationRows) {
        const Message message = row.message != nullptr ? from.*row.message : Message();
        Message first = message;
        row.request(from, first);
        const std::string payload = queueReader().take(row.type, 1);
        constexpr std::size_t uuidAt = 3;  // 1,"UUID~
        from.scheduleUUID = payload.substr(std::min(uuidAt, payload.size()), from.uuid.size());
        const auto encode = [&] {
            PlainText text(payload.size());
            row.encode(text, from);
            return text.result();
        };
        if (encode() != payload) {
            throw std::runtime_error(std::string(row.name) + ": >" + payload +
                                     "<, the reference >" + encode() + '<');
        }
        PlainQueue plain;
        std::vector<Message> messages;
        rows.push_back(queueRow(
            settings, std::string(row.name) + ", " + std::to_string(payload.size()) + " B",
            row.type, [&] { messages.assign(count, message); },
            [&] {
                for (Message& each : messages) {
                    row.request(from, each);
                }
            },
            plain,
            [&] {
                for (std::size_t i = 0; i < count; ++i) {
                    plain.push(encode());
                }
            },
            row.wantedRatio));
    }
    return rows;
}

std::vector<ResultRow> linkDown(const RunSettings& settings) {
    makeRequester();
    constexpr pa::OperationType type = pa::operations::playMessage;
    const std::string payload(156, 'x');
    PlainQueue plain;
    const int count = settings.size(perRound);
    return {queueRow(
        settings, "one operation of 156 B queued, link down", type, [] {},
        [&] {
            for (int i = 0; i < count; ++i) {
                gQXReceiver.addOperationToSendQueue(-2, type.classNo, type.number, 1, payload);
            }
        },
        plain,
        [&] {
            for (int i = 0; i < count; ++i) {
                plain.push(payload);
            }
        },
        0)};
}

}  // namespace

BenchCases operationCases() {
    return {{"encode", encodings}, {"queue", linkDown}};
}

}  // namespace bench
