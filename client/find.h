// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <stdexcept>
#include <string>
#include <vector>

#include "../framework/api.h"

/// @file
/// How a resource is found by what people call it: its number, or its label or name. Every function
/// may be called from any thread.

namespace paclient {

/// What a resource can be called.
struct Naming {
    std::string number;  ///< decimal; empty when it has none
    std::string name;    ///< its label or name; empty when it has none
};

/// Why a resource was not found. Its text is a sentence without an end.
class PA_API LookupError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// No resource is called so.
class PA_API NotFound : public LookupError {
public:
    /// The text, and what is near.
    NotFound(const std::string& text, std::vector<std::string> nearest)
        : LookupError(text), suggestions(std::move(nearest)) {}

    const std::vector<std::string> suggestions;  ///< numbers or names, the nearest first
};

/// Several resources are called so.
class PA_API Ambiguous : public LookupError {
public:
    /// The text, and what fits.
    Ambiguous(const std::string& text, std::vector<std::size_t> places,
              std::vector<std::string> wanted)
        : LookupError(text), candidates(std::move(places)), names(std::move(wanted)) {}

    const std::vector<std::size_t> candidates;  ///< their places in the list that was searched
    const std::vector<std::string> names;       ///< of the first ten: the number, or else the name
};

/// The place of what is called `wanted`.
///
/// The number is compared first. Then the names: the same one; else the same but for the case of
/// ASCII letters; else the only one that begins with it, case aside. A beginning does not end
/// inside a number ("Platform 1" is no beginning of "Platform 12"), and a number is no beginning of
/// a name.
///
/// What is not found costs time in proportion to the number of resources, however long `wanted` is.
/// @param kind what is looked for, as in "zone"
/// @throws NotFound, of a number with the nearest numbers, else with the nearest names
/// @throws Ambiguous with the candidates
PA_API std::size_t findNamed(const std::string& kind, const std::string& wanted,
                             const std::vector<Naming>& resources);

/// The same for what has names only.
PA_API std::size_t findName(const std::string& kind, const std::string& wanted,
                            const std::vector<std::string>& names);

/// Whether one of the names, and only one, is the same or the same but for its case.
PA_API bool knowsName(const std::string& wanted, const std::vector<std::string>& names);

/// That there is no such name, with the nearest ones.
PA_API std::string unknownName(const std::string& kind, const std::string& wanted,
                               const std::vector<std::string>& names);

}  // namespace paclient
