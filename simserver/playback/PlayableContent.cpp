// SPDX-License-Identifier: Apache-2.0
#include "simserver/playback/PlayableContent.h"

#include <algorithm>
#include <memory>
#include <sndfile.h>
#include <system_error>

#include "simserver/lookUp.h"
#include "simserver/protocol/Refused.h"
#include "util/utf8.h"

namespace simserver {

namespace {

constexpr SimTime perCharacter{70};
constexpr SimTime shortestText = std::chrono::seconds(1);

SimTime lengthOfFile(const std::filesystem::path& file) {
    SF_INFO info{};
    const std::unique_ptr<SNDFILE, int (*)(SNDFILE*)> opened(sf_open(file.c_str(), SFM_READ, &info),
                                                             sf_close);
    if (opened == nullptr) {
        std::error_code ignored;  // a name that is too long names no file
        const bool isThere = std::filesystem::exists(file, ignored);
        throw Refused("cannot read " + file.filename().string() + ": " +
                      (isThere ? "it is not an audio file" : "there is no such file"));
    }
    const std::chrono::duration<double> seconds(static_cast<double>(info.frames) / info.samplerate);
    return std::chrono::round<SimTime>(std::min<std::chrono::duration<double>>(seconds, longest));
}

SimTime lengthOfText(const std::string& text) {
    const auto characters = static_cast<SimTime::rep>(pautil::countCharacters(text));
    return std::max(shortestText, characters * perCharacter);
}

}  // namespace

PlayableContent::PlayableContent(const Station& station, const UploadFolder& uploads)
    : station_(station), uploads_(uploads) {
    for (const Zone& zone : station.zones) {
        zones_.insert(zone.id);
    }
    for (const DictionaryItem& item : station.dictionary) {
        items_[static_cast<unsigned>(item.item)] = &item;
    }
}

void PlayableContent::check(const RequestPart& part) const {
    for (const std::string& zone : part.zones) {
        checkZone(zone);
    }
    lengthOfChime(part.preChime);
    lengthOfChime(part.postChime);
    std::visit([this](const auto& content) { check(content); }, part.content);
}

void PlayableContent::checkZone(const std::string& zone) const {
    if (!hasZone(zone)) {
        throw Refused("unknown zone \"" + zone + "\"");
    }
}

void PlayableContent::check(const DictionaryContent& content) const {
    for (const unsigned item : content.items) {
        if (items_.count(item) == 0) {
            throw Refused("unknown dictionary item " + std::to_string(item));
        }
    }
}

void PlayableContent::check(const SpokenContent& content) const {
    for (const SpokenText& text : content.texts) {
        voiceOf(station_, text.language, text.voice, text.rate);
    }
}

std::optional<SimTime> PlayableContent::lengthOf(const RequestPart& part) const {
    Length length =
        std::visit([this](const auto& content) { return lengthOf(content); }, part.content);
    if (length && part.type->medium == Medium::Audio) {
        *length += lengthOfChime(part.preChime) + lengthOfChime(part.postChime);
    }
    return length;
}

PlayableContent::Length PlayableContent::lengthOf(const RecordedContent& content) const {
    const auto& own = station_.recordings;
    const auto found = std::find_if(own.begin(), own.end(), [&content](const Recording& recording) {
        return recording.path == content.path;
    });
    if (found != own.end()) {
        return found->duration;
    }
    std::optional<std::filesystem::path> file = uploads_.placeOf(content.path);
    if (!file) {
        file = uploads_.placeOfPreview(content.path);
    }
    if (!file) {
        throw Refused("\"" + content.path + "\" is not on this server");
    }
    return lengthOfFile(*file);
}

std::vector<Recording> PlayableContent::recordings() const {
    std::vector<Recording> all = station_.recordings;
    for (const std::string& path : uploads_.paths()) {
        try {
            all.push_back({path, *lengthOf(RecordedContent{0, path})});
        } catch (const Refused&) {
            continue;  // not audio, or deleted meanwhile
        }
    }
    return all;
}

PlayableContent::Length PlayableContent::lengthOf(const DictionaryContent& content) const {
    if (content.repeats == 0) {
        return std::nullopt;
    }
    SimTime once{0};
    for (const unsigned item : content.items) {
        once += items_.at(item)->duration;
    }
    return content.repeats > longest / once ? longest : once * content.repeats;
}

PlayableContent::Length PlayableContent::lengthOf(const TextContent& content) const {
    if (content.text.empty()) {
        throw Refused("nothing to display");
    }
    return std::nullopt;
}

PlayableContent::Length PlayableContent::lengthOf(const SpokenContent& content) const {
    SimTime sum{0};
    for (const SpokenText& text : content.texts) {
        sum += lengthOfText(text.text);
    }
    return sum;
}

PlayableContent::Length PlayableContent::lengthOf(const TemplateContent& content) const {
    if (content.json.empty()) {
        throw Refused("nothing to display");
    }
    return content.validity < 0 ? std::nullopt : Length(std::chrono::seconds(content.validity));
}

PlayableContent::Length PlayableContent::lengthOf(const LiveContent& /*content*/) const {
    return std::nullopt;
}

int PlayableContent::chimeNamed(const std::string& name) const {
    const auto isNamed = [&name](const DictionaryItem& item) {
        return item.chime && (item.text == name || std::to_string(item.item) == name);
    };
    const auto& items = station_.dictionary;
    const auto found = std::find_if(items.begin(), items.end(), isNamed);
    if (found == items.end() && !name.empty()) {
        throw Refused("unknown chime \"" + name + "\"");
    }
    return name.empty() ? 0 : found->item;
}

SimTime PlayableContent::lengthOfChime(int number) const {
    if (number == 0) {
        return SimTime{0};
    }
    const auto found = number < 0 ? items_.end() : items_.find(static_cast<unsigned>(number));
    if (found == items_.end() || !found->second->chime) {
        throw Refused("unknown chime " + std::to_string(number));
    }
    return found->second->duration;
}

}  // namespace simserver
