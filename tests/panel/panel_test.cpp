// SPDX-License-Identifier: Apache-2.0
#include "panel/Panel.h"

#include <gtest/gtest.h>
#include <httplib.h>
#include <set>

#include "framework/log.h"
#include "panel/Arguments.h"
#include "panel/Housekeeping.h"
#include "tests/support/TestFolder.h"
#include "tests/support/tables.h"

using namespace papanel;
using paclient::Json;

namespace {

PanelSettings settingsOf(const std::string& station) {
    PanelSettings settings;
    settings.server.scenario = std::string(PA_TESTS) + "/simserver/stations/" + station;
    return settings;
}

/// A server that is never reached.
struct UnreachableServer : paclient::Endpoint, palink::Transport {
    explicit UnreachableServer(const std::string& problem) : problem_(problem) {}
    palink::Transport& transport() override { return *this; }
    [[nodiscard]] std::string name() const override { return "mqtt://page.example"; }
    [[nodiscard]] std::optional<paclient::LinkReport> report() const override {
        paclient::LinkReport report;
        report.problem = problem_;
        return report;
    }
    void start(palink::ServerEventSink& /*sink*/) override {}
    void stop() override {}
    bool send(const pa::Operation& /*operation*/) override { return false; }
    void meterLevel(bool /*subscribe*/, int /*element*/) override {}
    bool requestRoundTrip(std::uint64_t /*number*/) override { return false; }
    palink::UploadResult upload(const std::string& /*from*/, const std::string& /*to*/) override {
        return {};
    }

private:
    const std::string& problem_;
};

/// The events of a page, read on a thread of its own until the server ends them.
class PageStream {
public:
    PageStream(int port, httplib::Headers headers)
        : client_("127.0.0.1", port), thread_([this, headers = std::move(headers)] {
              client_.set_read_timeout(30);
              client_.Get("/api/v1/events", headers, [this](const char* data, std::size_t size) {
                  const std::lock_guard guard(lock_);
                  received_.append(data, size);
                  changed_.notify_all();
                  return true;
              });
              const std::lock_guard guard(lock_);
              hasEnded_ = true;
              changed_.notify_all();
          }) {}
    ~PageStream() {
        client_.stop();
        thread_.join();
    }

    /// Waits for the next event with one of these names.
    /// @return its data; null when the stream has ended before, or none comes
    Json next(const std::set<std::string>& names) {
        std::unique_lock guard(lock_);
        while (true) {
            std::size_t end = std::string::npos;
            changed_.wait_for(guard, std::chrono::seconds(20), [&] {
                end = received_.find("\n\n", read_);
                return end != std::string::npos || hasEnded_;
            });
            if (end == std::string::npos) {
                return nullptr;
            }
            const std::string event = received_.substr(read_, end - read_);
            read_ = end + 2;
            const std::size_t name = event.find("event: ") + 7;
            const std::size_t data = event.find("\ndata: ");
            if (data != std::string::npos && names.count(event.substr(name, data - name)) != 0) {
                return Json::parse(event.substr(data + 7));
            }
        }
    }

    /// Waits until the connection to the server is synced, or is not.
    void awaitSync(bool isSynced) {
        Json status;
        do {
            status = next({"snapshot", "status"});
            status = status.contains("status") ? status["status"] : status;
        } while (!status.is_null() && status["synced"] != isSynced);
        EXPECT_FALSE(status.is_null());
    }

private:
    httplib::Client client_;
    std::mutex lock_;
    std::condition_variable changed_;
    // Guarded by lock_.
    std::string received_;
    std::size_t read_ = 0;
    bool hasEnded_ = false;

    std::thread thread_;
};

/// A browser with the session of the user "local".
struct Browser {
    httplib::Client client;
    httplib::Headers session;

    /// Waits until the panel has its server.
    explicit Browser(const Panel& panel) : client("127.0.0.1", panel.port()) {
        client.set_read_timeout(30);
        const auto answer = client.Get("/api/v1/session");
        const std::string cookie = answer->get_header_value("Set-Cookie");
        session = {{"Cookie", cookie.substr(0, cookie.find(';'))},
                   {"X-CSRF-Token", Json::parse(answer->body)["csrf"].get<std::string>()}};
        PageStream page(panel.port(), session);
        page.awaitSync(true);
    }

    [[nodiscard]] httplib::Headers withKey(const std::string& key) const {
        httplib::Headers headers = session;
        headers.emplace("Idempotency-Key", key);
        return headers;
    }

    Json put(const std::string& path, const Json& body, const std::string& key) {
        return Json::parse(
            client.Put("/api/v1" + path, withKey(key), body.dump(), "application/json")->body);
    }
};

}  // namespace

TEST(PanelArguments, refuseWhatCannotBeUsed) {
    const TestFolder folder;
    const std::string token = folder.path() / "token";
    const auto refusal = [](const std::vector<std::string>& words) {
        return readArguments(words).error;
    };
    const std::string option = "--metrics-token-file";
    EXPECT_EQ(refusal({option, token}), option + ": " + token + " cannot be read");
    folder.write("token", "0123456789abcde\n");
    EXPECT_EQ(refusal({option, token}),
              option + ": " + token + " has no line of 16 characters or more");
    EXPECT_EQ(refusal({"--proxy-address", "page.example"}),
              "--proxy-address: 'page.example' is not an IP address");
    const Arguments arguments =
        readArguments({"--users", "users", "--behind-proxy", "https", "--proxy-address", "0:0::1",
                       "--proxy-address", "192.0.2.1"});
    EXPECT_EQ(arguments.settings.http.proxies, (std::set<std::string>{"192.0.2.1", "::1"}));
}

TEST(Panel, servesThePage) {
    Panel panel(settingsOf("small.json"));
    Browser browser(panel);
    httplib::Client& client = browser.client;
    const auto page = client.Get("/");
    ASSERT_EQ(page->status, 200);
    EXPECT_EQ(page->get_header_value("Content-Type"), "text/html; charset=utf-8");
    EXPECT_EQ(page->get_header_value("X-Content-Type-Options"), "nosniff");
    const std::string policy = page->get_header_value("Content-Security-Policy");
    EXPECT_EQ(policy.find("unsafe"), std::string::npos);
    EXPECT_EQ(policy.rfind("default-src 'self';", 0), 0U) << policy;
    EXPECT_NE(policy.find("frame-ancestors 'none'"), std::string::npos);
    const std::string tag = page->get_header_value("ETag");
    EXPECT_EQ(client.Get("/index.html", {{"If-None-Match", tag}})->status, 304);
    const httplib::Headers zipped = {{"Accept-Encoding", "gzip"}, {"If-None-Match", tag}};
    const auto other = client.Get("/", zipped);  // which the client unpacks
    EXPECT_EQ(other->get_header_value("Content-Encoding"), "gzip");
    EXPECT_EQ(other->get_header_value("Vary"), "Accept-Encoding");
    EXPECT_NE(other->get_header_value("ETag"), tag);
    EXPECT_EQ(other->body, page->body);
    const auto head = client.Head("/");
    EXPECT_EQ(head->get_header_value("Content-Length"), std::to_string(page->body.size()));
    EXPECT_EQ(client.Post("/")->status, 405);
    EXPECT_EQ(client.Post("/metrics")->get_header_value("Allow"), "GET, HEAD");
    EXPECT_EQ(client.Get("/nothing.js")->status, 404);
    EXPECT_EQ(client.Get("/healthz")->body, "ok\n");
    const auto rebound = client.Get("/", {{"Host", "page.example:8088"}});
    EXPECT_EQ(rebound->status, 403);
    EXPECT_EQ(client.Get("/", {{"Host", "localhost:1"}})->status, 200);
}

TEST(Panel, doesEachTaskOfItsHousekeeping) {
    std::vector<std::string> logged;
    pa::setLogSink([&](const pa::LogLine& line) { logged.push_back(line.text); });
    std::string failure = "full";
    int calls = 0;
    Housekeeping housekeeping({[&] {
                                   if (!failure.empty()) {
                                       throw std::runtime_error(failure);
                                   }
                               },
                               [&] { ++calls; }});
    for (const char* const next : {"full", "full", "locked", "", "full"}) {
        failure = next;
        housekeeping.run();
    }
    pa::setLogSink({});
    EXPECT_EQ(calls, 5);
    const std::string text = "housekeeping has failed: ";
    EXPECT_EQ(logged, (std::vector<std::string>{text + "full", text + "locked", text + "full"}));
}

TEST(Panel, statesWhyThereIsNoServer) {
    std::vector<std::string> logged;
    std::string problem = "refused";
    Panel panel({}, std::make_unique<UnreachableServer>(problem));
    const auto reason = [&] {
        httplib::Client client("127.0.0.1", panel.port());
        const std::string cookie = client.Get("/api/v1/session")->get_header_value("Set-Cookie");
        const httplib::Headers session = {{"Cookie", cookie.substr(0, cookie.find(';'))}};
        return Json::parse(client.Get("/api/v1/status", session)->body)["reason"];
    };
    EXPECT_EQ(reason(), "refused");
    pa::setLogSink([&](const pa::LogLine& line) { logged.push_back(line.text); });
    for (const char* const next : {"refused", "refused", "wrong password", "refused"}) {
        problem = next;
        panel.keepHouse();
    }
    pa::setLogSink({});
    EXPECT_EQ(reason(), "refused");
    const std::string text = "no connection to the audio server at mqtt://page.example: ";
    EXPECT_EQ(logged, (std::vector<std::string>{text + "refused", text + "wrong password",
                                                text + "refused"}));
}

TEST(Panel, writesOperationsToTheAuditTrailOnce) {
    Panel panel(settingsOf("small.json"));
    Browser browser(panel);
    const Json gain = {{"level", -7.0}};
    const Json first = browser.put("/sinks/5/gain", gain, "key");
    EXPECT_EQ(first["outcome"], "done") << first;
    EXPECT_EQ(browser.put("/sinks/5/gain", gain, "key"), first);
    EXPECT_EQ(browser.put("/sinks/5/gain", {{"level", -8.0}}, "key")["error"]["code"], "conflict");
    EXPECT_EQ(browser.put("/sinks/77/gain", gain, "other")["error"]["code"], "not-found");
    const auto elsewhere = browser.client.Post(
        "/api/v1/session", {{"Sec-Fetch-Site", "cross-site"}}, "{}", "application/json");
    EXPECT_EQ(elsewhere->status, 403);
    const Json entries =
        Json::parse(browser.client.Get("/api/v1/audit", browser.session)->body)["entries"];
    ASSERT_EQ(entries.size(), 2U) << entries;
    EXPECT_EQ(entries[0]["outcome"], "not-found");
    EXPECT_EQ(entries[1]["outcome"], "done");
    EXPECT_EQ(entries[1]["operation"], "set sink gain");
    EXPECT_EQ(entries[1]["target"], "5");
    EXPECT_EQ(entries[1]["user"], "local");
    EXPECT_EQ(entries[1]["address"], "127.0.0.1");
}

/// They would take the place of the operators' own ones.
TEST(Panel, beginsNoSessionForOtherPages) {
    Panel panel(settingsOf("small.json"));
    Browser browser(panel);
    for (const auto& [site, status] : {std::pair("same-origin", 200), std::pair("none", 200),
                                       std::pair("same-site", 403), std::pair("cross-site", 403)}) {
        const auto answer = browser.client.Get("/api/v1/session", {{"Sec-Fetch-Site", site}});
        EXPECT_EQ(answer->status, status) << site;
        EXPECT_EQ(answer->has_header("Set-Cookie"), status == 200);
    }
}

/// The address that a proxy names counts when the proxy is trusted, and the last such only.
TEST(Panel, believesItsProxy) {
    for (const bool isTrusted : {true, false}) {
        PanelSettings settings = settingsOf("small.json");
        settings.isBehindProxy = true;
        settings.isEncrypted = true;
        if (isTrusted) {
            settings.http.proxies = {"127.0.0.1", "10.0.0.1"};
        }
        Panel panel(settings);
        Browser browser(panel);
        browser.session.emplace("X-Forwarded-For", "1.1.1.1, 2.2.2.2");
        browser.session.emplace("X-Forwarded-For", "10.0.0.1");
        browser.session.emplace("Host", "page.example");
        browser.put("/sinks/5/gain", {{"level", -7.0}}, "key");
        const auto answer = browser.client.Get("/api/v1/audit", browser.session);
        EXPECT_EQ(Json::parse(answer->body)["entries"][0]["address"],
                  isTrusted ? "2.2.2.2" : "127.0.0.1");
    }
}

TEST(Panel, sendsWhatChangesToAllPages) {
    Panel panel(settingsOf("small.json"));
    Browser browser(panel);
    PageStream first(panel.port(), browser.session);
    PageStream second(panel.port(), browser.session);
    const Json snapshot = first.next({"snapshot"});
    EXPECT_TRUE(snapshot["status"]["connected"]);
    const std::size_t sinks = snapshot["sinks"].size();
    EXPECT_GT(sinks, 0U);
    EXPECT_EQ(second.next({"snapshot"})["sinks"].size(), sinks);

    browser.put("/sinks/5/gain", {{"level", -7.0}}, "key");
    const auto gainIn = [](const Json& batch) {
        for (const Json& change : batch["changes"]) {
            if (change["kind"] == "sinks" && change["record"]["id"] == 5) {
                return change["record"]["outputGain"].get<double>();
            }
        }
        return 0.0;
    };
    for (PageStream* const page : {&first, &second}) {
        double gain = 0;
        while (gain != -7.0) {
            const Json batch = page->next({"changes"});
            ASSERT_FALSE(batch.is_null());
            gain = gainIn(batch);
        }
    }

    browser.client.Post("/api/v1/simulation/disconnect", browser.withKey("lost"), "{}",
                        "application/json");
    EXPECT_EQ(first.next({"snapshot"})["sinks"].size(), sinks) << "when it is back";
    browser.client.Delete("/api/v1/session", browser.session);
    EXPECT_EQ(second.next({"session"})["ends"], "logout");
    EXPECT_TRUE(first.next({"changes after the end"}).is_null());
}

TEST(Panel, sendsTriggersOfBothKindsWithTheSameNumber) {
    Panel panel(settingsOf("operated.json"));
    Browser browser(panel);
    PageStream page(panel.port(), browser.session);
    page.next({"snapshot"});
    const auto changed = [&] {
        std::string text;
        Json batch;
        while (text.empty() && !(batch = page.next({"changes"})).is_null()) {
            for (const Json& change : batch["changes"]) {
                const bool isDeleted = change["op"] == "delete";
                const Json& record = isDeleted ? change : change["record"];
                if (change["kind"] == "triggers" && record["id"] == 1) {
                    text += isDeleted ? "deleted " : record["kind"].get<std::string>() + ' ';
                }
            }
        }
        return text;
    };
    browser.client.Post("/api/v1/triggers", browser.withKey("make"),
                        R"({"sourceId": 9, "priority": 1})", "application/json");
    EXPECT_EQ(changed(), "deleted hardware software ");
    browser.client.Delete("/api/v1/triggers/1", browser.withKey("delete"));
    EXPECT_EQ(changed(), "deleted hardware ");
}
