#pragma once

#include <stdexcept>
#include <string>

namespace simserver {

/// The server will not do what an operation asks for; the message is the reason that an operator
/// reads.
class Refused : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// The result of `read()`; a refusal on the way says first where it was met.
template <class Read>
auto within(const std::string& where, Read read) {
    try {
        return read();
    } catch (const Refused& refused) {
        throw Refused(where + ": " + refused.what());
    }
}

}  // namespace simserver
