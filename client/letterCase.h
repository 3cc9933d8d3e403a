// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <algorithm>
#include <string>

#include "resource/common/stringUtils.h"

namespace paclient {

/// The text with its ASCII letters in lower case, whatever the locale.
inline std::string lowered(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(), pa::asciiLower);
    return text;
}

}  // namespace paclient
