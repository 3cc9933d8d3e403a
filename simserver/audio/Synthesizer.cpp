// SPDX-License-Identifier: Apache-2.0
#include "simserver/audio/Synthesizer.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <sstream>
#include <string_view>
#include <strings.h>
#include <system_error>
#include <utility>
#include <vector>

#include "simserver/audio/ChildProcess.h"
#include "simserver/audio/SpeakableText.h"
#include "simserver/protocol/Refused.h"

namespace simserver {

namespace {

using namespace std::string_view_literals;

constexpr const char* program = "espeak-ng";
constexpr const char* failed = "the speech synthesizer has failed";

/// Runs the synthesizer to its end.
/// @return what it wrote; nothing when `mayContinue` ended it
/// @throws Refused when it is missing, fails, dies or hangs
std::optional<std::string> run(std::vector<std::string> arguments, const std::string& input,
                               const std::function<bool(const std::string&)>& mayContinue) {
    arguments.insert(arguments.begin(), program);
    auto end = runProgram(std::move(arguments), input, mayContinue);
    if (!end) {
        return std::nullopt;
    }
    if (end->startError != 0) {
        throw Refused(std::string("the speech synthesizer ") + program +
                      " cannot be started: " + std::generic_category().message(end->startError));
    }
    if (end->exitCode != 0) {
        throw Refused(failed);
    }
    return std::move(end->output);
}

/// Finds a voice, in any case of letters, in the synthesizer's list. Given an unknown name, the
/// synthesizer itself would take a similar voice and ignore an unknown variant.
/// @return the name of its file without the folder, as spelled there; empty when there is none
std::string fileOf(const std::string& name, const std::string& list) {
    std::istringstream lines(list);
    std::string line;
    std::getline(lines, line);  // the headings
    while (std::getline(lines, line)) {
        std::istringstream fields(line);
        std::string priority, language, gender, fullName, file;
        fields >> priority >> language >> gender >> fullName >> file;
        file.erase(0, file.rfind('/') + 1);
        if (strcasecmp(file.c_str(), name.c_str()) == 0) {
            return file;
        }
    }
    return "";
}

/// @return a voice and its variant as the lists spell them; empty when they lack one of the two
std::string spelled(const std::string& voice, const std::string& voices,
                    const std::string& variants) {
    const std::size_t plus = voice.find('+');
    std::string file = fileOf(voice.substr(0, plus), voices);
    if (plus == std::string::npos) {
        return file;
    }
    const std::string variant = fileOf(voice.substr(plus + 1), variants);
    return file.empty() || variant.empty() ? "" : file + '+' + variant;
}

/// A number in the bytes of a file, the lowest byte first.
int numberAt(std::string_view bytes, std::size_t at) {
    unsigned number = 0;
    for (const char byte : {bytes[at + 3], bytes[at + 2], bytes[at + 1], bytes[at]}) {
        number = number << 8U | static_cast<unsigned char>(byte);
    }
    return static_cast<int>(number);
}

constexpr std::size_t headerSize = 44;

/// The rate of a WAV file of one channel and 16 bits. Its header has no true sizes: the program
/// wrote it before it knew them.
/// @throws Refused for any other file
int rateOf(std::string_view wav) {
    const bool known = wav.size() >= headerSize && wav.substr(0, 4) == "RIFF"sv &&
                       wav.substr(8, 16) == "WAVEfmt \x10\0\0\0\1\0\1\0"sv &&
                       wav.substr(32, 8) == "\2\0\x10\0data"sv;
    const int rate = known ? numberAt(wav, 24) : 0;
    if (rate <= 0) {
        throw Refused(failed);
    }
    return rate;
}

/// The length of such a file so far, in seconds.
double secondsOf(std::string_view wav) {
    return wav.size() < headerSize
               ? 0
               : static_cast<double>(wav.size() - headerSize) / sizeof(short) / rateOf(wav);
}

Sound soundOf(std::string_view wav) {
    constexpr float fullScale = 32768.0F;
    Sound sound{{}, rateOf(wav)};
    for (std::size_t i = headerSize; i + 1 < wav.size(); i += 2) {
        const int sample =
            static_cast<unsigned char>(wav[i]) + 256 * static_cast<std::int8_t>(wav[i + 1]);
        sound.samples.push_back(static_cast<float>(sample) / fullScale);
    }
    return sound;
}

}  // namespace

std::optional<Sound> speak(const std::string& voice, const std::string& text,
                           const std::function<bool(double)>& mayContinue) {
    const auto idle = [&](const std::string&) { return mayContinue(0); };
    const auto voices = run({"--voices"}, "", idle);
    const auto variants = voices ? run({"--voices=variant"}, "", idle) : std::nullopt;
    if (!variants) {
        return std::nullopt;
    }
    const std::string known = spelled(voice, *voices, *variants);
    if (known.empty()) {
        throw Refused("the speech synthesizer has no voice \"" + voice + "\"");
    }
    const auto wav = run({"-b", "1", "-v", known, "--stdin", "--stdout"}, speakable(text),
                         [&](const std::string& soFar) { return mayContinue(secondsOf(soFar)); });
    if (!wav) {
        return std::nullopt;
    }
    Sound sound = wav->empty() ? Sound() : soundOf(*wav);
    const std::vector<float>& spoken = sound.samples;
    if (std::all_of(spoken.begin(), spoken.end(), [](float sample) { return sample == 0.0F; })) {
        throw Refused("nothing of the text can be spoken");
    }
    return sound;
}

}  // namespace simserver
