// SPDX-License-Identifier: Apache-2.0
#include "console/commands/playOptions.h"

#include "console/ExitCode.h"

namespace console {

using paoperating::greatestPlayGain;

void addPlayOptions(CLI::App& app, PlayOptions& r) {
    addTexts(app, "--zones", r.zones, "A zone, or several with commas between; repeatable", "ZONES")
        ->required();

    addAudioOptions(app, r.audio, "A WAV file to upload and play", "WAV");
    app.get_option("--repeat")->needs("--items");
    app.get_option("--language")->needs("--text");
    app.get_option("--voice")->needs("--text");
    addText(app, "--recording", r.recording,
            "A recording of the server; a bare name is in its folder", "PATH")
        ->excludes("--items")
        ->excludes("--text")
        ->excludes("--file");

    CLI::Option* const display =
        addText(app, "--display", r.display, "Template of a text to show", "TEMPLATE");
    addTexts(app, "--var", r.keyTexts, "A variable of the template; repeatable", "KEY=TEXT")
        ->needs(display);
    addWhole(app, "--validity", r.validity, {0, greatestWhole},
             "Seconds for which the text is displayed (default 30)")
        ->needs(display);

    CLI::Option* const priority =
        addWhole(app, "--priority", r.priority, anyWhole, "Priority level (default 500)");
    app.add_flag("--relative", r.relative, "The level counts from the server's own")
        ->needs(priority);
    addWhole(app, "--pre-chime", r.preChime, {0, greatestWhole}, "Chime before, 0 for none");
    addWhole(app, "--post-chime", r.postChime, {0, greatestWhole}, "Chime after, 0 for none");
    addNumber(app, "--gain", r.gain, {-greatestPlayGain, greatestPlayGain},
              "Gain in dB, in place of the server's own");
    addText(app, "--request-id", r.requestId, "Id of the request (default: a new UUID)", "ID");
    CLI::Option* const wait = app.add_flag("--wait", r.wait, "Follow the request to its end");
    app.add_flag("--dry-run", r.dryRun, "Play nothing; list its problems")->excludes(wait);
}

paoperating::PlayRequest checkedRequest(const PlayOptions& options) {
    paoperating::PlayRequest request = options;
    for (const std::string& variable : options.keyTexts) {
        request.variables.push_back(splitVariable("--var", variable, "KEY=TEXT"));
    }
    paoperating::check(request);
    require(!options.wait || isAudible(request) || request.validity != 0,
            "--wait cannot follow a text of validity 0: the server does not report it");
    return request;
}

std::pair<std::string, std::string> splitVariable(const std::string& option,
                                                  const std::string& variable, const char* form) {
    const std::size_t equals = variable.find('=');
    require(equals != std::string::npos, option + " '" + variable + "' is not " + form);
    return {variable.substr(0, equals), variable.substr(equals + 1)};
}

}  // namespace console
