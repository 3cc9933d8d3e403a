// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <charconv>
#include <stdexcept>
#include <string>

#include "panel/http/Route.h"

namespace papanel {

/// A number among the parameters of a request.
/// @param other when it is not there
/// @throws std::invalid_argument when it is no whole number within the limits
template <class Number>
Number numberOf(const ApiRequest& request, const std::string& name, Number other, Number least,
                Number greatest) {
    const std::string text = request.queryOr(name);
    if (text.empty()) {
        return other;
    }
    Number number = 0;
    const auto [end, fault] = std::from_chars(text.data(), text.data() + text.size(), number);
    const bool isWhole = fault == std::errc() && end == text.data() + text.size();
    if (!isWhole || number < least || number > greatest) {
        throw std::invalid_argument("the parameter '" + name + "' is no whole number from " +
                                    std::to_string(least) + " to " + std::to_string(greatest));
    }
    return number;
}

}  // namespace papanel
