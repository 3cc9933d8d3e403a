// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>
#include <limits>
#include <nlohmann/json.hpp>
#include <string>
#include <tuple>
#include <type_traits>
#include <utility>

#include "link/mqtt/jsonMessage.h"
#include "simserver/SimControl.h"

/// @file
/// The functions of a simulated server's own side as control messages, for both ends. Included by
/// sources only.

namespace paserver::control {

using Json = nlohmann::json;
using simserver::SimControl;

/// A function of `SimControl`, with its name and those of its arguments in messages.
template <class Member>
struct Function {
    const char* name;
    Member member;
    std::array<const char*, 2> arguments{};
};

template <class Member>
Function(const char*, Member, std::array<const char*, 2>) -> Function<Member>;
template <class Member>
Function(const char*, Member) -> Function<Member>;

inline constexpr Function setTrigger{"setTrigger", &SimControl::setTrigger,
                                     std::array{"trigger", "active"}};
inline constexpr Function setSelector{"setSelector", &SimControl::setSelector,
                                      std::array{"selector", "state"}};
inline constexpr Function lockSource{"lockSource", &SimControl::lockSource,
                                     std::array{"source", "client"}};
inline constexpr Function unlockSource{"unlockSource", &SimControl::unlockSource,
                                       std::array{"source", "client"}};
inline constexpr Function ignoreRenewals{"ignoreRenewals", &SimControl::ignoreRenewals,
                                         std::array{"on", ""}};
inline constexpr Function ignoreRequests{"ignoreRequests", &SimControl::ignoreRequests,
                                         std::array{"on", ""}};
inline constexpr Function ignored{"ignored", &SimControl::ignored};
inline constexpr Function contents{"contents", &SimControl::contents};
inline constexpr Function dropClient{"dropClient", &SimControl::dropClient};
inline constexpr Function restart{"restart", &SimControl::restart};

inline constexpr std::tuple functions{setTrigger,     setSelector,    lockSource, unlockSource,
                                      ignoreRenewals, ignoreRequests, ignored,    contents,
                                      dropClient,     restart};

template <class Member>
struct Signature;
template <class Returned, class... Taken>
struct Signature<Returned (SimControl::*)(Taken...)> {
    using Result = Returned;
    using Arguments = std::tuple<std::decay_t<Taken>...>;
};
template <class Returned, class... Taken>
struct Signature<Returned (SimControl::*)(Taken...) const>
    : Signature<Returned (SimControl::*)(Taken...)> {};

/// @name Results as JSON
/// @{
Json toJson(const simserver::IgnoredOperations& state);
Json toJson(const simserver::Contents& playable);
void fromJson(const Json& json, simserver::IgnoredOperations& state);
void fromJson(const Json& json, simserver::Contents& playable);
/// @}

}  // namespace paserver::control
