#pragma once

#include <ostream>
#include <set>
#include <string>
#include <vector>

#include "sdk/PAController.h"
#include "tests/recordingHost/RecordingHost.h"

/// What is particular to the records of one kind.
struct Kind {
    const char* handler;
    void (*handle)(PAController&, int key, TEVlist*);
    void (*remove)(PAController&, int key);
    std::string (*cache)(PAController&);
    std::string (*lookUp)(const PAController&,
                          int key);  // "nothing" for none; null: there is no look-up
    pa::RecordFields full{};         // a value in every column, s where nothing is read
    std::string cached{};            // `full`, decoded under the key 7
    std::string defaults{};          // decoded from the first column alone, a 1, under the key 2
    std::set<std::size_t> copied{};  // columns that an update copies
    std::size_t silent = 0;          // one of them that no line shows
    std::string added{};             // logged of an addition, if anything is
    std::string updated{};           // logged of an update
    std::string told{};              // of a change: to the observers
    std::string event{};             // of a change: to the event queue
    std::string unchanged{};         // told of a record that changes nothing
    std::string deleted{};           // told of a withdrawal
    bool alwaysLogs = false;         // an update is logged whether or not it changes anything
    bool ignoresMissing = false;     // reports no record that is not there
    bool keepsId = false;            // an entry with another id stays as it is
    bool pauses = false;             // between the merge and the notification
    bool byArrival = false;          // listed in order of arrival, not of the keys
};

inline std::ostream& operator<<(std::ostream& out, const Kind& kind) {
    return out << kind.handler;
}

/// Every kind of record that has a cache of its own.
std::vector<Kind> everyKind();

/// The kinds whose records name the server that they belong to, in column 10.
std::vector<Kind> ownedKinds();
