#include "simserver/playback/PlayEngine.h"

#include <iterator>

#include "simserver/protocol/Refused.h"
#include "tests/simserver/tables.h"

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
    expectResults([](const std::string& script) { return Stage().run(script); }, R"~(
# Equal levels queue in order of arrival.
0 audio a 500 100 A; 10 audio b 500 100 A; 20 audio c 500 100 A
    | 0: +a >a 10: +b 20: +c 100: .a >b 200: .b >c 300: .c
# Relative levels count from 500; higher ones overtake waiting ones.
0 audio a 500 100 A; 1 audio b -1 10 A; 2 audio c +1 10 A; 3 audio d 500 10 A
    | 0: +a >a 1: +b 2: +c !a >c 3: +d 12: .c >d 22: .d >b 32: .b
# A part plays on in the zones that it has left; a lost zone does not come back.
0 audio a 500 100 A B; 10 audio b 600 10 B; 40 audio c 700 5 A
    | 0: +a >a 10: +b >b 20: .b 40: +c !a >c 45: .c
# A zone covers its sub-zones, and no zone that only begins like it.
0 audio a 500 100 A; 1 audio b 500 10 A/x; 2 audio c 500 10 Ab
    | 0: +a >a 1: +b 2: +c >c 12: .c 100: .a >b 110: .b
# A waiting part keeps its zones from those after it, not from those ahead.
0 audio a 700 100 A; 1 audio w 600 100 A B; 2 audio b 600 100 B; 3 audio c 650 10 B
    | 0: +a >a 1: +w 2: +b 3: +c >c 13: .c 100: .a >w 200: .w >b 300: .b
# A part plays on until the waiting one can begin everywhere.
0 audio a 700 100 A; 1 audio b 500 1000 B; 2 audio w 600 10 A B
    | 0: +a >a 1: +b >b 2: +w 100: .a !b >w 110: .w
# Audio and visual parts do not contend; visual parts keep their zones in the same way.
0 audio a 500 100 A; 1 visual s 700 99 A; 2 visual w 600 50 A B; 3 visual b 600 50 B
    | 0: +a >a 1: +s >s 2: +w 3: +b 100: .a .s >w 150: .w >b 200: .b
# A display without an end gives way to an equal one; other displays and endless sound do not.
0 visual s 500 endless A; 1 visual t 499 5 A; 2 visual u 500 50 A; 3 visual v 500 5 A
    | 0: +s >s 1: +t 2: +u !s >u 3: +v 52: .u >v 57: .v >t 62: .t
0 audio a 500 endless A; 1 audio b 500 10 A; 999 cancel a
    | 0: +a >a 1: +b 999: xa >b done 1009: .b
# Parts that wait and parts that play are cancelled by its id or its type.
0 audio a 500 99 A; 1 audio b 500 99 A; 2 visual s 500 99 B; 3 cancel b; 4 audio c 500 9 A; 5 cancel 2; 6 cancel 2
    | 0: +a >a 1: +b 2: +s >s 3: xb done 4: +c 5: xa xc done 6: none 101: .s
# A failed part takes no zone and lets the next begin.
0 audio a 400 10 A; 1 audio b 500 broken A; 2 audio w 700 50 B; 3 audio f 600 broken A B; 4 audio c 300 10 A
    | 0: +a >a 1: +b ?b 2: +w >w 3: +f 4: +c 10: .a 52: .w ?f >c 62: .c
# No length is too short or too long.
0 visual s 500 0 A; 0 audio l 500 9223372036854775807 A
    | 0: +s >s .s +l >l 3153600000000: .l
)~");
}

TEST(PlayEngine, PlaysLivePartsWhereverTheyMay) {
    expectResults([](const std::string& script) { return Stage().run(script); }, R"~(
# It begins where it may, takes the rest when it is free, and comes back after it has lost all.
0 audio a 500 100 B; 10 live m 500 endless A B; 150 audio c 400 10 B; 200 audio b 600 50 A B; 300 end m
    | 0: +a >a 10: +m >m 100: .a 150: +c 200: +b +m >b 250: .b >m 300: .m >c 310: .c
# A zone that it has lost is its own again, after higher parts and before equal ones that came later.
0 live m 500 endless A B; 10 audio b 600 50 B; 20 audio c 500 10 B; 30 audio d 550 10 B; 200 end m
    | 0: +m >m 10: +b >b 20: +c 30: +d 60: .b >d 70: .d 200: .m >c 210: .c
# It moves: what it leaves is free, what it takes is lost to lower parts.
0 live m 500 endless A; 10 audio b 400 20 B; 20 move m B; 30 audio c 400 5 A; 40 end m
    | 0: +m >m 10: +b >b 20: +m !b >m 30: +c >c 35: .c 40: .m
0 live m 500 endless A; 5 move m A B; 5 move m A B; 6 audio c 400 9 B; 7 move m A; 20 end m
    | 0: +m >m 5: >m 6: +c 7: >m >c 16: .c 20: .m
# It is cancelled like any other.
0 live m 500 endless A; 1 cancel 0; 2 audio c 400 5 A | 0: +m >m 1: xm done 2: +c >c 7: .c
)~");
}

}  // namespace
