// SPDX-License-Identifier: Apache-2.0
#include <limits>
#include <stdexcept>

#include "panel/Services.h"
#include "panel/api/outcome.h"
#include "panel/api/query.h"
#include "panel/api/routes.h"
#include "panel/audit/AuditTrail.h"
#include "panel/audit/auditExport.h"
#include "panel/audit/utcTime.h"

namespace papanel {

namespace {

std::optional<std::string> textOf(const ApiRequest& request, const std::string& name) {
    const std::string text = request.queryOr(name);
    return text.empty() ? std::nullopt : std::optional(text);
}

/// @throws std::invalid_argument
std::optional<std::int64_t> momentOf(const ApiRequest& request, const std::string& name) {
    const auto text = textOf(request, name);
    const auto moment = text ? utcMoment(*text) : std::nullopt;
    if (text && !moment) {
        throw std::invalid_argument("the parameter '" + name +
                                    "' is no moment as 2026-12-01T05:59:10Z");
    }
    return moment;
}

AuditFilter filterOf(const ApiRequest& request) {
    constexpr std::int64_t greatest = std::numeric_limits<std::int64_t>::max();
    AuditFilter filter;
    filter.from = momentOf(request, "from");
    filter.until = momentOf(request, "until");
    filter.user = textOf(request, "user");
    filter.operation = textOf(request, "operation");
    filter.outcome = textOf(request, "outcome");
    if (textOf(request, "before")) {
        filter.before = numberOf<std::int64_t>(request, "before", 0, 0, greatest);
    }
    return filter;
}

ApiReply list(Services& services, const ApiRequest& request) {
    constexpr int usual = 100;
    constexpr int most = 1'000;
    const int limit = numberOf(request, "limit", usual, 1, most);
    std::vector<AuditRow> rows = services.audit.find(filterOf(request), limit + 1);
    const bool hasMore = rows.size() > static_cast<std::size_t>(limit);
    rows.resize(hasMore ? rows.size() - 1 : rows.size());
    Json entries = Json::array();
    for (const AuditRow& row : rows) {
        entries.push_back(rowJson(row));
    }
    return {200, {{"entries", entries}, {"more", hasMore}}};
}

ApiReply download(Services& services, const ApiRequest& request) {
    const std::string format = request.queryOr("format", "csv");
    if (format != "csv" && format != "json") {
        throw std::invalid_argument("the parameter 'format' is neither csv nor json");
    }
    const bool isCsv = format == "csv";
    ApiReply reply;
    reply.contentType = isCsv ? "text/csv; charset=utf-8" : "application/json";
    reply.headers.emplace_back("Content-Disposition",
                               "attachment; filename=\"audit." + format + '"');
    reply.stream = [&trail = services.audit, filter = filterOf(request), isCsv](
                       const Write& write, const std::function<bool()>& /*stopped*/) {
        isCsv ? exportCsv(trail, filter, write) : exportJson(trail, filter, write);
    };
    return reply;
}

}  // namespace

Routes auditRoutes() {
    return {
        {"GET", "/audit", Access::Monitor, Effect::Reads, nullptr, answered<list>},
        {"GET", "/audit/export", Access::Monitor, Effect::Reads, nullptr, answered<download>},
    };
}

}  // namespace papanel
