#include "simserver/PlayEngine.h"

#include <gtest/gtest.h>
#include <sstream>

#include "simserver/Refused.h"

namespace {

using namespace simserver;

/// Plays a script of steps, each ended by ";": a time in ms and one of
///     play ID LEVEL ZONE[+ZONE] LENGTH [shown]   LEVEL +50 or -50 is relative; LENGTH in ms,
///                                                "endless" or "broken"
///     cancel ID or cancelType NUMBER
///     show                                       which part is heard in each zone
/// and writes down what happens and when: "+" queued, ">" playing, "." finished, "!" pre-empted,
/// "x" cancelled, "?" failed.
class Stage : private PlayHost {
public:
    std::string run(const std::string& script) {
        std::istringstream steps(script);
        for (std::string step; std::getline(steps, step, ';');) {
            std::istringstream words(step);
            long long at = 0;
            std::string command;
            words >> at >> command;
            pass(SimTime(at));
            obey(command, words);
        }
        pass(SimTime::max());
        return happened_;
    }

private:
    void pass(SimTime until) {
        for (auto due = engine_.nextDue(); due && *due <= until; due = engine_.nextDue()) {
            now_ = *due;
            engine_.playDue(now_);
        }
        now_ = until;
    }

    void obey(const std::string& command, std::istringstream& words) {
        CancelRequest cancelled;
        if (command == "play") {
            play(words);
        } else if (command == "show") {
            for (const char* const zone : {"A", "A/x", "A/y", "Ab", "B"}) {
                const PlayPart* const part = engine_.playingIn(zone, Medium::Audio);
                write(std::string(zone) + "=" + (part != nullptr ? part->requestId : ""));
            }
        } else {
            words >> cancelled.id;
            cancelled.type = command == "cancelType" ? findType(std::stoi(cancelled.id)) : nullptr;
            write(engine_.cancel(cancelled, now_) ? "done" : "none");
        }
    }

    void play(std::istringstream& words) {
        PlayRequest request;
        std::string level, zones, shown;
        RequestPart part;
        words >> request.id >> level >> zones >> part.origin >> shown;
        request.relative = level[0] == '+' || level[0] == '-';
        request.level = std::stoi(level);
        part.type = findType(shown.empty() ? 2 : 9);
        std::istringstream zoneWords(zones);
        for (std::string zone; std::getline(zoneWords, zone, '+');) {
            part.zones.push_back(zone);
        }
        request.parts = {part};
        engine_.play(request, now_);
    }

    std::optional<SimTime> lengthOf(const RequestPart& part) override {
        if (part.origin == "broken") {
            throw Refused("broken");
        }
        const bool endless = part.origin == "endless";
        return endless ? std::nullopt : std::optional(SimTime(std::stoll(part.origin)));
    }

    void partChanged(const PlayPart& part) override {
        write("+>.!x?"[static_cast<int>(part.state)] + part.requestId);
    }

    void write(const std::string& what) {
        const std::string time = std::to_string(now_.count()) + ":";
        happened_ += (happened_.empty() ? "" : " ") + (written_ == now_ ? "" : time + " ") + what;
        written_ = now_;
    }

    PlayEngine engine_{{"A", "A/x", "A/y", "Ab", "B"}, *this};
    SimTime now_{0};
    SimTime written_{-1};
    std::string happened_;
};

TEST(PlayEngine, DecidesWhoPlaysWhereAndWhen) {
    struct {
        const char* rule;
        const char* script;
        const char* happens;
    } const cases[] = {
        {"equal levels queue in order of arrival",
         "0 play a 500 A 100; 10 play b 500 A 100; 20 play c 500 A 100",
         "0: +a >a 10: +b 20: +c 100: .a >b 200: .b >c 300: .c"},
        {"a higher level pre-empts, and what it ended does not come back",
         "0 play a 500 A+B 100; 10 play b 501 A+B 10", "0: +a >a 10: +b !a >b 20: .b"},
        {"higher ones overtake those that wait",
         "0 play a 500 A 100; 1 play b 300 A 10; 2 play c 400 A 10",
         "0: +a >a 1: +b 2: +c 100: .a >c 110: .c >b 120: .b"},
        {"relative levels count from 500",
         "0 play a 500 A 100; 1 play b -1 A 10; 2 play c +1 A 10; 3 play d 501 A 10",
         "0: +a >a 1: +b 2: +c !a >c 3: +d 12: .c >d 22: .d >b 32: .b"},
        {"a part goes on in the zones that it has left",
         "0 play a 500 A+B 100; 10 play b 600 B 10; 11 show; 30 show; 40 play c 700 A 5",
         "0: +a >a 10: +b >b 11: A=a A/x=a A/y=a Ab= B=b 20: .b 30: A=a A/x=a A/y=a Ab= B= "
         "40: +c !a >c 45: .c"},
        {"a zone covers its sub-zones, and no zone that only begins like it",
         "0 play a 500 A 100; 1 play b 500 A/x 10; 2 play c 500 Ab 10; 3 show",
         "0: +a >a 1: +b 2: +c >c 3: A=a A/x=a A/y=a Ab=c B= 12: .c 100: .a >b 110: .b"},
        {"a sub-zone is taken from the whole", "0 play a 500 A 100; 1 play b 600 A/x 10; 2 show",
         "0: +a >a 1: +b >b 2: A=a A/x=b A/y=a Ab= B= 11: .b 100: .a"},
        {"who waits keeps its zones from those behind it, not from those ahead",
         "0 play a 700 A 100; 1 play w 600 A+B 100; 2 play b 600 B 100; 3 play c 650 B 10",
         "0: +a >a 1: +w 2: +b 3: +c >c 13: .c 100: .a >w 200: .w >b 300: .b"},
        {"what plays goes on until who waits can begin everywhere",
         "0 play a 700 A 100; 1 play b 500 B 1000; 2 play w 600 A+B 10",
         "0: +a >a 1: +b >b 2: +w 100: .a !b >w 110: .w"},
        {"what is heard and what is shown do not contend",
         "0 play a 500 A 100; 1 play s 400 A 100 shown", "0: +a >a 1: +s >s 100: .a 101: .s"},
        {"what is shown keeps its zones in the same way",
         "0 play a 700 A 99 shown; 1 play w 600 A+B 50 shown; 2 play b 600 B 50 shown",
         "0: +a >a 1: +w 2: +b 99: .a >w 149: .w >b 199: .b"},
        {"a display without an end gives way to an equal one, another does not",
         "0 play s 500 A endless shown; 1 play t 499 A 5 shown; 2 play u 500 A 50 shown;"
         "3 play v 500 A 5 shown",
         "0: +s >s 1: +t 2: +u !s >u 3: +v 52: .u >v 57: .v >t 62: .t"},
        {"endless sound gives way to higher ones alone",
         "0 play a 500 A endless; 1 play b 500 A 10; 999 cancel a",
         "0: +a >a 1: +b 999: xa >b done 1009: .b"},
        {"cancels what waits and what plays, by id and by type",
         "0 play a 500 A 99; 1 play b 500 A 99; 2 play s 500 B 99 shown; 3 cancel b; 4 cancelType "
         "2;"
         "5 cancelType 2; 6 cancel b; 7 cancelType 9",
         "0: +a >a 1: +b 2: +s >s 3: xb done 4: xa done 5: none 6: none 7: xs done"},
        {"a failure takes nothing from anybody and lets the next begin",
         "0 play a 400 A 10; 1 play b 500 A broken; 2 play w 700 B 50; 3 play f 600 A+B broken;"
         "4 play c 300 A 10",
         "0: +a >a 1: +b ?b 2: +w >w 3: +f 4: +c 10: .a 52: .w ?f >c 62: .c"},
        {"no length is too short or too long",
         "0 play s 500 A 0 shown; 0 play l 500 A 9223372036854775807",
         "0: +s >s .s +l >l 3153600000000: .l"},
    };
    for (const auto& [rule, script, happens] : cases) {
        EXPECT_EQ(Stage().run(script), happens) << rule;
    }
}

}  // namespace
