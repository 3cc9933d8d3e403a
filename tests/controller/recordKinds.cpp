// SPDX-License-Identifier: Apache-2.0
#include "tests/controller/recordKinds.h"

#include <algorithm>
#include <fstream>
#include <stdexcept>

#include "client/recordText.h"

namespace {

using C = PAController;

template <class Record, std::vector<Record> (C::*Getter)() const>
std::string list() {
    return paclient::linesOf((gPaController.*Getter)());
}
template <class Record, std::optional<Record> (C::*Find)(int) const>
std::string one(int key) {
    const std::optional<Record> found = (gPaController.*Find)(key);
    return found ? paclient::lineOf(*found) : "nothing";
}

std::vector<RecordCase> read() {
    std::vector<RecordCase> kinds = {
        {"addUpdatePaSource", byKey<&C::addUpdatePaSource>, withdrawKind<2>,
         list<PaSource, &C::getPaSources>, one<PaSource, &C::findPaSource>},
        {"addUpdatePaSink", byKey<&C::addUpdatePaSink>, withdrawKind<3>,
         list<PaSink, &C::getPaSinks>, one<PaSink, &C::findPaSink>},
        {"addUpdatePaTrigger", byKey<&C::addUpdatePaTrigger>, withdrawKind<4>,
         list<PaTrigger, &C::getHwPaTriggers>, one<PaTrigger, &C::findHwPaTrigger>},
        {"addUpdatePaSelector", byKey<&C::addUpdatePaSelector>, withdrawKind<5>,
         list<PaSelector, &C::getPaSelectors>, one<PaSelector, &C::findPaSelector>},
        {"addUpdatePaZone", ofServer, withdrawKind<20>, list<PaZone, &C::getPaZones>,
         one<PaZone, &C::findPaZone>},
        {"updateFromTTS_Ports", byKey<&C::updateFromTTS_Ports>,
         removeByKey<&C::deleteFromTTS_Ports>, list<TTSVocalizer, &C::getTTSVocalizerList>},
        {"updateFromTTS_Dictionary", byKey<&C::updateFromTTS_Dictionary>,
         removeByKey<&C::deleteFromTTS_Dictionary>, list<TTSDictionary, &C::getTTSDictionaryList>},
        {"addUpdateAnnouncementRequest", byKey<&C::addUpdateAnnouncementRequest>, withdrawKind<11>,
         list<AnnouncementRequest, &C::getAnnouncementRequests>,
         one<AnnouncementRequest, &C::findAnnouncementRequest>},
        {"updateScheduleList", byKey<&C::updateScheduleList>, withdrawKind<18>,
         list<ScheduleDefinition, &C::listSchedules>, one<ScheduleDefinition, &C::findSchedule>}};
    std::ifstream file(PA_RECORD_KINDS);
    auto kind = kinds.begin();
    for (std::string property, text; file >> property && std::getline(file >> std::ws, text);) {
        if (property == "kind") {
            kind = std::find_if(kinds.begin(), kinds.end(),
                                [&](const RecordCase& k) { return k.handler == text; });
        } else if (property != "#") {
            kind->texts[property] += text + "\n";
        }
    }
    return kinds;
}

}  // namespace

std::string RecordCase::lines(const std::string& property) const {
    const auto found = texts.find(property);
    return found == texts.end() ? "" : found->second;
}

std::string RecordCase::line(const std::string& property) const {
    const std::string text = lines(property);
    return text.substr(0, text.find('\n'));
}

bool RecordCase::is(const std::string& property) const {
    return lines("is").find(property) != std::string::npos;
}

const std::vector<RecordCase>& everyKind() {
    static const std::vector<RecordCase> kinds = read();
    return kinds;
}
