#include "console/text/lookup.h"

#include <algorithm>
#include <set>
#include <utility>

#include "console/ExitCode.h"
#include "resource/common/stringUtils.h"

namespace console {

namespace {

constexpr std::size_t mostSuggestions = 3;

/// The places of the names that `matches`.
template <class Predicate>
std::vector<std::size_t> placesOf(const std::vector<std::string>& names, Predicate matches) {
    std::vector<std::size_t> places;
    for (std::size_t i = 0; i < names.size(); ++i) {
        if (matches(names[i])) {
            places.push_back(i);
        }
    }
    return places;
}

/// The places of the best matches: exact ones, or else those without regard to letter case.
std::vector<std::size_t> matchesOf(const std::string& wanted,
                                   const std::vector<std::string>& names) {
    auto places = placesOf(names, [&](const std::string& name) { return name == wanted; });
    if (places.empty()) {
        places = placesOf(
            names, [&](const std::string& name) { return lowered(name) == lowered(wanted); });
    }
    return places;
}

/// The names that `wanted` may have meant, nearest first, as the end of a sentence.
std::string suggestion(const std::string& wanted, const std::vector<std::string>& names) {
    std::set<std::pair<std::size_t, std::string>> byDistance;
    for (const std::string& name : names) {
        byDistance.emplace(editDistance(lowered(wanted), lowered(name)), name);
    }
    const std::size_t farthest = std::max<std::size_t>(2, wanted.size() / 3);
    std::string near;
    std::string others;
    std::size_t given = 0;
    for (const auto& [distance, name] : byDistance) {
        std::string& list = distance <= farthest ? near : others;
        list += (list.empty() ? "'" : ", '") + name + "'";
        if (++given == mostSuggestions) {
            break;
        }
    }
    if (!near.empty()) {
        return "; did you mean " + near + "?";
    }
    return others.empty() ? "; there is none at all" : "; the nearest are " + others;
}

}  // namespace

std::string lowered(const std::string& text) {
    std::string result = text;
    std::transform(result.begin(), result.end(), result.begin(), pa::asciiLower);
    return result;
}

std::size_t findName(const std::string& kind, const std::string& wanted,
                     const std::vector<std::string>& names) {
    const auto places = matchesOf(wanted, names);
    if (places.empty()) {
        throw Failure(ExitCode::NotFound, unknownName(kind, wanted, names));
    }
    if (places.size() > 1) {
        throw Failure(ExitCode::NotFound, "'" + wanted + "' is ambiguous: it names " +
                                              std::to_string(places.size()) + " of the " + kind +
                                              "s");
    }
    return places.front();
}

std::string unknownName(const std::string& kind, const std::string& wanted,
                        const std::vector<std::string>& names) {
    return "there is no " + kind + " '" + wanted + "'" + suggestion(wanted, names);
}

bool knowsName(const std::string& wanted, const std::vector<std::string>& names) {
    return matchesOf(wanted, names).size() == 1;
}

std::size_t editDistance(const std::string& from, const std::string& to) {
    // The distances of the first i letters of `from` and the first j of `to`; rows i-2, i-1 and i.
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

}  // namespace console
