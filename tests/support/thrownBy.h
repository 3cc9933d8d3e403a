// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

/// The text of the exception of just this class that `call` throws.
template <class Exception, class Call>
std::string thrownBy(Call call) {
    try {
        call();
    } catch (const Exception& e) {
        return e.what();
    }
    return "nothing thrown";
}
