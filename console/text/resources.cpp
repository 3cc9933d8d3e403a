#include "console/text/resources.h"

#include "console/schedule/scheduleText.h"
#include "sdk/AudioServer.h"
#include "sdk/PAController.h"
#include "sdk/globals.h"

namespace console {

namespace {

std::vector<Trigger> allTriggers() {
    std::vector<Trigger> result;
    for (const PaTrigger& trigger : gPaController.getHwPaTriggers()) {
        result.push_back({trigger, "hardware", "", ""});
    }
    for (const PaSWTrigger& own : gPaController.getSwPaTriggers()) {
        result.push_back({own.trigger, "software", own.preChime, own.displayParameters});
        result.back().associatedSourceId = own.associatedSourceId;
    }
    return result;
}

std::vector<Lock> allLocks() {
    const std::string own = pa::load(gAudioServerInstance)->getUUID();
    std::vector<Lock> result;
    for (const PaSourceLockStatus& lock : gPaController.getPaSourceLocks()) {
        const char* const holder = lock.lockedUUID.empty()  ? "nobody"
                                   : lock.lockedUUID == own ? "this client"
                                                            : "another client";
        result.push_back({lock.sourceId, lock.lockedUUID, holder});
    }
    return result;
}

std::vector<Schedule> allSchedules() {
    std::vector<Schedule> result;
    for (const ScheduleDefinition& definition : gPaController.listSchedules()) {
        result.push_back(described(definition));
    }
    const auto isBefore = [](const Schedule& a, const Schedule& b) { return a.Id < b.Id; };
    std::sort(result.begin(), result.end(), isBefore);
    return result;
}

}  // namespace

const Resource<PaSource> sources{"source",
                                 "sources",
                                 [] { return gPaController.getPaSources(); },
                                 {{"ID", "id"},
                                  {"LABEL", "label"},
                                  {"LOCATION", "location"},
                                  {"TYPE", "type"},
                                  {"STATE", "state"},
                                  {"HEALTH", "healthState"}},
                                 {"id", "label"}};

const Resource<PaSink> sinks{"sink",
                             "sinks",
                             [] { return gPaController.getPaSinks(); },
                             {{"ID", "id"},
                              {"LABEL", "label"},
                              {"LOCATION", "location"},
                              {"TYPE", "type"},
                              {"STATE", "state"},
                              {"GAIN", "outputGain"},
                              {"HEALTH", "healthState"},
                              {"ZONES", "paZoneList"}},
                             {"id", "label"}};

const Resource<PaZone> zones{"zone",
                             "zones",
                             [] { return gPaController.getPaZones(); },
                             {{"ZONE", "id"},
                              {"ACTIVITY", "activityText"},
                              {"ANNOUNCEMENT", "announcementTypeText"},
                              {"HEALTH", "healthText"}},
                             {"id"}};

const Resource<TTSVocalizer> voices{
    "voice",
    "voices",
    [] { return gPaController.getTTSVocalizerList(); },
    {{"PORT", "portNo"}, {"LANGUAGE", "language"}, {"VOICE", "voice"}, {"RATE", "rate"}},
    {"portNo", "voice"}};

const Resource<AnnouncementRequest> announcements{
    "announcement",
    "announcements",
    [] { return gPaController.getAnnouncementRequests(); },
    {{"ID", "id"},
     {"REQUEST", "requestId"},
     {"AUDIO", "audioMessageType"},
     {"VISUAL", "visualMessageType"},
     {"STATE", "stateText"},
     {"PRIORITY", "priorityText"},
     {"START", "startDateTime"},
     {"ZONES", "zones"}},
    {"id", "requestId"}};

const Resource<Trigger> triggers{"trigger",
                                 "triggers",
                                 allTriggers,
                                 {{"KIND", "kind"},
                                  {"ID", "id"},
                                  {"LABEL", "label"},
                                  {"TYPE", "type"},
                                  {"SOURCE", "associatedSourceId"},
                                  {"SELECTOR", "associatedSelectorId"},
                                  {"PRIORITY", "priority"},
                                  {"STATE", "state"}},
                                 {"id", "label"}};

const Resource<PaSelector> selectors{"selector",
                                     "selectors",
                                     [] { return gPaController.getPaSelectors(); },
                                     {{"ID", "id"},
                                      {"LABEL", "label"},
                                      {"TYPE", "type"},
                                      {"NUMBER", "number"},
                                      {"SOURCE", "associatedSourceId"},
                                      {"STATE", "state"}},
                                     {"id", "label"}};

const Resource<Schedule> schedules{"schedule",
                                   "schedules",
                                   allSchedules,
                                   {{"ID", "Id"},
                                    {"DESCRIPTION", "descrption"},
                                    {"PERIOD", "periodText"},
                                    {"DAYS", "daysText"},
                                    {"TIMES", "timesText"},
                                    {"CONTENT", "contentText"},
                                    {"ZONES", "paZones"},
                                    {"NEXT RUN", "nextRun"}},
                                   {"Id"}};

const Resource<TTSDictionary> ttsItems{
    "tts-item",
    "tts-items",
    [] { return gPaController.getTTSDictionaryList(); },
    {{"KEY", "key"}, {"PORT", "portNo"}, {"TEXT", "text"}, {"SIZE", "size"}, {"URI", "uri"}},
    {"key", "uuid"}};

const Resource<Lock> locks{"lock",
                           "locks",
                           allLocks,
                           {{"SOURCE", "sourceId"}, {"HOLDER", "holder"}, {"UUID", "lockedUUID"}},
                           {"sourceId"}};

}  // namespace console
