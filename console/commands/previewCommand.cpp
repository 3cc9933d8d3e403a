// SPDX-License-Identifier: Apache-2.0
#include <fstream>
#include <optional>
#include <sstream>

#include "client/Preview.h"
#include "client/choose.h"
#include "console/commands/commands.h"
#include "console/following/operate.h"
#include "operating/sentTexts.h"
#include "operating/wavFile.h"
#include "util/AtomicFile.h"
#include "util/FileError.h"
#include "util/fileUri.h"

namespace console {

using namespace paclient;
using paoperating::WavFormat;

namespace {

struct PreviewFile {
    std::string text;
    std::string language;
    std::string voice;
    std::string out;

    void define(CLI::App& app) {
        addText(app, "TEXT", text, "What is to be spoken")->required();
        addText(app, "--language", language, "Language of the text")->required();
        addText(app, "--voice", voice, "Voice of the text")->required();
        addText(app, "--out", out, "The file to write; - for the standard output", "FILE")
            ->required();
    }

    void run(const Context& context) const {
        paoperating::requireUtf8("the text", text);
        std::optional<pautil::AtomicFile> file;
        if (out != "-") {
            file.emplace(out);
        }
        context.connected();
        const std::filesystem::path audio = render(context);
        const WavFormat format = formatOf(audio);
        if (!file) {
            std::ostringstream bytes;
            bytes << std::ifstream(audio, std::ios::binary).rdbuf();
            context.out.write(bytes.str());
            context.diagnostics.diagnostic(paoperating::formatText(format));
            return;
        }
        file->fillFrom(audio);
        file->complete();
        printOutcome(context, out + ": " + paoperating::formatText(format),
                     {{"file", out},
                      {"rate", format.rate},
                      {"channels", format.channels},
                      {"bits", format.bits},
                      {"seconds", format.seconds}});
    }

private:
    /// Has the server speak the text.
    /// @return where the audio is
    std::filesystem::path render(const Context& context) const {
        const TTSVocalizer spoken = chooseVoice(language, voice);
        const double seconds = std::chrono::duration<double>(previewExpiry).count();
        const auto speak = [&](const Wait& wait) { return renderPreview(text, spoken, wait); };
        const std::string uri = resultOf(context, "there is audio", speak, seconds).uri;
        const auto path = pautil::pathOfFileUri(uri);
        require(path.has_value(),
                "the server keeps the audio at '" + uri + "', which is no file here",
                ExitCode::Refused);
        return *path;
    }

    /// What the server's file holds; one that is no audio is the server's fault.
    static WavFormat formatOf(const std::filesystem::path& audio) {
        try {
            return paoperating::checkWav(audio.string());
        } catch (const pautil::FileError& fault) {
            throw Failure(ExitCode::Refused, std::string("the server's audio ") + fault.what());
        }
    }
};

}  // namespace

Command previewCommand() {
    return command<PreviewFile>("preview", "Have a text spoken into a WAV file");
}

}  // namespace console
