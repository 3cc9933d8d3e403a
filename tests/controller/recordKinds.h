// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <map>
#include <ostream>
#include <string>
#include <vector>

#include "tests/support/recordCalls.h"

/// The records of one kind: functions of the controller, and the properties in recordKinds.txt.
struct RecordCase {
    std::string handler;
    HandleRecord handle;
    RemoveRecord remove;
    std::string (*cache)();
    std::string (*lookUp)(int key) = nullptr;  // "nothing" for none; null: there is no look-up
    std::map<std::string, std::string> texts{};

    /// The lines of a property, each with a line end. Empty when it has none.
    std::string lines(const std::string& property) const;

    /// Its only line.
    std::string line(const std::string& property) const;

    bool is(const std::string& property) const;
};

inline std::ostream& operator<<(std::ostream& out, const RecordCase& kind) {
    return out << kind.handler;
}

/// Every kind of record that has a cache of its own.
const std::vector<RecordCase>& everyKind();
