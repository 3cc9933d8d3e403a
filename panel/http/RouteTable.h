// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <vector>

#include "panel/http/Route.h"

namespace papanel {

/// The routes of the API, by what their patterns have in common with a request.
class RouteTable {
public:
    explicit RouteTable(Routes routes);

    /// A route and what the {parts} of its pattern are.
    struct Match {
        const Route* route = nullptr;  ///< lives as long as the table
        std::vector<std::string> parts;
    };

    /// The route of a request. Of several patterns that fit, that with more words of its own.
    /// @param method HEAD is as GET
    /// @param parts  of the path below the API's
    /// @throws ApiError not-found, method-not-allowed with the methods that are in the detail
    ///         "allow"
    [[nodiscard]] Match find(const std::string& method,
                             const std::vector<std::string>& parts) const;

    [[nodiscard]] const Routes& routes() const { return routes_; }

private:
    Routes routes_;  // those with more words of their own first
    std::vector<std::vector<std::string>> patterns_;
};

}  // namespace papanel
