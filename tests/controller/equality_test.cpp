// Two records are equal when all their members are: the members are changed one at a time. The
// bindings name every member of a record, so a new one does not compile until it is added here.
#include <functional>

#include "resource/common/paInfo.h"
#include "sdk/AnnouncementRequest.h"
#include "sdk/KeyValueMap.h"
#include "sdk/ScheduleDefinition.h"
#include "sdk/TTSDictionary.h"
#include "tests/controller/fixtures.h"

namespace {

template <class Value>
void change(Value& value) {
    if constexpr (std::is_same_v<Value, bool>) {
        value = !value;
    } else {
        value = static_cast<Value>(value + 1);
    }
}
void change(std::string& value) {
    value += 'x';
}
void change(Gain& value) {
    value.setLevel(value.getLevel() + 0.5);
}
void change(PaTrigger& value) {
    ++value.id;
}
template <class Value>
void change(std::vector<Value>& value) {
    value.emplace_back();
}
template <class Key, class Value>
void change(std::map<Key, Value>& value) {
    value[Key()];
}

template <class Record>
bool differ(const Record& a, const Record& b) {
    EXPECT_NE(a == b, a != b);
    return a != b;
}

/// @param membersOf gives references to all members of a record
template <class Record, class MembersOf>
void expectEveryMemberCounts(const char* name, MembersOf membersOf) {
    const Record plain;
    Record changed;
    int number = 0;
    const auto expectItCounts = [&](auto& member) {
        const auto before = member;
        change(member);
        EXPECT_TRUE(differ(plain, changed)) << name << ", member " << number;
        member = before;
        EXPECT_FALSE(differ(plain, changed)) << name << ", member " << number;
        ++number;
    };
    std::apply([&](auto&... members) { (expectItCounts(members), ...); }, membersOf(changed));
}

struct EqualityTest : ProcessController {};

TEST_F(EqualityTest, ComparesEveryMemberOfAResource) {
    expectEveryMemberCounts<PaSource>("source", [](PaSource& r) {
        auto& [a, b, c, d, e, f, g, h, i, j, k, l, m] = r;
        return std::tie(a, b, c, d, e, f, g, h, i, j, k, l, m);
    });
    expectEveryMemberCounts<PaSourceLockStatus>("lock", [](PaSourceLockStatus& r) {
        auto& [a, b] = r;
        return std::tie(a, b);
    });
    expectEveryMemberCounts<PaSink>("sink", [](PaSink& r) {
        auto& [a, b, c, d, e, f, g, h, i, j, k, l, m, n, o, p, q, s, t, u, v, w, x, y, z] = r;
        return std::tie(a, b, c, d, e, f, g, h, i, j, k, l, m, n, o, p, q, s, t, u, v, w, x, y, z);
    });
    expectEveryMemberCounts<PaZone>("zone", [](PaZone& r) {
        auto& [a, b, c, d, e, f, g, h] = r;
        return std::tie(a, b, c, d, e, f, g, h);
    });
    expectEveryMemberCounts<PaTrigger>("trigger", [](PaTrigger& r) {
        auto& [a, b, c, d, e, f, g, h, i, j] = r;
        return std::tie(a, b, c, d, e, f, g, h, i, j);
    });
    expectEveryMemberCounts<PaSWTrigger>("software trigger", [](PaSWTrigger& r) {
        auto& [a, b, c, d] = r;
        return std::tie(a, b, c, d);
    });
    expectEveryMemberCounts<PaSelector>("selector", [](PaSelector& r) {
        auto& [a, b, c, d, e, f, g, h, i, j] = r;
        return std::tie(a, b, c, d, e, f, g, h, i, j);
    });
}

TEST_F(EqualityTest, ComparesEveryMemberOfWhatIsSaid) {
    expectEveryMemberCounts<MessagePriority>("priority", [](MessagePriority& r) {
        auto& [a, b] = r;
        return std::tie(a, b);
    });
    expectEveryMemberCounts<DISPLAY_VALUE_INFO>("display value", [](DISPLAY_VALUE_INFO& r) {
        auto& [a, b] = r;
        return std::tie(a, b);
    });
    expectEveryMemberCounts<TTSVocalizer>("vocalizer", [](TTSVocalizer& r) {
        auto& [a, b, c, d, e, f] = r;
        return std::tie(a, b, c, d, e, f);
    });
    expectEveryMemberCounts<TTSDictionary>("dictionary item", [](TTSDictionary& r) {
        auto& [a, b, c, d, e, f, g, h] = r;
        return std::tie(a, b, c, d, e, f, g, h);
    });
    expectEveryMemberCounts<TTSPendingInfo>("preview", [](TTSPendingInfo& r) {
        auto& [a, b, c, d, e, f] = r;
        return std::tie(a, b, c, d, e, f);
    });
    expectEveryMemberCounts<ScheduleDefinition>("schedule", [](ScheduleDefinition& r) {
        auto& [a, b, c, d, e, f, g, h, i, j, k, l, m, n, o, p, q, s, t, u, v, w, x, y, z, a2, b2,
               c2, d2] = r;
        return std::tie(a, b, c, d, e, f, g, h, i, j, k, l, m, n, o, p, q, s, t, u, v, w, x, y, z,
                        a2, b2, c2, d2);
    });
    // Not an aggregate of one class: its own members, and one of the message.
    expectEveryMemberCounts<AnnouncementRequest>("announcement", [](AnnouncementRequest& r) {
        return std::tie(r.id, r.stateText, r.startDateTime, r.messageContent, r.priorityText,
                        r.zones, r.completionCode, r.completionMsg);
    });
    AnnouncementRequest named;
    named.setRequestID("request");
    EXPECT_TRUE(differ(named, AnnouncementRequest()));
}

TEST_F(EqualityTest, ComparesEveryPartOfAMessage) {
    // The members of a message are private: the effect of each setter.
    const std::vector<std::function<void(Message&)>> setters = {
        [](Message&) {},
        [](Message& m) { m.setRequestID("request"); },
        [](Message& m) {
            m.setPriority({APM_RELATIVE_PRIORITY, 500});
        },
        [](Message& m) { m.setPreChime(1); },
        [](Message& m) { m.setPostChime(1); },
        [](Message& m) { m.setGain(0.0); },  // that it is set
        [](Message& m) { m.setGain(-1.0); },
        [](Message& m) { m.setAudioMessageType(Message::TTS); },
        [](Message& m) { m.setVisualMessageType(Message::DISPLAY); },
        [](Message& m) { m.setRepeatCnt(2); },
        [](Message& m) { m.setAudioMessage({12}); },
        [](Message& m) {
            m.setAudioMessage({12, 40});
        },
        [](Message& m) { m.setAudioMessage("/s/a.wav"); },
        [](Message& m) { m.setAudioMessage("/s/b.wav"); },
        [](Message& m) { m.setAudioMessage("/d/a.wav", Message::L16_48K); },
        [](Message& m) { m.setAudioMessage("/e/a.wav", Message::L16_48K); },  // to upload
        [](Message& m) { m.setAudioMessage("Good day", "en", "anna", Message::UTF_8); },
        [](Message& m) { m.setVisualMessage("Platform 3"); },
        [](Message& m) { m.setVisualMessage("Platform 4"); },
        [](Message& m) { m.setVisualMessage({4}); },
        [](Message& m) { m.setVisualMessage({5}); },
        [](Message& m) { m.setVisualMessage("Main", {}, 30); },
        [](Message& m) { m.setVisualMessage("Main", {}, 31); },
        [](Message& m) { m.setVisualMessage("Side", {}, 30); },
    };
    for (std::size_t i = 0; i < setters.size(); ++i) {
        for (std::size_t j = 0; j < setters.size(); ++j) {
            Message a;
            Message b;
            setters[i](a);
            setters[j](b);
            EXPECT_EQ(differ(a, b), i != j) << i << ' ' << j;
        }
    }
    Message played;
    played.setRequestID("request");
    played.setAudioMessage({12});
    Message fresh = played;
    EXPECT_FALSE(differ(played, fresh));
    played.playAnnouncement({"Hall"});
    EXPECT_TRUE(differ(played, fresh));
}

TEST_F(EqualityTest, ComparesTexts) {
    KeyValueMap a;
    KeyValueMap b;
    a.set("name", "Harbour");
    EXPECT_TRUE(differ(a, b));
    b.set("name", "Harbour");
    EXPECT_FALSE(differ(a, b));
    EXPECT_TRUE(differ(Gain(-1), Gain(-2)));
}

}  // namespace
