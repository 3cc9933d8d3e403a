// SPDX-License-Identifier: Apache-2.0
#include "console/demo/demoSteps.h"

#include "client/resources.h"
#include "client/schedules.h"

namespace console {

namespace {

DemoStep announcement(const char* name, const char* kind, const char* expected,
                      const std::vector<std::string>& lines) {
    return {"Announcements", name, kind, expected, lines};
}

DemoStep operating(const char* name, const char* kind, const char* expected,
                   const std::vector<std::string>& lines) {
    return {"Operating", name, kind, expected, lines};
}

}  // namespace

const std::vector<DemoStep> demoSteps = {
    announcement(
        "reminder", "dictionary, repeated, low priority", "pre-empted",
        {"play --zones={zone0} --items 11,24 --repeat 1000000 --pre-chime 1 --priority 200",
         "wait 3"}),
    announcement("boarding call", "dictionary", "finished",
                 {"play --zones={zone1} --zones={zone2} --items 14,20,21 --repeat 2 --pre-chime 1",
                  "wait 3"}),
    announcement("welcome", "spoken text", "finished",
                 {"play --zones={zone3} --text 'Welcome to the station. Please keep your "
                  "belongings with you at all times, and look out for each other. Trains to the "
                  "airport leave every ten minutes.'",
                  "wait 3"}),
    announcement(
        "recording", "uploaded WAV file", "finished",
        {"preview 'This train ends here. Please take all your belongings with you, and leave the "
         "train by the doors on the right.' --language={language} --voice={voice} --out "
         "{recording}",
         "play --zones={zone4} --zones={zone5} --file {recording}", "wait 3"}),
    announcement(
        "notice", "display text", "cancelled",
        {"play --zones={zone1} --zones={zone2} --zones={zone3} --display Notice --validity 1000000 "
         "--var 'HEADLINE=Platform alteration' --var 'TEXT=Please use the subway'",
         "wait 3", "cancel {request}"}),
    announcement(
        "urgent call", "spoken text, high priority", "finished",
        {"play --zones={zone0} --priority 900 --text 'Attention please. Please clear this area at "
         "once and follow the staff.'",
         "wait for ends"}),
    operating("take a source", "source lock", "is locked by this client",
              {"source attach {source}"}),
    operating("attach zones", "live from the source", "plays there",
              {"zone attach {zone0} {zoneHeld} --source {source}", "wait for zones of {source}"}),
    operating("trigger", "software trigger", "is deleted",
              {"zone attach {zoneLast} --source {other}",
               "trigger create --source {other} --priority 50 --pre-chime 1",
               "trigger activate {trigger}", "wait 2", "trigger deactivate {trigger}",
               "zone detach --all --source {other}", "trigger delete {trigger}"}),
    operating("preview", "spoken text", "WAV, 48000 Hz",
              {"preview 'This is a preview. Only the operator hears it.' --language={language} "
               "--voice={voice} --out {preview}"}),
    operating("hold the source", "keep-alive", "renewed twice", {"wait for renewals of {source}"}),
    operating("release it", "source lock", "is locked by no client",
              {"zone detach --all --source {source}", "source detach {source}"}),
    {"Schedule",
     "schedule",
     "spoken text, every minute",
     "is removed",
     {"wait for run", "schedule remove {schedule}"}},
};

const std::string demoBeginning =
    "schedule add --id {schedule} --description demo --zones={zoneScheduled} --every 1 "
    "--priority 100 --text 'This announcement comes every minute by itself.'";

const std::vector<std::string> demoCleanUp = {"trigger deactivate {trigger}",
                                              "trigger delete {trigger}",
                                              "zone detach --all --source {other}",
                                              "zone detach --all --source {source}",
                                              "source detach {source}",
                                              "schedule remove {schedule}"};

std::map<std::string, std::string> demoValues(const std::vector<std::string>& zoneIds,
                                              const std::filesystem::path& folder) {
    const std::size_t count = zoneIds.size();
    std::map<std::string, std::string> values = {
        {"zone0", zoneIds[0]},
        {"zoneHeld", zoneIds[count > 2 ? 1 : 0]},
        {"zoneLast", zoneIds[count - 1]},
        {"zoneScheduled", zoneIds[count - 2]},
        {"schedule", std::to_string(paclient::freeScheduleId())},
        {"recording", folder / "recording.wav"},
        {"preview", folder / "preview.wav"}};
    for (std::size_t place = 1; place <= 5; ++place) {  // where there are fewer they are shared
        values["zone" + std::to_string(place)] = zoneIds[(place - 1) % (count - 1) + 1];
    }
    // Sources without a lock and without zones, so that they are left as they were.
    for (const PaSource& source : paclient::sources.all()) {
        if (paclient::lockOf(source.id).lockedUUID.empty() && source.getAttachedPaZones().empty()) {
            values.emplace(values.count("source") == 0 ? "source" : "other",
                           std::to_string(source.id));
        }
    }
    for (const TTSVocalizer& voice : paclient::voices.all()) {
        values.emplace("language", voice.language);
        values.emplace("voice", voice.voice);
    }
    return values;
}

}  // namespace console
