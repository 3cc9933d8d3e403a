// SPDX-License-Identifier: Apache-2.0
#include "bench/controller/fieldReaders.h"

namespace bench {

namespace {

using Tokens = std::vector<std::string>;

/// The tokens of `text`, in a list that the next call for the same `depth` reuses.
const Tokens& tokensOf(std::string_view text, char separator, std::size_t depth) {
    thread_local Tokens lists[3];
    splitQuoted(text, separator, lists[depth]);
    return lists[depth];
}

void takeItems(ScheduleDefinition& to, const std::string& content) {
    const Tokens& pieces = tokensOf(content, '!', 1);
    to.repeatCnt = pieces.size() > 1 ? intOf(pieces[1].c_str()) : 1;
    to.dictionaryItems.clear();
    for (const std::string& item : tokensOf(pieces.at(0), '^', 2)) {
        to.dictionaryItems.push_back(static_cast<unsigned>(intOf(item.c_str())));
    }
}

void takeSpoken(ScheduleDefinition& to, const std::string& content) {
    const Tokens& entries = tokensOf(content, '!', 1);
    to.ttsList.resize(entries.size());
    for (std::size_t i = 0; i < entries.size(); ++i) {
        const Tokens& parts = tokensOf(entries[i], '^', 2);
        TTSVocalizer& spoken = to.ttsList[i];
        spoken.language = parts.at(0);
        spoken.voice = parts.at(1);
        spoken.rate = intOf(parts.at(2).c_str());
        spoken.text = parts.at(3);
    }
}

void takeStored(ScheduleDefinition& to, const std::string& content) {
    const Tokens& parts = tokensOf(content, '^', 1);
    to.storedDataSourceId = intOf(parts.at(0).c_str());
    to.storedDataFilePath = parts.at(1);
}

void takeTemplate(ScheduleDefinition& to, const std::string& content) {
    std::string variables;
    unquote(content, variables);
    Tokens pieces;
    splitQuoted(variables, '!', pieces);
    to.displayTemplateValidityPeriodSeconds = pieces.size() == 2 ? intOf(pieces[1].c_str()) : 0;
    to.displayTemplateKeyValueList.clear();
    for (const std::string& item : tokensOf(pieces.at(0), '^', 1)) {
        const Tokens& pair = tokensOf(item, '=', 2);
        if (pair.at(0) == "{SCREEN}") {
            to.displayTemplateName = pair.at(1);
        } else {
            to.displayTemplateKeyValueList[pair.at(0)] = pair.at(1);
        }
    }
}

}  // namespace

void unquote(std::string_view text, std::string& plain) {
    if (text.size() < 2 || text.front() != '"' || text.back() != '"') {
        plain = text;
        return;
    }
    text = text.substr(1, text.size() - 2);
    plain.clear();
    for (std::size_t end = 0; (end = text.find('\\')) != std::string_view::npos;) {
        plain.append(text, 0, end);
        plain += text[end + 1];
        text.remove_prefix(end + 2);
    }
    plain += text;
}

void splitQuoted(std::string_view text, char separator, Tokens& tokens) {
    std::size_t count = 0;
    bool inQuotes = false;
    const auto add = [&]() -> std::string& {
        if (count == tokens.size()) {
            tokens.emplace_back();
        }
        std::string& token = tokens[count++];
        token.clear();
        return token;
    };
    std::string* token = text.empty() ? nullptr : &add();
    while (!text.empty()) {
        if (token->empty() && !inQuotes) {
            while (!text.empty() && (text.front() == ' ' || text.front() == '\t')) {
                text.remove_prefix(1);
            }
        }
        std::size_t end = 0;
        while (end < text.size() && text[end] != separator && text[end] != '"' &&
               text[end] != '\\') {
            ++end;
        }
        token->append(text, 0, end);
        text.remove_prefix(end);
        if (text.empty()) {
            break;
        }
        const char c = text.front();
        text.remove_prefix(1);
        if (c == '"') {
            inQuotes = !inQuotes;
        } else if (c == '\\') {
            *token += text.front();
            text.remove_prefix(1);
        } else if (inQuotes) {
            *token += c;
        } else {
            token = &add();
        }
    }
    tokens.resize(count);
}

// ------------------------------------------------------------------------------ ContractFields

void ContractFields::numbers(std::initializer_list<int*> to) {
    quoted(unquoted_);
    const Tokens& tokens = tokensOf(unquoted_, ':', 0);
    std::size_t i = 0;
    for (int* const number : to) {
        *number = i < tokens.size() ? intOf(tokens[i].c_str()) : 0;
        ++i;
    }
}

void ContractFields::content(AnnouncementRequest& to) {
    quoted(to.messageContent);
    const Tokens& parts = tokensOf(to.messageContent, ',', 0);
    const int type = parts.empty() ? int{Message::NONE} : intOf(parts[0].c_str());
    const bool isTemplate = type == Message::DISPLAY_TEMPLATE;
    to.setAudioMessageType(isTemplate ? Message::NONE : static_cast<Message::Type>(type));
    to.setVisualMessageType(isTemplate ? Message::DISPLAY_TEMPLATE : Message::NONE);
    splitQuoted(parts.size() > 2 ? parts[2] : std::string_view(), '^', to.zones);
}

const Tokens& ContractFields::partTokens(ScheduleDefinition& to, AnnouncementType& type) {
    quoted(unquoted_);
    const Tokens& tokens = tokensOf(unquoted_, ',', 0);
    type = tokens.empty() ? AT_NONE : static_cast<AnnouncementType>(intOf(tokens[0].c_str()));
    if (!tokens.empty()) {
        std::string zones;
        unquote(tokens.at(2), zones);
        splitQuoted(zones, '^', to.paZones);
        to.gain = doubleOf(tokens.at(4).c_str());
        const Tokens& chime = tokensOf(tokens.at(5), '^', 1);
        to.chime = chime.empty() ? "" : chime[0];
    }
    return tokens;
}

void ContractFields::audioPart(ScheduleDefinition& to) {
    const Tokens& tokens = partTokens(to, to.announcementType);
    switch (to.announcementType) {
        case AT_TEV:
            return takeItems(to, tokens.at(3));
        case AT_TTS:
        case AT_TTS_SAF:
            return takeSpoken(to, tokens.at(3));
        case AT_STORED_DATA:
        case AT_STORED_DATA_SAF:
            return takeStored(to, tokens.at(3));
        default:
            return;
    }
}

void ContractFields::visualPart(ScheduleDefinition& to) {
    const Tokens& tokens = partTokens(to, to.visualAnnouncementType);
    if (to.visualAnnouncementType == AT_DISPLAY_TEMPLATE) {
        takeTemplate(to, tokens.at(3));
    }
}

}  // namespace bench
