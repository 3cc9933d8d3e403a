// SPDX-License-Identifier: Apache-2.0
#include <httplib.h>
#include <list>
#include <set>

#include "metrics/MetricsEndpoint.h"
#include "panel/Panel.h"
#include "panel/PanelMetrics.h"
#include "panel/http/Router.h"
#include "tests/panel/RawClient.h"
#include "tests/panel/apiFixture.h"
#include "tests/panel/hostTime.h"
#include "tests/support/metricRows.h"

namespace {

using namespace papanel;

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
    std::set<std::string> documented = documentedRows("## All panels");
    documented.merge(documentedRows("## Panels whose audio server is on a broker"));
    EXPECT_EQ(rows, documented);
}

TEST_F(MetricsTest, CountWhatHappens) {
    const char* const cancelled =
        "public_address_operations_sent_total{operation=\"cancelMessage\"}";
    const char* const overCount = "public_address_changes_total{kind=\"announcementDelete\"}";
    const std::string before = metrics.text(services, router, 7);
    EXPECT_EQ(valueIn(before, "public_address_synced"), 1);
    EXPECT_EQ(valueIn(before, "public_address_record_latency_seconds_count{pause=\"yes\"}"), 3);
    EXPECT_GE(valueIn(before, "public_address_record_latency_seconds_count{pause=\"no\"}"), 9);
    pass(std::chrono::seconds(90));
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
    EXPECT_EQ(after.find("outcome=\"playing\""), std::string::npos) << "not over";
    EXPECT_GE(valueIn(after, "public_address_synced_seconds"), 90);
    connection.link().stop();
    pass(std::chrono::seconds(60));
    after = metrics.text(services, router, 0);
    EXPECT_EQ(valueIn(after, "public_address_synced"), 0);
    EXPECT_EQ(valueIn(after, "public_address_synced_seconds"), 0);
    EXPECT_GE(valueIn(after, "public_address_away_seconds"), 60);
}

struct MetricsEndpointTest : testing::Test {
    bool isHealthy = true;
    const std::string large = std::string(20'000'000, 'a') + '\n';  // more than sockets hold
    const pametrics::MetricsEndpoint endpoint{"127.0.0.1:0", [this] { return large; },
                                              [this] { return isHealthy; }};
    httplib::Client client{"127.0.0.1", endpoint.port()};
};

TEST_F(MetricsEndpointTest, ServesWhatItIsGiven) {
    EXPECT_EQ(client.Get("/metrics?now")->body, large);
    EXPECT_EQ(client.Get("/healthz")->status, 200);
    isHealthy = false;
    EXPECT_EQ(client.Get("/healthz")->status, 503);
    EXPECT_EQ(client.Get("/")->status, 404);
    EXPECT_EQ(client.Head("/metrics")->get_header_value("Content-Length"), "20000001");
    EXPECT_EQ(client.Post("/metrics", "x", "text/plain")->status, 405);
    EXPECT_EQ(client.Get("/metrics", {{"X", std::string(20'000, 'x')}})->status, 431);
    const pametrics::MetricsEndpoint other(
        "[::1]:0", [] { return "6"; }, [] { return true; });
    EXPECT_EQ(httplib::Client("::1", other.port()).Get("/metrics")->body, "6");
    for (const std::string& address :
         {std::string("127.0.0.1"), std::string("127.0.0.1:x"), std::string(":80"),
          std::string("127.0.0.1:65536"), std::string("192.0.2.1:0"),
          "127.0.0.1:" + std::to_string(endpoint.port())}) {
        EXPECT_THROW(pametrics::MetricsEndpoint(
                         address, [] { return ""; }, [] { return true; }),
                     std::runtime_error)
            << address;
    }
}

TEST_F(MetricsEndpointTest, WaitsForNoClient) {
    std::list<RawClient> slow;
    for (unsigned i = 0; i < pametrics::MetricsEndpoint::mostClients / 4; ++i) {
        slow.emplace_back(endpoint.port()).send("GET /metrics HTTP/1.1\r\n");
    }
    slow.back().send("Host: a\r\n\r\n");  // and then it reads nothing
    EXPECT_EQ(client.Get("/healthz")->status, 200);
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
    using std::chrono::microseconds;
    pa::DurationCounts durations;
    for (const int us : {99, 100, 101, 20'000'000}) {
        durations.add(microseconds(us));
    }
    durations.add(microseconds(400), 3);
    pametrics::Exposition all;
    all.histogram("a", "A", durations.read(), {{"b", "c"}});
    const std::string text = all.text();
    const std::pair<const char*, double> expected[] = {
        {"0.0001", 2}, {"0.00025", 3}, {"0.0005", 6}, {"10", 6}, {"+Inf", 7}};
    for (const auto& [bound, count] : expected) {
        EXPECT_EQ(valueIn(text, std::string("a_bucket{b=\"c\",le=\"") + bound + "\"}"), count);
    }
    EXPECT_NEAR(valueIn(text, "a_sum{b=\"c\"}"), 20.0015, 1e-9);
}

}  // namespace
