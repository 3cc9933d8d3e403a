// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <algorithm>
#include <string>
#include <vector>

#include "client/recordText.h"
#include "sdk/PAController.h"

/// The lines of a list in sorted order: what arrives after a withdrawal that waits takes its place
/// in the order of arrival when it is handled.
template <class Record>
std::string sortedLines(const std::vector<Record>& records) {
    std::vector<std::string> lines;
    for (const Record& record : records) {
        lines.push_back(paclient::lineOf(record) + '\n');
    }
    std::sort(lines.begin(), lines.end());
    std::string text;
    for (const std::string& line : lines) {
        text += line;
    }
    return text;
}

/// Everything that records fill, one cache after the other. Of attached zones those of the sources
/// with the keys 1 to `keys`.
inline std::vector<std::string> cachesOf(const PAController& c, int keys) {
    std::string attached;
    for (int key = 1; key <= keys; ++key) {
        std::vector<std::string> zones;
        c.getAttachedPaZoneList(key, &zones);
        attached +=
            zones.empty() ? "" : std::to_string(key) + ' ' + paclient::lineText(zones) + '\n';
    }
    return {attached,
            sortedLines(c.getPaSources()),
            sortedLines(c.getPaSourceLocks()),
            sortedLines(c.getPaSinks()),
            sortedLines(c.getHwPaTriggers()),
            sortedLines(c.getPaSelectors()),
            sortedLines(c.getPaZones()),
            sortedLines(c.getAnnouncementRequests()),
            sortedLines(c.listSchedules()),
            sortedLines(c.getTTSVocalizerList()),
            sortedLines(c.getTTSDictionaryList())};
}
