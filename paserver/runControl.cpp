// SPDX-License-Identifier: Apache-2.0
#include "paserver/runControl.h"

#include <optional>

#include "paserver/control.h"
#include "simserver/protocol/Refused.h"

namespace paserver {

namespace {

using control::Json;
using palink::JsonObject;
using simserver::SimControl;

template <class Value>
Value argument(const JsonObject& arguments, const char* name) {
    if constexpr (std::is_same_v<Value, bool>) {
        return arguments.boolean(name);
    } else if constexpr (std::is_same_v<Value, int>) {
        using Limits = std::numeric_limits<int>;
        return static_cast<int>(arguments.integer(name, Limits::min(), Limits::max()));
    } else {
        return arguments.text(name);
    }
}

template <class Member, std::size_t... places>
std::string call(const control::Function<Member>& function, SimControl& server,
                 const JsonObject& arguments, std::index_sequence<places...> /*places*/) {
    using Signature = control::Signature<Member>;
    const auto run = [&] {
        return (server.*function.member)(
            argument<std::tuple_element_t<places, typename Signature::Arguments>>(
                arguments, function.arguments[places])...);
    };
    if constexpr (std::is_void_v<typename Signature::Result>) {
        run();
        return "";
    } else {
        return palink::jsonText(control::toJson(run()));
    }
}

}  // namespace

std::string runControl(SimControl& server, const std::string& function,
                       const std::string& arguments) {
    const JsonObject object{std::string_view(arguments)};
    std::optional<std::string> result;
    const auto runIfNamed = [&](const auto& candidate) {
        if (candidate.name == function) {
            using Member = decltype(candidate.member);
            using Arguments = typename control::Signature<std::remove_const_t<Member>>::Arguments;
            result = call(candidate, server, object,
                          std::make_index_sequence<std::tuple_size_v<Arguments>>());
        }
    };
    std::apply([&](const auto&... each) { (runIfNamed(each), ...); }, control::functions);
    if (!result) {
        throw simserver::Refused("a simulated server has no such function");
    }
    return *result;
}

}  // namespace paserver
