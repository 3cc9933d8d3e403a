// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <stdexcept>
#include <string>

#include "client/json.h"

namespace papanel {

/// A refusal as the API answers it: {"error": {"code": ..., "text": ..., details}}.
class ApiError : public std::runtime_error {
public:
    /// @param status  of HTTP, 400 to 599
    /// @param code    for programs, as "not-found"
    /// @param text    for people, a sentence without an end
    /// @param details more members of the error, an object
    ApiError(int status, std::string code, const std::string& text,
             paclient::Json details = paclient::Json::object())
        : std::runtime_error(text),
          status(status),
          code(std::move(code)),
          details(std::move(details)) {}

    const int status;
    const std::string code;
    const paclient::Json details;
};

}  // namespace papanel
