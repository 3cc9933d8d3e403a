// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <stdexcept>
#include <string>

#include "client/json.h"

namespace papanel {

/// A refusal as the API answers it: {"error": {"code": ..., "text": ..., details}}.
class ApiError : public std::runtime_error {
public:
    /// @param httpStatus 400 to 599
    /// @param errorCode  for programs, as "not-found"
    /// @param text       for people, a sentence without an end
    /// @param members    more members of the error, an object
    ApiError(int httpStatus, std::string errorCode, const std::string& text,
             paclient::Json members = paclient::Json::object())
        : std::runtime_error(text),
          status(httpStatus),
          code(std::move(errorCode)),
          details(std::move(members)) {}

    const int status;
    const std::string code;
    const paclient::Json details;
};

}  // namespace papanel
