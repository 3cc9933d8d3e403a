// What an operation costs, from the call until it is queued, beside the same text that is appended
// to one reserved string and pushed under a mutex.
#include <benchmark/benchmark.h>
#include <charconv>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <stdexcept>
#include <string_view>
#include <utility>

#include "bench/controller/cases.h"
#include "bench/controller/kinds.h"
#include "framework/clock.h"
#include "framework/log.h"
#include "sdk/AudioServer.h"
#include "sdk/QXReceiver.h"
#include "sdk/globals.h"

namespace bench {

namespace {

/// Takes everything that waits in the send queue.
class QueueReader final : public pa::OperationSender {
public:
    bool sendOperation(const pa::Operation& operation) override {
        const std::lock_guard guard(lock_);
        last_ = operation.payload;
        ++count_;
        changed_.notify_all();
        return true;
    }

    /// Waits until so many operations have come.
    /// @return the payload of the last one
    std::string take(int operations) {
        gQXReceiver.connect(*this);
        std::unique_lock guard(lock_);
        changed_.wait(guard, [&] { return count_ >= operations; });
        count_ -= operations;
        guard.unlock();
        gQXReceiver.pause();
        return last_;
    }

private:
    std::mutex lock_;
    std::condition_variable changed_;
    int count_ = 0;
    std::string last_;
};

/// A text that is appended piece by piece to one reserved string, quotes inside of quotes included.
class PlainText {
public:
    explicit PlainText(std::size_t size) { text_.reserve(size); }

    PlainText& number(long long value) {
        char digits[24];
        text_.append(digits, std::to_chars(digits, std::end(digits), value).ptr);
        return *this;
    }
    PlainText& decimal(double value) {
        char digits[32];
        constexpr auto format = std::chars_format::general;
        text_.append(digits, std::to_chars(digits, std::end(digits), value, format, 6).ptr);
        return *this;
    }
    PlainText& plain(std::string_view text) {
        text_ += text;
        return *this;
    }
    /// @param depth in how many quoted texts the place is
    PlainText& quote(int depth) {
        text_.append((std::size_t{1} << depth) - 1, '\\');
        text_ += '"';
        return *this;
    }
    PlainText& quoted(std::string_view text, int depth) {
        quote(depth);
        std::size_t begin = 0;
        for (std::size_t i = 0; i < text.size(); ++i) {
            if (text[i] == '"' || text[i] == '\\') {
                plain(text.substr(begin, i - begin));
                text_.append((std::size_t{2} << depth) - 1, '\\');
                begin = i;
            }
        }
        text.remove_prefix(begin);
        return plain(text).quote(depth);
    }
    /// @param append called for each value
    template <class Values, class Append>
    PlainText& list(const Values& values, char between, Append append) {
        bool isFirst = true;
        for (const auto& value : values) {
            if (!std::exchange(isFirst, false)) {
                text_ += between;
            }
            append(value);
        }
        return *this;
    }
    PlainText& zones(const std::vector<std::string>& ids, int depth) {
        return list(ids, '^', [&](const std::string& id) { quoted(id, depth); });
    }

    [[nodiscard]] std::string result() { return std::move(text_); }

private:
    std::string text_;
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

/// What the operations are requested of.
struct Requester {
    PaSource source;
    PaSink sink;
    std::vector<std::string> zones{"Platform 1/North", "Platform 1/South", "Concourse/Ticket Hall"};
    ScheduleDefinition schedule;
    int trigger = 0;
    std::size_t payloadSize = 0;  // of the operation at hand
};

constexpr char origin[] = "10.20.1.5";
constexpr int freeSource = 1;
constexpr int ownSource = 2;  // this client holds its lock

struct OperationRow {
    const char* name;
    void (*request)(Requester& from, Message& message);
    std::string (*encode)(const Requester& from, const Message& message);  // the reference
    double wantedRatio = 0;
};

const std::string requestId = "3f2b8c1e-5d47-4a90-9c1b-000000000001";
const std::vector<unsigned> items = {12, 40, 7};
constexpr double gain = -3.5;

Message dictionaryMessage() {
    Message message;
    message.setRequestID(requestId);
    message.setAudioMessage(items);
    message.setGain(gain);
    return message;
}

std::string encodedPlay(const Requester& from, const Message& message) {
    PlainText text(from.payloadSize);
    text.quoted(requestId, 0).plain(",0,").number(message.getPriority().level);
    text.plain(",").quote(0).number(message.getAudioMessageType()).plain(",").plain(origin);
    text.plain(",").zones(from.zones, 1).plain(",");
    text.list(items, '^', [&](unsigned item) { text.number(item); });
    text.plain("!").number(message.getRepeatCnt()).plain(",").decimal(gain);
    text.plain(",").number(message.getPreChime()).plain("^").number(message.getPostChime());
    return text.plain("^0").quote(0).result();
}

const OperationRow operationRows[] = {
    {"play dictionary items",
     [](Requester& from, Message& message) { message.playAnnouncement(from.zones); }, encodedPlay,
     1.6},
};

constexpr int perRound = 1000;

/// Puts the controller into a state in which every operation is sent.
Requester makeRequester() {
    pa::setLogSink([](const pa::LogLine&) {});
    pa::TimeSource time;  // nothing becomes too old
    time.monotonicMS = [] { return std::int64_t{0}; };
    pa::setTimeSource(time);
    gDeviceIPAddress = origin;
    auto& audioServer = *new AudioServer(gPaController);  // never destroyed
    pa::store(gAudioServerInstance, &audioServer);
    pa::store(gLocalDstNo, 1);
    pa::store(gMaxServerWaitTimeSeconds, 0);
    return {};
}

/// Compares two ways to queue operations; `queue` has queued so many before.
ResultRow queueRow(const RunSettings& settings, const std::string& what,
                   const std::function<void()>& prepare, const std::function<void()>& queue,
                   PlainQueue& plain, const std::function<void()>& queuePlain, double wanted) {
    static QueueReader reader;
    const int count = settings.size(perRound);
    int queued = 0;
    const auto drain = [&] {
        if (queued > 0) {
            reader.take(std::exchange(queued, 0));
        }
        plain.clear();
    };
    Contender controller{[&] {
                             queue();
                             queued = count;
                         },
                         {}};
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
        const Message prototype = dictionaryMessage();
        Message first = prototype;
        row.request(from, first);
        const std::string payload = QueueReader().take(1);
        from.payloadSize = payload.size();
        if (row.encode(from, prototype) != payload) {
            throw std::runtime_error(std::string("the reference differs: ") + row.name);
        }
        PlainQueue plain;
        std::vector<Message> messages;
        rows.push_back(queueRow(
            settings, std::string(row.name) + ", " + std::to_string(payload.size()) + " B",
            [&] { messages.assign(count, prototype); },
            [&] {
                for (Message& message : messages) {
                    row.request(from, message);
                }
            },
            plain,
            [&] {
                for (const Message& message : messages) {
                    plain.push(row.encode(from, message));
                }
            },
            row.wantedRatio));
    }
    return rows;
}

std::vector<ResultRow> linkDown(const RunSettings& settings) {
    makeRequester();
    const std::string payload(156, 'x');
    PlainQueue plain;
    const int count = settings.size(perRound);
    return {queueRow(
        settings, "one operation of 156 B queued, link down", [] {},
        [&] {
            for (int i = 0; i < count; ++i) {
                gQXReceiver.addOperationToSendQueue(-2, 92, 17, 1, payload);
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
