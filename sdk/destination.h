#pragma once

#include "sdk/globals.h"

/// @file
/// Destinations of operations. What the send queue makes of them is the link's business.

namespace destination {

constexpr int directLink = -1;
constexpr int indirectLink = -2;

/// The link over which the active audio server is reached now.
inline int activeServer() {
    return gIndirectCXSConnection ? indirectLink : directLink;
}

}  // namespace destination
