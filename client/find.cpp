// SPDX-License-Identifier: Apache-2.0
#include "client/find.h"

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <limits>
#include <set>
#include <utility>

#include "client/letterCase.h"
#include "client/shortened.h"

namespace paclient {

namespace {

constexpr std::size_t maxSuggestions = 3;
constexpr std::size_t maxCandidates = 10;  // in a message
constexpr std::size_t comparedBytes = 64;  // of a name, for suggestions

bool isDigit(char c) {
    return c >= '0' && c <= '9';
}

bool isNumber(const std::string& text) {
    return !text.empty() && std::all_of(text.begin(), text.end(), isDigit);
}

std::string quoted(const std::string& text) {
    constexpr std::size_t characters = 60;
    return "'" + shortened(text, characters) + "'";
}

std::string listed(const std::vector<std::string>& texts) {
    std::string list;
    for (const std::string& text : texts) {
        list += (list.empty() ? "" : ", ") + text;
    }
    return list;
}

/// How many bytes must be inserted, removed, changed or swapped with their neighbour to turn one
/// text into the other.
std::size_t editDistance(const std::string& from, const std::string& to) {
    // The distances of the first i bytes of `from` and the first j of `to`; rows i-2, i-1 and i.
    std::vector<std::size_t> beforeLast;
    std::vector<std::size_t> last;
    std::vector<std::size_t> row(to.size() + 1);
    for (std::size_t j = 0; j <= to.size(); ++j) {
        row[j] = j;
    }
    for (std::size_t i = 1; i <= from.size(); ++i) {
        beforeLast = std::move(last);
        last = row;
        row[0] = i;
        for (std::size_t j = 1; j <= to.size(); ++j) {
            const std::size_t change = from[i - 1] == to[j - 1] ? 0 : 1;
            row[j] = std::min({last[j] + 1, row[j - 1] + 1, last[j - 1] + change});
            const bool swapped =
                i > 1 && j > 1 && from[i - 1] == to[j - 2] && from[i - 2] == to[j - 1];
            if (swapped) {
                row[j] = std::min(row[j], beforeLast[j - 2] + 1);
            }
        }
    }
    return row[to.size()];
}

/// A sentence that there is no such resource, and what may have been meant.
NotFound notFound(const std::string& kind, const std::string& wanted, const std::string& hint,
                  std::vector<std::string> suggestions) {
    return {"there is no " + kind + ' ' + quoted(wanted) + hint, std::move(suggestions)};
}

NotFound unknownAmong(const std::string& kind, const std::string& wanted,
                      const std::vector<std::string>& names) {
    const std::string text = lowered(wanted.substr(0, comparedBytes));
    std::set<std::pair<std::size_t, std::string>> byDistance;
    for (const std::string& name : names) {
        byDistance.emplace(editDistance(text, lowered(name.substr(0, comparedBytes))), name);
    }
    if (byDistance.empty()) {
        return notFound(kind, wanted, "; there is none at all", {});
    }
    const std::size_t farthest = std::max<std::size_t>(2, text.size() / 3);
    const bool isNear = byDistance.begin()->first <= farthest;
    std::vector<std::string> suggestions;
    std::vector<std::string> texts;
    for (const auto& [distance, name] : byDistance) {
        if (suggestions.size() == maxSuggestions || (isNear && distance > farthest)) {
            break;
        }
        suggestions.push_back(name);
        texts.push_back(quoted(name));
    }
    const std::string list = listed(texts);
    return notFound(kind, wanted,
                    isNear ? "; did you mean " + list + "?" : "; the nearest are " + list,
                    suggestions);
}

/// The value of decimal digits; too large ones are the largest.
std::uint64_t valueOf(const std::string& digits) {
    std::uint64_t value = std::numeric_limits<std::uint64_t>::max();
    std::from_chars(digits.data(), digits.data() + digits.size(), value);
    return value;
}

NotFound unknownNumber(const std::string& kind, const std::string& wanted,
                       const std::vector<Naming>& resources) {
    const std::uint64_t number = valueOf(wanted);
    std::set<std::pair<std::uint64_t, std::uint64_t>> byDistance;
    for (const Naming& naming : resources) {
        if (isNumber(naming.number)) {
            const std::uint64_t other = valueOf(naming.number);
            byDistance.emplace(other < number ? number - other : other - number, other);
        }
    }
    std::vector<std::string> nearest;
    for (const auto& entry : byDistance) {
        if (nearest.size() < maxSuggestions) {
            nearest.push_back(std::to_string(entry.second));
        }
    }
    return notFound(
        kind, wanted,
        nearest.empty() ? "; there is none at all" : "; the nearest are " + listed(nearest),
        nearest);
}

std::string titleOf(const Naming& naming) {
    const std::string name = naming.name.empty() ? "" : quoted(naming.name);
    return naming.number + (naming.number.empty() || name.empty() ? "" : " ") + name;
}

Ambiguous ambiguous(const std::string& kind, const std::string& wanted,
                    const std::vector<Naming>& resources, const std::vector<std::size_t>& places) {
    std::vector<std::string> titles;
    std::vector<std::string> names;
    for (std::size_t i = 0; i < std::min(places.size(), maxCandidates); ++i) {
        const Naming& naming = resources[places[i]];
        titles.push_back(titleOf(naming));
        names.push_back(naming.number.empty() ? naming.name : naming.number);
    }
    const std::string more =
        places.size() > maxCandidates
            ? ", and " + std::to_string(places.size() - maxCandidates) + " more"
            : "";
    return {quoted(wanted) + " is ambiguous: it names " + std::to_string(places.size()) +
                " of the " + kind + "s: " + listed(titles) + more,
            places, names};
}

template <class Predicate>
std::vector<std::size_t> placesOf(const std::vector<Naming>& resources, Predicate matches) {
    std::vector<std::size_t> places;
    for (std::size_t i = 0; i < resources.size(); ++i) {
        if (matches(resources[i])) {
            places.push_back(i);
        }
    }
    return places;
}

bool beginsWith(const std::string& name, const std::string& loweredBeginning) {
    const std::size_t length = loweredBeginning.size();
    const bool cutsNumber =
        length < name.size() && isDigit(name[length]) && isDigit(loweredBeginning.back());
    return length < name.size() && !cutsNumber &&
           lowered(name.substr(0, length)) == loweredBeginning;
}

/// The places of the best matches, without beginnings.
std::vector<std::size_t> equalNames(const std::vector<Naming>& resources,
                                    const std::string& wanted) {
    auto places = placesOf(resources, [&](const Naming& n) { return n.name == wanted; });
    if (places.empty()) {
        const std::string text = lowered(wanted);
        places = placesOf(resources, [&](const Naming& n) {
            return n.name.size() == text.size() && lowered(n.name) == text;
        });
    }
    return places;
}

std::vector<std::size_t> matchesOf(const std::vector<Naming>& resources,
                                   const std::string& wanted) {
    const bool isNumeric = isNumber(wanted);
    std::vector<std::size_t> places;
    if (wanted.empty()) {
        return places;  // names no resource, not even one without a name
    }
    if (isNumeric) {
        places = placesOf(resources, [&](const Naming& n) { return n.number == wanted; });
    }
    if (places.empty()) {
        places = equalNames(resources, wanted);
    }
    if (places.empty() && !isNumeric) {
        const std::string beginning = lowered(wanted);
        places =
            placesOf(resources, [&](const Naming& n) { return beginsWith(n.name, beginning); });
    }
    return places;
}

std::vector<Naming> namings(const std::vector<std::string>& names) {
    std::vector<Naming> result;
    result.reserve(names.size());
    for (const std::string& name : names) {
        result.push_back({"", name});
    }
    return result;
}

NotFound unknown(const std::string& kind, const std::string& wanted,
                 const std::vector<Naming>& resources) {
    const auto hasNumber = [](const Naming& n) { return !n.number.empty(); };
    const bool areNumbered = std::any_of(resources.begin(), resources.end(), hasNumber);
    std::vector<std::string> names;
    for (const Naming& naming : resources) {
        if (!naming.name.empty()) {
            names.push_back(naming.name);
        }
    }
    if (areNumbered && names.empty()) {
        // No distance between a text and a number: the numbers as names.
        std::transform(resources.begin(), resources.end(), std::back_inserter(names),
                       [](const Naming& n) { return n.number; });
    }
    return areNumbered && isNumber(wanted) ? unknownNumber(kind, wanted, resources)
                                           : unknownAmong(kind, wanted, names);
}

}  // namespace

std::size_t findNamed(const std::string& kind, const std::string& wanted,
                      const std::vector<Naming>& resources) {
    const auto places = matchesOf(resources, wanted);
    if (places.empty()) {
        throw unknown(kind, wanted, resources);
    }
    if (places.size() > 1) {
        throw ambiguous(kind, wanted, resources, places);
    }
    return places.front();
}

std::size_t findName(const std::string& kind, const std::string& wanted,
                     const std::vector<std::string>& names) {
    return findNamed(kind, wanted, namings(names));
}

bool knowsName(const std::string& wanted, const std::vector<std::string>& names) {
    return equalNames(namings(names), wanted).size() == 1;
}

std::string unknownName(const std::string& kind, const std::string& wanted,
                        const std::vector<std::string>& names) {
    return unknownAmong(kind, wanted, names).what();
}

}  // namespace paclient
