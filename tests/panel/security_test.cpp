// SPDX-License-Identifier: Apache-2.0
#include <csignal>
#include <list>
#include <sys/resource.h>
#include <sys/stat.h>

#include "framework/log.h"
#include "panel/Panel.h"
#include "tests/panel/RawClient.h"
#include "tests/support/TestFolder.h"
#include "tests/support/tables.h"

namespace {

using namespace papanel;

/// An operator "ann" with the password "correct horse", a monitor "bob" with "another horse".
constexpr const char* users =
    "ann:operator:$y$j75$VvvIR0ZnlSzPQHj1WddHe.$/v11QCVZvNuwk0aAQ.rNHHcpFfQOdAam1iPSGt7qrlB\n"
    "bob:monitor:$y$j75$VvvIR0ZnlSzPQHj1WddHe.$t4SNhjFNBd2bvYLjfYQvBxWbVPlrfl6g6FCAge9yzk2\n";

bool isUnsafe(const Route& route) {
    return route.method != std::string("GET");
}

/// An address that the route has.
std::string pathOf(const Route& route) {
    return "/api/v1" + std::regex_replace(route.pattern, std::regex("\\{[^}]*\\}"), "9");
}

/// The code of an error, else the status.
std::string codeOf(const std::string& answer) {
    const Json body = Json::parse(answer.substr(std::min(answer.find("\r\n\r\n"), answer.size())),
                                  nullptr, false);
    return body.is_object() && body.contains("error") ? body["error"]["code"].get<std::string>()
                                                      : answer.substr(9, 3);
}

struct SecurityTest : testing::Test {
    SecurityTest() {
        pa::setLogSink([](const pa::LogLine&) {});
        PanelSettings settings;
        settings.server.scenario = PA_TESTS "/simserver/stations/small.json";
        settings.users = folder.write("users", users);
        chmod(settings.users.c_str(), 0600);
        settings.audit = folder.path() / "audit.db";
        settings.http.limits.body = std::chrono::milliseconds(200);
        panel = std::make_unique<Panel>(settings);
    }
    ~SecurityTest() override {
        panel.reset();
        pa::setLogSink({});
    }

    std::string exchange(const std::string& request) const {
        const RawClient client(panel->port());
        client.send(request);
        return client.receive();
    }

    static std::string request(const std::string& method, const std::string& path,
                               const std::string& headers = "", const std::string& body = "") {
        return method + ' ' + path + " HTTP/1.1\r\nHost: localhost\r\nConnection: close\r\n" +
               headers + "Content-Length: " + std::to_string(body.size()) + "\r\n\r\n" + body;
    }

    std::string ask(const std::string& method, const std::string& path,
                    const std::string& headers = "", const std::string& body = "") const {
        return exchange(request(method, path, headers, body));
    }

    struct LoggedIn {
        std::string cookie;  // headers
        std::string token;
    };

    std::string logIn(const std::string& user, const std::string& password) const {
        return ask("POST", "/api/v1/session", "Content-Type: application/json\r\n",
                   Json{{"user", user}, {"password", password}}.dump());
    }

    /// Begin of the session's cookie.
    std::string cookie() const { return "papanel-" + std::to_string(panel->port()) + '='; }

    LoggedIn loggedIn(const std::string& user, const std::string& password) const {
        const std::string answer = logIn(user, password);
        std::smatch found;
        EXPECT_TRUE(
            std::regex_search(answer, found,
                              std::regex("Set-Cookie: (" + cookie() +
                                         "[0-9a-f]{64}); HttpOnly; SameSite=Strict; Path=/\r")))
            << answer;
        const Json body = Json::parse(answer.substr(answer.find("\r\n\r\n")));
        return {"Cookie: " + found[1].str() + "\r\n",
                "X-CSRF-Token: " + body["csrf"].get<std::string>() + "\r\n"};
    }

    const TestFolder folder;
    std::unique_ptr<Panel> panel;
};

TEST_F(SecurityTest, EachRouteIsOpenToItsRoleOnly) {
    const LoggedIn ann = loggedIn("ann", "correct horse");
    const LoggedIn bob = loggedIn("bob", "another horse");
    const std::string stale = "Cookie: " + cookie() + std::string(64, 'a') + "\r\n";
    int operations = 0;
    for (const Route& route : allRoutes()) {
        SCOPED_TRACE(route.method + pathOf(route));
        const auto code = [&](const std::string& headers) {
            return codeOf(ask(route.method, pathOf(route), headers));
        };
        EXPECT_EQ(operates(route), route.operation != nullptr);
        EXPECT_TRUE(!operates(route) || route.access == Access::Operator);
        operations += operates(route) ? 1 : 0;
        EXPECT_EQ(code(ann.cookie + ann.token + "Sec-Fetch-Site: cross-site\r\n"), "csrf");
        if (route.access == Access::Open) {
            EXPECT_STREQ(route.pattern, "/session");
            continue;
        }
        EXPECT_EQ(code(""), "not-logged-in");
        EXPECT_EQ(code(stale + ann.token), "not-logged-in");
        if (isUnsafe(route)) {
            EXPECT_EQ(code(ann.cookie), "csrf");
            EXPECT_EQ(code(ann.cookie + bob.token), "csrf");
        }
        if (route.access == Access::Operator) {
            EXPECT_EQ(code(bob.cookie + bob.token), "forbidden");
        }
        if (operates(route)) {
            EXPECT_EQ(code(ann.cookie + ann.token), "bad-request") << "without a key";
        }
    }
    EXPECT_GE(operations, 20);
    EXPECT_NE(ask("GET", "/api/v1/audit", bob.cookie).find(R"({"entries":[],"more":false})"),
              std::string::npos);
}

TEST_F(SecurityTest, ABodyThatCannotBeTakenDoesNothing) {
    const LoggedIn ann = loggedIn("ann", "correct horse");
    const std::string headers = ann.cookie + ann.token + "Idempotency-Key: k\r\nContent-Type: ";
    std::list<RawClient> endless;
    for (const Route& route : allRoutes()) {
        if (!isUnsafe(route)) {
            continue;
        }
        SCOPED_TRACE(route.method + pathOf(route));
        const auto code = [&](const std::string& type, const std::string& body) {
            return codeOf(ask(route.method, pathOf(route), headers + type + "\r\n", body));
        };
        const std::string type = route.contentType;
        EXPECT_EQ(code("text/plain", "{}"), "unsupported-media-type");
        if (type == "application/json") {
            for (const std::string& body :
                 {std::string("{"), std::string("{} {}"), std::string("\xFF"),
                  std::string(4000, '['), "{\"a\":" + std::string(1000, '{')}) {
                EXPECT_EQ(code(type, body), "bad-request") << body;
            }
        }
        const std::string start = std::string(route.method) + ' ' + pathOf(route) +
                                  " HTTP/1.1\r\nHost: localhost\r\n" + headers + type +
                                  "\r\nContent-Length: ";
        EXPECT_EQ(codeOf(exchange(start + std::to_string(route.maxBody + 1) + "\r\n\r\n")),
                  "too-large");
        EXPECT_EQ(codeOf(exchange(start + "0\r\nTransfer-Encoding: chunked\r\n\r\n0\r\n\r\n")),
                  "bad-request");
        endless.emplace_back(panel->port()).send(start + "3\r\n\r\n{}");
    }
    for (const RawClient& client : endless) {
        EXPECT_EQ(codeOf(client.receive()), "too-slow");
    }
    EXPECT_NE(ask("GET", "/api/v1/audit", ann.cookie).find(R"({"entries":[],"more":false})"),
              std::string::npos);
}

TEST_F(SecurityTest, NoPathLeadsOutOfThePage) {
    const LoggedIn ann = loggedIn("ann", "correct horse");
    while (ask("GET", "/healthz").substr(9, 3) != "200") {  // until then a zone may be unknown
    }
    expectTable([&](const std::string& path) {
        const std::string answer = ask("GET", path, ann.cookie);
        EXPECT_EQ(answer.find("root:"), std::string::npos) << answer;
        return answer.substr(9, 3);
    });
}

TEST_F(SecurityTest, TextsOfARequestBecomeNoHeaders) {
    const LoggedIn ann = loggedIn("ann", "correct horse");
    const std::string answers[] = {
        ask("GET", "/api/v1/zones/a%0d%0aX-Evil:%201", ann.cookie),
        ask("GET", "/api/v1/audit/export?format=csv%0d%0aX-Evil:1", ann.cookie),
        ask("GET", "/%0d%0aX-Evil:%201"),
        ask("GET", "/api/v1/session", "Cookie: " + cookie() + "%0d%0aX-Evil: 1; X-Evil: 1\r\n"),
        ask("DELETE", "/api/v1/triggers/9%0d%0aX-Evil:1",
            ann.cookie + ann.token + "Idempotency-Key: k%0d%0aX-Evil:1\r\n"),
        logIn("ann\r\nX-Evil: 1", "correct horse"),
    };
    for (const std::string& answer : answers) {
        EXPECT_EQ(answer.rfind("HTTP/1.1 ", 0), 0U);
        EXPECT_EQ(answer.find("\r\nX-Evil"), std::string::npos) << answer;
        EXPECT_NE(answer.find("Content-Security-Policy: default-src "), std::string::npos);
        EXPECT_NE(answer.find("X-Content-Type-Options: nosniff"), std::string::npos);
    }
    EXPECT_EQ(codeOf(exchange("GET / HTTP/1.1\r\nHost: evil.example\r\nConnection: close\r\n\r\n")),
              "forbidden");
}

TEST_F(SecurityTest, AStreamEndsWithItsSession) {
    const LoggedIn ann = loggedIn("ann", "correct horse");
    const RawClient events(panel->port());
    events.send(request("GET", "/api/v1/events", ann.cookie));
    EXPECT_NE(events.receive("\"synced\":true").find("event: snapshot"), std::string::npos);
    const RawClient levels(panel->port());
    levels.send(request("GET", "/api/v1/sources/9/levels", ann.cookie));
    EXPECT_NE(levels.receive("retry:").find("text/event-stream"), std::string::npos);
    EXPECT_EQ(codeOf(ask("DELETE", "/api/v1/session", ann.cookie + ann.token)), "204");
    EXPECT_NE(events.receive().find("event: session\ndata: {\"ends\":\"logout\"}"),
              std::string::npos);
    int readings = 0;  // that were on the way
    while (readings < 100 && levels.receive("}").find('}') != std::string::npos) {
        ++readings;
    }
    EXPECT_LT(readings, 100);
    EXPECT_EQ(codeOf(ask("GET", "/api/v1/zones", ann.cookie)), "not-logged-in");
}

TEST_F(SecurityTest, NothingIsDoneThatTheAuditTrailCannotHold) {
    const LoggedIn ann = loggedIn("ann", "correct horse");
    const RawClient events(panel->port());
    events.send(request("GET", "/api/v1/events", ann.cookie));
    events.receive("\"synced\":true");
    const auto operate = [&](const char* method, const std::string& path, const std::string& body) {
        return ask(method, "/api/v1" + path,
                   ann.cookie + ann.token + "Idempotency-Key: " + path.substr(1, 7) +
                       "\r\nContent-Type: application/json\r\n",
                   body);
    };
    const auto setGain = [&] { return operate("PUT", "/sinks/5/gain", R"({"level":-3})"); };
    std::signal(SIGXFSZ, SIG_IGN);
    rlimit before{};
    getrlimit(RLIMIT_FSIZE, &before);
    const rlimit full{0, before.rlim_max};
    setrlimit(RLIMIT_FSIZE, &full);
    EXPECT_EQ(codeOf(setGain()), "audit-unavailable");
    EXPECT_EQ(codeOf(operate("DELETE", "/sources/1/lock", "")), "not-found") << "it is looked for";
    setrlimit(RLIMIT_FSIZE, &before);
    EXPECT_NE(setGain().find(R"("outcome":"done")"), std::string::npos) << "not \"as-before\"";
    const std::string rows = ask("GET", "/api/v1/audit?user=ann", ann.cookie);
    EXPECT_NE(rows.find(R"("address":"127.0.0.1","operation":"set sink gain","target":"5",)"
                        R"("request":"{\"level\":-3}","outcome":"done")"),
              std::string::npos)
        << rows;
    EXPECT_EQ(rows.find("\"id\":2"), std::string::npos);
}

TEST_F(SecurityTest, PasswordsAreTriedSlowly) {
    for (int failure = 0; failure < 5; ++failure) {
        EXPECT_EQ(codeOf(logIn("ann", "wrong horse")), "wrong-credentials");
    }
    const std::string refused = logIn("ann", "correct horse");
    EXPECT_EQ(codeOf(refused), "throttled");
    EXPECT_NE(refused.find("Retry-After: 1\r\n"), std::string::npos) << refused;
    for (const char* const body : {"{}", R"({"user":1,"password":"x"})", "null",
                                   R"({"user":"ann","password":"x","role":"operator"})"}) {
        EXPECT_EQ(
            codeOf(ask("POST", "/api/v1/session", "Content-Type: application/json\r\n", body)),
            "bad-request");
    }
}

}  // namespace
