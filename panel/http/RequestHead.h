// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace papanel {

/// Request line and headers, checked.
struct RequestHead {
    std::string method;
    std::string target;                               ///< as it was sent, beginning with "/"
    bool isOldVersion = false;                        ///< HTTP/1.0
    std::multimap<std::string, std::string> headers;  ///< names in small letters
    std::size_t contentLength = 0;

    /// The header, empty when there is none; the first one when there are several.
    [[nodiscard]] std::string header(const std::string& name) const;

    /// The headers with this name as one, with commas between them.
    [[nodiscard]] std::string joined(const std::string& name) const;

    /// What commas separate in the headers with this name, in small letters.
    [[nodiscard]] std::vector<std::string> words(const std::string& name) const;

    /// Whether one of these words is this one.
    [[nodiscard]] bool hasWord(const std::string& name, const std::string& word) const;

    /// Whether the body has this media type, whatever its parameters.
    [[nodiscard]] bool isOfType(std::string_view type) const;

    /// Whether another request may follow on the connection.
    [[nodiscard]] bool keepsAlive() const {
        return !isOldVersion && !hasWord("connection", "close");
    }
};

/// Reads what precedes the body. Strict: whatever two readers could understand in two ways is
/// refused, for a proxy may stand before this server. So are bodies without a length.
/// @param text lines that end with CR LF, without the empty one at the end
/// @throws ApiError 400
RequestHead parseHead(std::string_view text);

}  // namespace papanel
