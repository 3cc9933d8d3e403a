// SPDX-License-Identifier: Apache-2.0
#include <fstream>
#include <httplib.h>
#include <set>
#include <sstream>

#include "metrics/MetricsEndpoint.h"
#include "panel/Panel.h"
#include "panel/PanelMetrics.h"
#include "panel/http/Router.h"
#include "paserver/serverMetrics.h"
#include "tests/panel/apiFixture.h"

namespace {

using namespace papanel;

/// Name, type and labels of each metric, as a row of the table in the documentation begins.
std::set<std::string> rowsOf(const std::string& text) {
    std::map<std::string, std::string> types;
    std::map<std::string, std::set<std::string>> labels;
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) {
        std::smatch parts;
        if (std::regex_match(line, parts, std::regex("# TYPE (\\S+) (\\S+)"))) {
            types[parts[1]] = parts[2];
        } else if (line.front() != '#') {
            std::string name = line.substr(0, line.find_first_of("{ "));
            if (types.count(name) == 0) {  // of a part of a histogram
                name.erase(name.rfind('_'));
            }
            EXPECT_EQ(types.count(name), 1U) << line;
            const std::regex label("[{,](\\w+)=");
            for (std::sregex_iterator at(line.begin(), line.end(), label), end; at != end; ++at) {
                labels[name].insert((*at)[1]);
            }
        }
    }
    std::set<std::string> rows;
    for (const auto& [name, type] : types) {
        std::string names;
        for (const std::string& label : labels[name]) {
            names += (names.empty() ? " `" : ", `") + label + '`';
        }
        rows.insert("| `" + name + "` | " + type + " |" + names + " |");
    }
    return rows;
}

/// The value of a line that begins so.
double valueIn(const std::string& text, const std::string& series) {
    const std::size_t at = text.find('\n' + series + ' ');
    EXPECT_NE(at, std::string::npos) << series;
    return at == std::string::npos ? -1 : std::stod(text.substr(at + series.size() + 2));
}

struct MetricsTest : ApiTest {
    ApiReply ask(const std::string& method, const std::string& path, const std::string& body = "") {
        HttpRequest request;
        request.head.method = method;
        request.head.target = "/api/v1" + path;
        request.head.headers = {{"cookie", "papanel-0=" + begun.token},
                                {"x-csrf-token", begun.session.csrf},
                                {"idempotency-key", std::to_string(++asked)},
                                {"content-type", "application/json"}};
        request.head.contentLength = body.size();
        request.readBody = [&body](std::size_t /*maxBytes*/) { return body; };
        return router(request);
    }

    PanelMetrics metrics;
    Router router{services, allRoutes(), {}};
    const NewSession begun = sessions.beginLocal();
    int asked = 0;
};

TEST_F(MetricsTest, AreThoseOfTheDocumentation) {
    ask("GET", "/zones");
    pametrics::Exposition link;
    PanelMetrics::addLink(link, {});
    std::set<std::string> rows = rowsOf(metrics.text(services, router, 0));
    rows.merge(rowsOf(link.text()));
    rows.merge(rowsOf(paserver::metricsText({})));
    std::set<std::string> documented;
    std::ifstream page(PA_TESTS "/../docs/metrics.md");
    for (std::string line; std::getline(page, line);) {
        std::smatch row;
        if (std::regex_search(line, row, std::regex("^(\\| `\\w+` \\| \\w+ \\|[^|]*\\|)"))) {
            documented.insert(row[1]);
        }
    }
    EXPECT_EQ(rows, documented);
}

TEST_F(MetricsTest, CountWhatHappens) {
    const char* const cancelled =
        "public_address_operations_sent_total{operation=\"cancelMessage\"}";
    const char* const overCount = "public_address_changes_total{kind=\"announcementDelete\"}";
    const std::string before = metrics.text(services, router, 7);
    EXPECT_EQ(valueIn(before, "public_address_synced"), 1);
    EXPECT_EQ(valueIn(before, "public_address_records{kind=\"zones\"}"), 6);
    EXPECT_EQ(valueIn(before, "public_address_panel_http_connections"), 7);

    paclient::Subscription changes;
    ask("POST", "/announcements",
        R"({"zones": ["Hall"], "items": [12], "requestId": "request-1"})");
    ask("DELETE", "/announcements/request-1");
    ask("PUT", "/sinks/77/gain", R"({"level": -3})");
    // Counted after the answer: that an operation was sent, and that the announcement is over.
    std::string after;
    const auto isCounted = [&] {
        after = metrics.text(services, router, 0);
        return valueIn(after, cancelled) == 1 && valueIn(after, overCount) == 1;
    };
    for (int turn = 0; turn < 1000 && !isCounted(); ++turn) {
        changes.next(std::chrono::milliseconds(10));
    }
    const std::pair<const char*, double> expected[] = {
        {"public_address_announcements_total{outcome=\"cancelled\"}", 1},
        {"public_address_announcements_total{outcome=\"finished\"}", 0},
        {"public_address_operations_sent_total{operation=\"playMessage\"}", 1},
        {cancelled, 1},
        {"public_address_operations_sent_total{operation=\"setSinkGain\"}", 0},
        {overCount, 1},
        {"public_address_panel_operation_duration_seconds_count", 3},
        {"public_address_panel_operation_duration_seconds_bucket{le=\"+Inf\"}", 3},
        {"public_address_panel_http_requests_total{method=\"PUT\",route=\"/sinks/{id}/gain\","
         "status=\"404\"}",
         1},
    };
    for (const auto& [series, value] : expected) {
        EXPECT_EQ(valueIn(after, series), value) << series;
    }
    connection.link().stop();
    EXPECT_EQ(valueIn(metrics.text(services, router, 0), "public_address_synced"), 0);
}

TEST(MetricsEndpointTest, ServesWhatItIsGiven) {
    bool isHealthy = false;
    const pametrics::MetricsEndpoint endpoint(
        "127.0.0.1:0", [] { return "a 1\n"; }, [&] { return isHealthy; });
    httplib::Client client("127.0.0.1", endpoint.port());
    EXPECT_EQ(client.Get("/metrics")->body, "a 1\n");
    EXPECT_EQ(client.Get("/healthz")->status, 503);
    isHealthy = true;
    EXPECT_EQ(client.Get("/healthz")->status, 200);
    EXPECT_EQ(client.Get("/")->status, 404);
    EXPECT_EQ(client.Post("/metrics", "x", "text/plain")->status, 413);
    for (const std::string& address :
         {std::string("127.0.0.1"), std::string("127.0.0.1:x"), std::string("192.0.2.1:0"),
          "127.0.0.1:" + std::to_string(endpoint.port())}) {
        EXPECT_THROW(pametrics::MetricsEndpoint(
                         address, [] { return ""; }, [] { return true; }),
                     std::runtime_error)
            << address;
    }
}

/// A proxy on this machine passes on what comes from elsewhere.
TEST(PanelMetricsTest, AreForThisMachineAndForTheToken) {
    for (const bool isBehindProxy : {false, true}) {
        PanelSettings settings;
        settings.server.scenario = PA_TESTS "/simserver/stations/small.json";
        settings.metricsToken = "0123456789abcdef";
        settings.isBehindProxy = isBehindProxy;
        Panel panel(settings);
        httplib::Client client("127.0.0.1", panel.port());
        const auto status = [&](const std::string& token) {
            return client.Get("/metrics", {{"Authorization", "Bearer " + token}})->status;
        };
        EXPECT_EQ(status("0123456789abcdef"), 200);
        EXPECT_EQ(status("0123456789abcdeF"), isBehindProxy ? 401 : 200);
        EXPECT_EQ(status(""), isBehindProxy ? 401 : 200);
        const auto answer = client.Get("/metrics", {{"Authorization", "Bearer 0123456789abcdef"}});
        EXPECT_EQ(answer->get_header_value("Content-Type"),
                  "text/plain; version=0.0.4; charset=utf-8");
    }
}

TEST(DurationCounts, AddUp) {
    using std::chrono::milliseconds;
    pametrics::DurationCounts durations;
    for (const int ms : {1, 2, 3, 20'000}) {
        durations.add(milliseconds(ms));
    }
    const auto histogram = durations.histogram();
    EXPECT_EQ(histogram.bucket[0].cumulative_count, 1U) << "a bound is within its bucket";
    EXPECT_EQ(histogram.bucket[1].cumulative_count, 2U);
    EXPECT_EQ(histogram.bucket[2].cumulative_count, 3U);
    EXPECT_EQ(histogram.bucket[12].cumulative_count, 3U);
    EXPECT_EQ(histogram.bucket[13].cumulative_count, 4U);
    EXPECT_DOUBLE_EQ(histogram.sample_sum, 20.006);
}

}  // namespace
