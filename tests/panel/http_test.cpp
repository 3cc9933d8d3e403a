// SPDX-License-Identifier: Apache-2.0
#include <cstring>
#include <gtest/gtest.h>
#include <httplib.h>
#include <list>

#include "panel/http/ApiError.h"
#include "panel/http/BodySpace.h"
#include "panel/http/HttpServer.h"
#include "panel/http/RouteTable.h"
#include "panel/http/Target.h"
#include "panel/http/byteRange.h"
#include "panel/http/contentCoding.h"
#include "tests/panel/RawClient.h"
#include "tests/support/TestFolder.h"
#include "tests/support/tables.h"
#include "tests/support/thrownBy.h"

using namespace papanel;

namespace {

constexpr const char* get = "GET /a HTTP/1.1\r\nHost: x\r\n\r\n";

/// A server whose answers are the paths.
HttpSettings quickSettings() {
    using std::chrono::milliseconds;
    HttpSettings settings;
    settings.limits.head = settings.limits.body = settings.limits.idle = milliseconds(50);
    settings.limits.write = milliseconds(200);
    settings.limits.bytesPerSecond = std::size_t{1} << 30U;
    return settings;
}

ApiReply echo(const HttpRequest& request) {
    ApiReply reply;
    reply.body["target"] = request.head.target;
    reply.body["body"] = request.readBody(10);
    return reply;
}

std::string statusOf(const std::string& answer) {
    return answer.substr(0, answer.find("\r\n"));
}

}  // namespace

TEST(Http, readsHeadsStrictly) {
    expectTable([](std::string text) {
        const std::pair<const char*, std::string> codes[] = {
            {"^", "\r\n"}, {"<LF>", "\n"}, {"<NUL>", std::string(1, '\0')}};
        for (const auto& [code, bytes] : codes) {
            for (std::size_t at = 0; (at = text.find(code)) != std::string::npos;) {
                text.replace(at, std::strlen(code), bytes);
            }
        }
        const RequestHead head = parseHead(text);
        return head.method + ' ' + head.target + ", " + std::to_string(head.contentLength) +
               " bytes" + (head.keepsAlive() ? ", keeps alive" : "");
    });
}

TEST(Http, findsRoutes) {
    const auto route = [](const char* method, const char* pattern, const char* name) {
        return Route{method, pattern, Access::Monitor, Effect::Reads, name, nullptr};
    };
    const RouteTable table({route("GET", "/sources/{id}", "one"), route("GET", "/sources", "all"),
                            route("GET", "/sources/export", "export"),
                            route("DELETE", "/sources/{id}/lock", "release"),
                            route("PUT", "/sources/{id}/lock", "take")});
    expectTable([&table](const std::string& request) -> std::string {
        const std::size_t space = request.find(' ');
        const Target target = parseTarget(request.substr(space + 1));
        try {
            const auto match = table.find(request.substr(0, space), target.parts);
            std::string text = match.route->operation;
            for (const std::string& part : match.parts) {
                text += ' ' + part;
            }
            return text;
        } catch (const ApiError& error) {
            return error.status == 405 ? "only " + error.details["allow"].get<std::string>()
                                       : error.what();
        }
    });
}

TEST(Http, servesParts) {
    expectTable([](const std::string& range) {
        RequestHead head;
        head.method = "GET";
        head.headers = {{"range", range}};
        ApiReply reply;
        reply.bytes = "0123456789";
        applyRange(head, reply);
        const auto& [name, value] = reply.headers.back();
        return std::to_string(reply.status) + ' ' + reply.bytes +
               (name == "Content-Range" ? ", " + value : "");
    });
}

TEST(Http, compressesForThoseWhoTakeIt) {
    expectTable([](const std::string& accepted) {
        RequestHead head;
        head.headers = {{"accept-encoding", accepted}};
        ApiReply reply;
        reply.contentType = "text/csv";
        reply.bytes = std::string(5000, 'x');
        compress(head, reply);
        const bool isZipped = reply.headers.back().second == "gzip";
        EXPECT_EQ(isZipped ? unzipped(reply.bytes) : reply.bytes, std::string(5000, 'x'));
        return isZipped ? "gzip" : "as it is";
    });
    EXPECT_THROW(unzipped(zipped("content", 9).substr(0, 12)), std::runtime_error);
}

TEST(Http, limitsTheBodiesThatAreComing) {
    constexpr std::size_t half = BodySpace::bytesOfUser / 2;
    BodySpace space;
    const auto isFree = [&](const std::string& user, std::size_t bytes) {
        const auto take = [&] { static_cast<void>(space.take(user, bytes)); };
        return thrownBy<ApiError>(take) == "nothing thrown";
    };
    BodySpace::Share first = space.take("ann", half);
    const BodySpace::Share second = space.take("ann", half - BodySpace::longBytes);
    EXPECT_TRUE(isFree("ann", BodySpace::longBytes) && !isFree("ann", BodySpace::longBytes + 1));
    const BodySpace::Share third = space.take("bob", 2 * half);
    EXPECT_FALSE(isFree("cid", BodySpace::longBytes + 1));
    first.reset();
    EXPECT_TRUE(isFree("cid", half) && isFree("ann", half) &&
                !isFree("ann", half + 3 * BodySpace::longBytes));
}

TEST(Http, keepsConnectionsAndAnswersInOrder) {
    const HttpServer server(quickSettings(), echo);
    const RawClient client(server.port());
    client.send(
        "POST /1 HTTP/1.1\r\nHost: x\r\nContent-Length: 3\r\n\r\nabcHEAD /2 HTTP/1.1\r\n"
        "Host: x\r\n\r\nGET /3 HTTP/1.1\r\nHost: x\r\nConnection: close\r\n\r\n");
    const std::string answers = client.receive();
    const std::size_t third = answers.find(R"({"target":"/3","body":""})");
    EXPECT_NE(answers.find(R"({"target":"/1","body":"abc"}HTTP/1.1 200)"), std::string::npos);
    EXPECT_EQ(answers.find("\"/2\""), std::string::npos);
    EXPECT_NE(third, std::string::npos) << answers;
    httplib::Client other("127.0.0.1", server.port());
    EXPECT_EQ(other.Post("/p", "12345678901", "text/plain")->status, 413);
    EXPECT_EQ(other.Post("/p", "1234567890", "text/plain")->status, 200);
}

/// What clients send that is too long, too slow or never complete.
TEST(Http, limitsWhatClientsTake) {
    HttpSettings settings = quickSettings();
    settings.limits.headBytes = 200;
    settings.limits.connections = 60;
    std::mutex lock;
    std::condition_variable changed;
    int ended = 0;
    const HttpServer server(settings, [&](const HttpRequest& request) {
        if (request.head.target == "/fault") {
            throw std::runtime_error("a detail");
        }
        if (request.head.target != "/stream") {
            return echo(request);
        }
        ApiReply reply;
        reply.contentType = "text/plain";
        reply.stream = [&](const Write& write, const auto& /*stopped*/) {
            while (write(std::string(100'000, 'x'))) {
            }
            const std::lock_guard guard(lock);
            ++ended;
            changed.notify_all();
        };
        return reply;
    });
    const std::pair<std::string, std::string> cases[] = {
        {"GET /" + std::string(300, 'a'), "HTTP/1.1 431 Request Header Fields Too Large"},
        {"GET /a HTTP/1.1\r\nHost", ""},
        {"POST /a HTTP/1.1\r\nHost: x\r\nContent-Length: 11\r\n\r\n",
         "HTTP/1.1 413 Payload Too Large"},
        {"POST /a HTTP/1.1\r\nHost: x\r\nContent-Length: 10\r\n\r\nabc",
         "HTTP/1.1 408 Request Timeout"},
        {"\r\n\r\n", "HTTP/1.1 400 Bad Request"},
    };
    for (const auto& [sent, answer] : cases) {
        const RawClient client(server.port());
        client.send(sent);
        EXPECT_EQ(statusOf(client.receive()), answer) << sent;
    }
    httplib::Client client("127.0.0.1", server.port());
    const auto failed = client.Get("/fault");
    EXPECT_EQ(failed->status, 500);
    EXPECT_EQ(failed->body, R"({"error":{"code":"internal","text":"the request has failed"}})");
    EXPECT_EQ(failed->get_header_value("X-Content-Type-Options"), "nosniff");

    const RawClient lazy(server.port());
    lazy.send("GET /stream HTTP/1.1\r\nHost: x\r\n\r\n");
    std::unique_lock guard(lock);
    EXPECT_TRUE(changed.wait_for(guard, std::chrono::seconds(20), [&] { return ended == 1; }));
}

TEST(Http, servesBesideConnectionsThatSendNothing) {
    HttpSettings settings;
    settings.limits.connections = 501;
    HttpServer server(settings, echo);
    std::list<RawClient> idle;
    for (int count = 0; count < 500; ++count) {
        idle.emplace_back(server.port());
    }
    const RawClient busy(server.port());
    busy.send(get);
    EXPECT_EQ(statusOf(busy.receive("}")), "HTTP/1.1 200 OK");
    const RawClient late(server.port());  // one too many
    EXPECT_EQ(statusOf(late.receive()), "HTTP/1.1 503 Service Unavailable");
    EXPECT_EQ(server.connections(), 501U);
    server.requestStop();
    EXPECT_EQ(busy.receive(), "");
}

TEST(Http, endsStreamsAtAStop) {
    std::mutex lock;
    std::condition_variable changed;
    bool isStopping = false;
    HttpServer server({}, [&](const HttpRequest& request) {
        ApiReply reply;
        reply.contentType = "text/event-stream";
        const bool isQuiet = request.head.target == "/quiet";
        reply.stream = [&, isQuiet, begun = false](const Write& write,
                                                   const std::function<bool()>& stopped) mutable {
            EXPECT_TRUE(std::exchange(begun, true) || write("first"));
            std::unique_lock guard(lock);
            changed.wait(guard, [&] { return isStopping; });
            EXPECT_TRUE(stopped());
            EXPECT_TRUE(isQuiet || !write("second"));
        };
        return reply;
    });
    const RawClient client(server.port());
    client.send(get);
    EXPECT_NE(client.receive("first").find("Transfer-Encoding: chunked"), std::string::npos);
    const RawClient quiet(server.port());  // its stream ends as if it were complete
    quiet.send("GET /quiet HTTP/1.1\r\nHost: x\r\n\r\n");
    quiet.receive("first");
    server.requestStop();
    {
        const std::lock_guard guard(lock);
        isStopping = true;
        changed.notify_all();
    }
    EXPECT_EQ(client.receive().find("second"), std::string::npos);
}

TEST(Http, encryptsWithACertificate) {
    const TestFolder folder;
    const std::string certificate = folder.path() / "page.crt";
    HttpSettings settings;
    settings.certificate = certificate;
    settings.key = folder.path() / "page.key";
    EXPECT_THROW(HttpServer(settings, echo), std::runtime_error);
    const auto makeCertificate = [&] {
        ASSERT_EQ(std::system(("openssl req -x509 -newkey ec -pkeyopt ec_paramgen_curve:P-256 "
                               "-nodes -subj /CN=localhost -days 2 -out " +
                               certificate + " -keyout " + settings.key.string() + " 2> " +
                               (folder.path() / "log").string())
                                  .c_str()),
                  0);
    };
    makeCertificate();
    HttpSettings keyless = settings;
    keyless.key = certificate;
    const std::string refusal = thrownBy<std::runtime_error>([&] { HttpServer(keyless, echo); });
    EXPECT_EQ(refusal.rfind(certificate + " cannot be used: the key of the certificate is ex", 0),
              0U)
        << refusal;
    HttpServer server(settings, [](const HttpRequest& request) {
        EXPECT_TRUE(request.isEncrypted);
        ApiReply reply;
        reply.contentType = "text/plain";
        reply.bytes = std::string(3'000'000, 'x');
        return reply;
    });
    httplib::SSLClient client("localhost", server.port());
    client.set_ca_cert_path(certificate.c_str());
    const auto answer = client.Get("/");
    ASSERT_TRUE(answer) << to_string(answer.error());
    EXPECT_EQ(answer->body.size(), 3'000'000U);
    const RawClient clear(server.port());
    clear.send(get);
    EXPECT_EQ(clear.receive().find("HTTP"), std::string::npos);

    // Another certificate is for connections to come; one that cannot be used, for none.
    client.set_keep_alive(true);
    const auto works = [&](const std::string& trusted) {
        httplib::SSLClient other("localhost", server.port());
        other.set_ca_cert_path(trusted.c_str());
        return static_cast<bool>(other.Get("/"));
    };
    EXPECT_TRUE(client.Get("/"));
    const std::string first = folder.path() / "first.crt";
    std::filesystem::copy(certificate, first);
    makeCertificate();
    server.readCertificate();
    EXPECT_TRUE(works(certificate) && !works(first));
    const std::string second = folder.path() / "second.crt";
    std::filesystem::rename(certificate, second);
    std::filesystem::rename(first, certificate);  // not that of the key
    EXPECT_THROW(server.readCertificate(), std::runtime_error);
    EXPECT_TRUE(works(second) && !works(certificate));
    EXPECT_TRUE(client.Get("/"));  // on its first connection: it trusts the first one only
}
