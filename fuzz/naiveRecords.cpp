// SPDX-License-Identifier: Apache-2.0
#include "fuzz/naiveRecords.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <set>
#include <sstream>

#include "fuzz/naiveTexts.h"

namespace naive {

namespace {

double decimal(const std::string& text) {
    return std::strtod(text.c_str(), nullptr);
}

std::string numberText(const std::string& text) {
    return std::to_string(number(text));
}

std::string memberText(char form, const std::string& field) {
    const auto plain = [&] { return form == 's' || form == 'l' ? field : translated(field); };
    const auto list = [&] { return tokens(plain(), '^'); };
    switch (form) {
        case '#':
            return numberText(field);
        case 'd':
            return levelText(decimal(field));
        case 'l':
        case 'z':
            return textOf(list());
        case 'u': {
            const Tokens entries = list();
            const std::set<std::string> sorted(entries.begin(), entries.end());
            return textOf(Tokens(sorted.begin(), sorted.end()));
        }
        case 'b':
            return textOf(number(field) == 1);
        default:
            return plain();
    }
}

struct Column {
    std::string member;  // empty for one that is skipped
    char form;
    char comparison;  // blank for none
};

const std::vector<Column>& columnsOf(Layout layout) {
    static std::map<Layout, std::vector<Column>> known;
    std::vector<Column>& columns = known[layout];
    std::istringstream words(columns.empty() ? layout : "");
    for (std::string word; words >> word;) {
        const bool compares = word.back() == '*' || word.back() == '@';
        const std::size_t length = word.size() - (compares ? 2 : 1);
        columns.push_back({word.substr(0, length), word[length], compares ? word.back() : ' '});
    }
    return columns;
}

std::string tokenOr(const Tokens& tokens, std::size_t i, const std::string& missing) {
    return i < tokens.size() ? tokens[i] : missing;
}

// Each of these reads a content and returns whether the record is good.

bool takeSpoken(Record& schedule, const std::string& content) {
    std::vector<TTSVocalizer> list;
    bool isGood = !tokens(content, '!').empty();
    for (const std::string& entry : tokens(content, '!')) {
        const Tokens parts = tokens(entry, '^');
        isGood = isGood && parts.size() == 4;
        TTSVocalizer& spoken = list.emplace_back();
        spoken.language = tokenOr(parts, 0, "");
        spoken.voice = tokenOr(parts, 1, "");
        spoken.rate = number(tokenOr(parts, 2, ""));
        spoken.text = tokenOr(parts, 3, "");
    }
    schedule["ttsList"] = textOf(list);
    return isGood;
}

bool takeTemplate(Record& schedule, std::map<std::string, std::string>& variables,
                  const std::string& content) {
    const Tokens halves = tokens(translated(content), '!');
    for (const std::string& item : tokens(tokenOr(halves, 0, ""), '^')) {
        const Tokens pair = tokens(item, '=');
        if (pair.size() == 2) {
            (pair[0] == "{SCREEN}" ? schedule["displayTemplateName"] : variables[pair[0]]) =
                pair[1];
        }
    }
    schedule["displayTemplateKeyValueList"] = textOf(variables);
    schedule["displayTemplateValidityPeriodSeconds"] =
        halves.size() == 2 ? numberText(halves[1]) : "0";
    return !halves.empty();
}

bool takePart(Record& schedule, std::map<std::string, std::string>& variables, bool isAudio) {
    const Tokens part = tokens(schedule[isAudio ? "audio" : "visual"], ',');
    if (part.size() < 4) {
        return part.empty();
    }
    const std::string type = numberText(part[0]);
    const std::string& content = part[3];
    const Tokens pieces = tokens(content, '!');
    schedule[isAudio ? "announcementType" : "visualAnnouncementType"] = type;
    schedule["paZones"] = textOf(tokens(translated(part[2]), '^'));
    schedule["gain"] = levelText(decimal(tokenOr(part, 4, "")));
    schedule["chime"] = tokenOr(tokens(tokenOr(part, 5, ""), '^'), 0, "");
    if (isAudio && type == "2") {
        std::vector<unsigned> items;
        for (const std::string& item : tokens(tokenOr(pieces, 0, ""), '^')) {
            items.push_back(static_cast<unsigned>(number(item)));
        }
        schedule["dictionaryItems"] = textOf(items);
        schedule["repeatCnt"] = numberText(tokenOr(pieces, 1, "1"));
        return !pieces.empty();
    }
    if (isAudio && (type == "4" || type == "10")) {
        return takeSpoken(schedule, content);
    }
    if (isAudio && (type == "1" || type == "11")) {
        const Tokens file = tokens(content, '^');
        schedule["storedDataSourceId"] = numberText(tokenOr(file, 0, "0"));
        schedule["storedDataFilePath"] = tokenOr(file, 1, "");
    } else if (schedule["announcementType"] == "9" || type == "9") {
        return takeTemplate(schedule, variables, content);
    }
    return true;
}

}  // namespace

std::string levelText(double level) {
    std::array<char, 64> text{};
    std::snprintf(text.data(), text.size(), "%a", level);
    return text.data();
}

void read(Layout layout, const pa::RecordFields& fields, Record& record) {
    const auto& columns = columnsOf(layout);
    for (std::size_t i = 0; i < columns.size(); ++i) {
        if (fields[i] && !columns[i].member.empty()) {
            record[columns[i].member] = memberText(columns[i].form, std::string(*fields[i]));
        }
    }
}

bool merge(Layout layout, Record& cached, const Record& decoded) {
    const auto differs = [&](const Column& column) {
        if (column.comparison == ' ') {
            return false;
        }
        const std::string& a = cached.at(column.member);
        const std::string& b = decoded.at(column.member);
        // The length of a list is in front of it.
        return column.comparison == '@' ? number(a) != number(b)
               : column.form == 'd'     ? decimal(a) != decimal(b)
                                        : a != b;
    };
    const auto& columns = columnsOf(layout);
    const bool changed = std::any_of(columns.begin(), columns.end(), differs);
    for (const Column& column : columns) {
        if (changed && column.comparison != ' ') {
            cached[column.member] = decoded.at(column.member);
        }
    }
    return changed;
}

bool takeRequestContent(Record& request) {
    const Tokens parts = tokens(request["messageContent"], ',');
    const int type = number(tokenOr(parts, 0, "7"));
    std::string content = tokenOr(parts, 3, "");
    for (char& c : content) {
        c = c >= 'A' && c <= 'Z' ? static_cast<char>(c + 'a' - 'A') : c;
    }
    const bool isAudio = type >= 0 && type <= 11 && type != 3 && type != 9;
    request["audioMessageType"] = isAudio ? std::to_string(type) : "7";
    request["visualMessageType"] = type == 9 ? "9" : "7";
    request["zones"] = textOf(tokens(tokenOr(parts, 2, ""), '^'));
    const bool isOver = type == 9 && content.find("\"validity\":0") != std::string::npos;
    return type != 6 && type != 7 && type != 8 && !isOver;
}

bool takeSchedule(Record& schedule, const pa::RecordFields& fields) {
    // Numbers with colons between them; each that is missing has a value.
    const struct {
        std::size_t column;
        std::size_t place;
        const char* member;
        const char* missing;
    } numbers[] = {{1, 0, "startYear", "1970"}, {1, 1, "startMonth", "1"},
                   {1, 2, "startDay", "1"},     {2, 0, "startHour", "0"},
                   {2, 1, "startMinute", "0"},  {3, 0, "endYear", "2050"},
                   {3, 1, "endMonth", "12"},    {3, 2, "endDay", "30"},
                   {4, 0, "endHour", "0"},      {4, 1, "endMinute", "0"}};
    for (const auto& [column, place, member, missing] : numbers) {
        if (fields[column]) {
            const Tokens found = tokens(translated(std::string(*fields[column])), ':');
            schedule[member] = numberText(tokenOr(found, place, missing));
        }
    }
    std::map<std::string, std::string> variables;
    return takePart(schedule, variables, true) && takePart(schedule, variables, false);
}

}  // namespace naive
