// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

#include "sdk/PAControllerObserver.h"

/// Turns every callback into one call of `called`: the kind of resource, its id, and the change.
struct NotingObserver : PAControllerObserver {
    virtual void called(const std::string& kind, const std::string& id,
                        const std::string& what) = 0;

    void onPaSourceUpdate(PaSource s) override { called("source", s.id, s.label); }
    void onPaSourceDelete(int id) override { called("source", id, "deleted"); }
    void onPaSinkUpdate(PaSink s) override { called("sink", s.id, s.label); }
    void onPaSinkDelete(int id) override { called("sink", id, "deleted"); }
    void onPaTriggerUpdate(PaTrigger t) override { called("trigger", t.id, t.label); }
    void onPaTriggerDelete(int id) override { called("trigger", id, "deleted"); }
    void onPaSelectorUpdate(PaSelector s) override { called("selector", s.id, s.label); }
    void onPaSelectorDelete(int id) override { called("selector", id, "deleted"); }
    void onScheduleUpdate(ScheduleDefinition s) override { called("schedule", s.Id, s.descrption); }
    void onScheduleDelete(ScheduleDefinition s) override {
        called("schedule", s.Id, s.descrption + " deleted");
    }
    void onPaZoneUpdate(PaZone zone) override { called("zone", zone.id, zone.activityText); }
    void onPaZoneDelete(std::string id) override { called("zone", id, "deleted"); }
    void onAudioMessageRetrievalComplete(const std::string& id, bool success,
                                         MessageRetrievalError error,
                                         const std::string& uri) override {
        called("audio", id,
               (success ? "rendered " : "failed ") + std::to_string(error) + " " + uri);
    }
    void onMessageUpdate(AnnouncementRequest request) override {
        called("message", request.getRequestID(), request.stateText);
    }
    void onMessageDelete(AnnouncementRequest request) override {
        called("message", request.getRequestID(), "deleted");
    }

private:
    void called(const std::string& kind, int id, const std::string& what) {
        called(kind, std::to_string(id), what);
    }
};
