// SPDX-License-Identifier: Apache-2.0
#include "simserver/playback/PlayEngine.h"

#include <iterator>

#include "simserver/protocol/Refused.h"
#include "tests/support/tables.h"

namespace {

using namespace simserver;

/// Plays a script of steps, parted by ";": a time in ms and one of
///     audio ID LEVEL LENGTH ZONE...   LEVEL +50 or -50 is relative; LENGTH in ms, "endless" or
///     visual ID LEVEL LENGTH ZONE...       "broken"; an ID is one letter
///     live ID LEVEL LENGTH ZONE...
///     move ID ZONE...                 a live part
///     end ID
///     cancel ID or NUMBER-OF-TYPE
/// and writes what happens and when: "+" queued, ">" playing, "." finished, "!" pre-empted,
/// "x" cancelled, "?" failed.
class Stage : private PlayHost {
public:
    std::string run(const std::string& script) {
        std::istringstream steps(script);
        for (std::string step; std::getline(steps, step, ';');) {
            std::istringstream words(step);
            SimTime::rep at = 0;
            std::string command, id;
            words >> at >> command >> id;
            pass(SimTime(at));
            if (command == "cancel") {
                const auto* const type = std::isdigit(id[0]) != 0 ? findType(id[0] - '0') : nullptr;
                write(engine_.cancel({id, type}, now_) ? "done" : "none");
            } else if (command == "move") {
                engine_.moveLive(id, zonesIn(words), now_);
            } else if (command == "end") {
                engine_.end(id, "", now_);
            } else {
                play(id, partOf(command), words);
            }
        }
        pass(SimTime::max());
        return happened_.substr(1);
    }

private:
    void pass(SimTime until) {
        for (auto due = engine_.nextDue(); due && *due <= until; due = engine_.nextDue()) {
            now_ = *due;
            engine_.playDue(now_);
        }
        now_ = until;
    }

    static std::vector<std::string> zonesIn(std::istringstream& words) {
        return {std::istream_iterator<std::string>(words), {}};
    }

    static RequestPart partOf(const std::string& command) {
        RequestPart part;
        part.type = findType(command == "live" ? 0 : command == "visual" ? 9 : 2);
        part.content = command == "live" ? Content(LiveContent{}) : Content(TextContent{});
        return part;
    }

    void play(const std::string& id, RequestPart part, std::istringstream& words) {
        std::string level;
        words >> level >> part.origin;
        part.zones = zonesIn(words);
        engine_.play({id, std::isdigit(level[0]) == 0, std::stoi(level), {part}}, now_);
    }

    std::optional<SimTime> lengthOf(const RequestPart& part) override {
        if (part.origin == "endless") {
            return std::nullopt;
        }
        return part.origin == "broken" ? throw Refused("broken") : SimTime(std::stoll(part.origin));
    }

    void partChanged(const PlayPart& part) override {
        write("+>.!x?"[static_cast<int>(part.state)] + part.requestId);
    }

    void write(const std::string& what) {
        const bool same = written_ == now_;
        happened_ += (same ? " " : " " + std::to_string(now_.count()) + ": ") + what;
        written_ = now_;
    }

    PlayEngine engine_{{"A", "A/x", "A/y", "Ab", "B"}, *this};
    SimTime now_{0};
    SimTime written_{-1};
    std::string happened_;
};

TEST(PlayEngine, DecidesWhatPlaysWhereAndWhen) {
    expectTable([](const std::string& script) { return Stage().run(script); });
}

TEST(PlayEngine, PlaysLivePartsWhereverTheyMay) {
    expectTable([](const std::string& script) { return Stage().run(script); });
}

}  // namespace
