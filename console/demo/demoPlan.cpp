#include "console/demo/demoPlan.h"

namespace console {

namespace {

using State = paclient::Announcement::State;

constexpr int endless = 1000000;  // repetitions, or seconds: longer than any demo
constexpr int lowPriority = 200;
constexpr int highPriority = 900;

PlayRequest dictionary(const std::vector<unsigned>& items) {
    PlayRequest request;
    request.items = items;
    request.preChime = 1;
    return request;
}

PlayRequest boardingCall() {
    PlayRequest request = dictionary({14, 20, 21});
    request.repeat = 2;
    return request;
}

PlayRequest reminder() {
    PlayRequest request = dictionary({11, 24});
    request.repeat = endless;
    request.priority = lowPriority;
    return request;
}

PlayRequest spoken(const std::string& text) {
    PlayRequest request;
    request.texts = {text};
    return request;
}

PlayRequest welcome() {
    return spoken(
        "Welcome to the station. Please keep your belongings with you at all times, and look out "
        "for each other. Trains to the airport leave every ten minutes.");
}

PlayRequest urgent() {
    PlayRequest request =
        spoken("Attention please. Please clear this area at once and follow the staff.");
    request.priority = highPriority;
    return request;
}

PlayRequest recorded(const std::filesystem::path& recording) {
    PlayRequest request;
    request.file = recording.string();
    return request;
}

PlayRequest notice() {
    PlayRequest request;
    request.display = "Notice";
    request.variables = {"HEADLINE=Platform alteration", "TEXT=Please use the subway"};
    request.validity = endless;
    return request;
}

}  // namespace

std::vector<DemoItem> demoPlan(const std::vector<std::string>& zoneIds,
                               const std::filesystem::path& recording) {
    std::vector<DemoItem> plan = {
        {"reminder", "dictionary, repeated, low priority", reminder(), State::PreEmpted},
        {"boarding call", "dictionary", boardingCall(), State::Finished},
        {"welcome", "spoken text", welcome(), State::Finished},
        {"recording", "uploaded WAV file", recorded(recording), State::Finished},
        {"notice", "display text", notice(), State::Cancelled},
        {"urgent call", "spoken text, high priority", urgent(), State::Finished},
    };
    // Zones by their number; where a station has fewer, all but the first are shared.
    const std::vector<std::size_t> places[] = {{0}, {1, 2}, {3}, {4, 5}, {1, 2, 3}, {0}};
    for (std::size_t i = 0; i < plan.size(); ++i) {
        for (const std::size_t place : places[i]) {
            const std::size_t shared = (place + zoneIds.size() - 2) % (zoneIds.size() - 1) + 1;
            plan[i].request.zones.push_back(zoneIds[place == 0 ? 0 : shared]);
        }
    }
    return plan;
}

}  // namespace console
