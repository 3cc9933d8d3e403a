#pragma once

#include <stdexcept>
#include <string>

/// "accepted", or the kind and the text of the exception that `call` throws.
template <class Call>
std::string outcome(Call call) {
    try {
        call();
    } catch (const std::invalid_argument& e) {
        return std::string("invalid_argument ") + e.what();
    } catch (const std::out_of_range& e) {
        return std::string("out_of_range ") + e.what();
    }
    return "accepted";
}
