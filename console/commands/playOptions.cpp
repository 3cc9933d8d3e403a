// SPDX-License-Identifier: Apache-2.0
#include "console/commands/playOptions.h"

#include "client/choose.h"
#include "console/ExitCode.h"
#include "console/files/wavFile.h"
#include "console/text/cleanText.h"

namespace console {

namespace {

constexpr const char* templateKey = "{SCREEN}";  // the key under which the template's name is sent

bool startsBlank(const std::string& text) {
    return !text.empty() && (text[0] == ' ' || text[0] == '\t');
}

/// Keys are sent as they are, inside a JSON text.
void checkKey(const std::string& key) {
    const std::string what = "the key '" + key + "'";
    require(!key.empty(), "--var has an empty key");
    require(key.find_first_of("\"\\") == std::string::npos && !hasControlCharacter(key),
            what + " has a quote, a backslash or a control character");
    require(key != templateKey, what + " is that of the template's name");
    requireUtf8("the key", key);
}

/// The name is sent as it is, as the last part of a path in a list.
void checkFileName(const std::string& path) {
    const std::string name = path.substr(path.find_last_of("/\\") + 1);
    require(!name.empty() && name != "." && name != "..", "'" + path + "' names no file");
    requireListable("the file name", name);
}

void checkRequestId(const std::string& id) {
    requireUtf8("the request id", id);
    const bool fits = id.size() >= 6 && id.size() <= 63;  // any other length is replaced on sending
    require(fits && !startsBlank(id) && !hasControlCharacter(id),
            "the request id '" + id +
                "' must have 6 to 63 characters, no control character and no blank in front");
}

/// The display variables by key. A key that is given several times has several values.
/// @throws Failure when one is not KEY=TEXT, or cannot be sent
Message::DisplayVariables displayVariables(const PlayRequest& request) {
    Message::DisplayVariables variables;
    for (const std::string& variable : request.variables) {
        const auto [key, text] = splitVariable("--var", variable, "KEY=TEXT");
        checkKey(key);
        requireUtf8("the text", text);
        variables[key].emplace_back(text, 0);
    }
    return variables;
}

}  // namespace

void requireListable(const std::string& kind, const std::string& text) {
    const std::string what = kind + " '" + text + "'";
    require(text.find_first_of(",^!\"") == std::string::npos && !hasControlCharacter(text),
            what + " has a comma, one of ^ ! \" or a control character");
    require(!startsBlank(text), what + " begins with a blank");
}

void addPlayOptions(CLI::App& app, PlayRequest& r) {
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
    addTexts(app, "--var", r.variables, "A variable of the template; repeatable", "KEY=TEXT")
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
    addNumber(app, "--gain", r.gain, {-1000, 1000}, "Gain in dB, in place of the server's own");
    addText(app, "--request-id", r.requestId, "Id of the request (default: a new UUID)", "ID");
    CLI::Option* const wait = app.add_flag("--wait", r.wait, "Follow the request to its end");
    app.add_flag("--dry-run", r.dryRun, "Play nothing; list its problems")->excludes(wait);
}

void check(const PlayRequest& request) {
    const bool isAudible = !request.audio.items.empty() || !request.audio.texts.empty() ||
                           request.audio.file || request.recording;
    require(isAudible || request.display,
            "nothing to play: --items, --text, --file, --recording or --display is missing");
    require(!request.wait || isAudible || request.validity != 0,
            "--wait cannot follow a text of validity 0: the server does not report it");
    for (const std::string& text : request.audio.texts) {
        require(!text.empty(), "the text is empty");
        requireUtf8("the text", text);
    }
    if (request.display) {
        require(!request.display->empty(), "--display needs the name of a template");
        requireUtf8("the template", *request.display);
    }
    displayVariables(request);
    if (request.requestId) {
        checkRequestId(*request.requestId);
    }
    if (request.audio.file) {
        checkFileName(*request.audio.file);
        checkWav(*request.audio.file);
    }
    if (request.recording) {
        requireListable("the path", serverPath(*request.recording));
    }
}

void requireUtf8(const std::string& what, const std::string& text) {
    require(isUtf8(text), what + " '" + text + "' is not UTF-8");
}

std::pair<std::string, std::string> splitVariable(const std::string& option,
                                                  const std::string& variable, const char* form) {
    const std::size_t equals = variable.find('=');
    require(equals != std::string::npos, option + " '" + variable + "' is not " + form);
    return {variable.substr(0, equals), variable.substr(equals + 1)};
}

std::string serverPath(const std::string& path) {
    require(!path.empty() && !hasControlCharacter(path) && isUtf8(path),
            "'" + path + "' cannot be the name of a recording");
    return path.find('/') == std::string::npos ? serverFolder + path : path;
}

Message messageFor(const PlayRequest& request) {
    Message message;
    message.setRequestID(request.requestId.value_or(""));
    message.setPriority(
        {request.relative ? APM_RELATIVE_PRIORITY : APM_ABSOLUTE_PRIORITY, request.priority});
    message.setPreChime(request.preChime);
    message.setPostChime(request.postChime);
    if (request.gain) {
        message.setGain(*request.gain);
    }
    if (!request.audio.items.empty()) {
        message.setAudioMessage(request.audio.items);
        message.setRepeatCnt(request.audio.repeat.value_or(1));
    }
    if (!request.audio.texts.empty()) {
        const TTSVocalizer voice =
            paclient::chooseVoice(request.audio.language, request.audio.voice);
        for (const std::string& text : request.audio.texts) {
            message.setAudioMessage(text, voice.language, voice.voice, Message::UTF_8);
        }
    }
    if (request.audio.file) {
        message.setAudioMessage(*request.audio.file, Message::L16_48K);
    }
    if (request.recording) {
        message.setAudioMessage(serverPath(*request.recording));
    }
    if (request.display) {
        message.setVisualMessage(*request.display, displayVariables(request), request.validity);
    }
    return message;
}

}  // namespace console
