#include <algorithm>
#include <memory>

#include "console/arguments/Parser.h"
#include "console/commands/commands.h"
#include "console/commands/playMessage.h"
#include "console/files/WholeFile.h"
#include "console/files/fileUri.h"
#include "console/files/wavFile.h"
#include "console/following/operate.h"
#include "console/text/cleanText.h"
#include "console/text/resources.h"
#include "framework/uuid.h"

namespace console {

namespace {

constexpr double answerSeconds = 105;  // longer than the controller, which gives up after 90 s

struct Arguments {
    std::string text;
    std::string language;
    std::string voice;
    std::string out;
};

/// Whether the audio is that of a text and a voice. Of several requests for the same, the
/// controller tells the end of one.
bool isAudioOf(const Retrieval& retrieval, const std::string& text, const TTSVocalizer& voice) {
    const auto items = ttsItems.all();
    return retrieval.success && std::any_of(items.begin(), items.end(), [&](const auto& item) {
               return item.uri == retrieval.uri && item.portNo == voice.portNo && item.text == text;
           });
}

/// Has the server speak the text.
/// @return where the audio is
std::string retrieve(const Context& context, const Arguments& a) {
    const TTSVocalizer voice = voiceFor(a.language, a.voice);
    std::string id;
    generateUUID(id);
    Message message;
    message.setRequestID(id);
    message.setAudioMessage(a.text, voice.language, voice.voice, Message::UTF_8);
    Retrieval answer{};
    const auto take = [&](const std::optional<Change>& change) {
        const auto* const retrieval = change ? std::get_if<Retrieval>(&change->what) : nullptr;
        const bool isOurs = retrieval != nullptr &&
                            (retrieval->requestId == id || isAudioOf(*retrieval, a.text, voice));
        if (isOurs) {
            answer = *retrieval;
        }
        return isOurs;
    };
    Request request{"there will be audio", {pa::operations::retrieveAudio}, answerSeconds};
    request.requestId = id;  // the refusal of one that was given up may still come
    operate(
        context, request, [&] { message.retrieveAudioMessage(); }, take);
    if (answer.error == PAControllerObserver::MRE_TIMED_OUT) {
        throw Failure(ExitCode::TimedOut,
                      "the server has not answered; the controller has given the preview up");
    }
    if (!answer.success) {
        throw Failure(ExitCode::Refused, "the server cannot speak the text with this voice");
    }
    return answer.uri;
}

/// What the server's file holds; one that is no audio is the server's fault.
WavFormat formatOf(const std::filesystem::path& audio) {
    try {
        return checkWav(audio.string());
    } catch (const Failure& failure) {
        throw Failure(ExitCode::Refused, std::string("the server's audio ") + failure.what());
    }
}

void preview(const Context& context, const Arguments& a) {
    if (!isUtf8(a.text)) {
        throw Failure(ExitCode::Usage, "the text '" + a.text + "' is not UTF-8");
    }
    WholeFile out(a.out);
    context.session();
    const std::filesystem::path audio = pathOfFileUri(retrieve(context, a));
    const WavFormat format = formatOf(audio);
    out.fillFrom(audio);
    out.complete();
    printOutcome(context, a.out + ": " + formatText(format),
                 {{"file", a.out},
                  {"rate", format.rate},
                  {"channels", format.channels},
                  {"bits", format.bits},
                  {"seconds", format.seconds}});
}

}  // namespace

Handler definePreview(Parser& parser) {
    const auto a = std::make_shared<Arguments>();
    parser.addText("TEXT", a->text, "What is to be spoken").required();
    parser.addText("--language", a->language, "Language of the text").required();
    parser.addText("--voice", a->voice, "Voice of the text").required();
    parser.addText("--out", a->out, "The file to write", "FILE").required();
    return [a](const Context& context) { preview(context, *a); };
}

}  // namespace console
