#pragma once

#include <algorithm>
#include <string>
#include <vector>

#include "simserver/Refused.h"

namespace simserver {

/// The one of `things` that has an id.
/// @param what how people call such a thing
/// @throws Refused when there is none
template <class Thing>
Thing& byId(std::vector<Thing>& things, int id, const char* what) {
    const auto found = std::find_if(things.begin(), things.end(),
                                    [id](const Thing& thing) { return thing.id == id; });
    if (found == things.end()) {
        throw Refused("there is no " + std::string(what) + " " + std::to_string(id));
    }
    return *found;
}

}  // namespace simserver
