#include "console/resources.h"

#include "sdk/PAController.h"

namespace console {

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

}  // namespace console
