#pragma once

#include <ostream>
#include <set>
#include <string>
#include <vector>

#include "sdk/PAController.h"
#include "tests/recordingHost/RecordingHost.h"

/// The properties of the records of one kind.
struct RecordCase {
    const char* handler;
    void (*handle)(PAController&, int key, TEVlist*);
    void (*remove)(PAController&, int key);
    std::string (*cache)(PAController&);
    std::string (*lookUp)(const PAController&,
                          int key);  // "nothing" for none; null: there is no look-up
    pa::RecordFields full{};         // a value in every column, s in those that are not read
    std::string cached{};            // `full`, decoded under the key 7
    std::string defaults{};          // decoded from only the first column, a 1, under the key 2
    std::set<std::size_t> copied{};  // columns that an update copies
    std::size_t unlogged = 0;        // one of them that no log line contains
    std::string added{};             // logged of an addition, if anything is
    std::string updated{};           // logged of an update
    std::string notified{};          // the calls of observers after a change
    std::string event{};             // the event after a change
    std::string unchanged{};         // calls and event after a record that changes nothing
    std::string deleted{};           // calls and event after a withdrawal
    bool alwaysLogs = false;         // an update is logged whether or not it changes anything
    bool ignoresMissing = false;     // reports no record that is not there
    bool keepsId = false;            // an entry with another id stays unchanged
    bool pauses = false;             // between the merge and the notification
    bool byArrival = false;          // listed in order of arrival, not of the keys
};

inline std::ostream& operator<<(std::ostream& out, const RecordCase& kind) {
    return out << kind.handler;
}

/// Every kind of record that has a cache of its own.
std::vector<RecordCase> everyKind();

/// The kinds whose records name the server that they belong to, in column 10.
std::vector<RecordCase> ownedKinds();
