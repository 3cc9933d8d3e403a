// SPDX-License-Identifier: Apache-2.0
#include <regex>
#include <set>
#include <sys/stat.h>

#include "client/resources.h"
#include "panel/Panel.h"
#include "panel/access/UserFile.h"
#include "panel/http/Router.h"
#include "tests/panel/ApiDescription.h"
#include "tests/panel/apiFixture.h"
#include "tests/support/TestFolder.h"
#include "tests/support/tables.h"

namespace {

using namespace papanel;

const ApiDescription& description() {
    static const ApiDescription api(std::filesystem::path(PA_TESTS) / "../docs/panel-api.yaml");
    return api;
}

const Json& schemaNamed(const std::string& name) {
    return description().document()["components"]["schemas"].at(name);
}

std::string lower(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(), [](char c) { return std::tolower(c); });
    return text;
}

/// Calls `visit(path, method, operation)` for each one that is described.
template <class Visit>
void forEachOperation(Visit visit) {
    for (const auto& path : description().document()["paths"].items()) {
        for (const auto& operation : path.value().items()) {
            if (operation.key() != "parameters") {
                visit(path.key(), operation.key(), operation.value());
            }
        }
    }
}

bool hasParameter(const Json& owner, const std::string& name) {
    const Json parameters = owner.value("parameters", Json::array());
    return std::any_of(parameters.begin(), parameters.end(), [&](const Json& parameter) {
        return description().resolved(parameter)["name"] == name;
    });
}

TEST(ApiDescriptionTest, FindsWhatIsWrong) {
    const ApiDescription api(Json::parse(R"({"components": {"schemas": {
        "Base": {"type": "object", "required": ["a"], "properties": {"a": {"type": "integer"}}},
        "Both": {"allOf": [{"$ref": "#/components/schemas/Base"},
                           {"type": "object", "required": ["b"],
                            "properties": {"b": {"type": "string", "nullable": true}}}]},
        "List": {"type": "array", "minItems": 1, "maxItems": 2,
                 "items": {"type": "number", "minimum": 0, "maximum": 1}},
        "Text": {"type": "string", "pattern": "^[a-z]+$", "enum": ["on", "off", "5"]},
        "Map": {"type": "object", "additionalProperties": {"type": "boolean"}},
        "Any": {"type": "object"}}}})"));
    expectTable([&](const std::string& given) {
        const std::size_t space = given.find(' ');
        const Json schema = {{"$ref", "#/components/schemas/" + given.substr(0, space)}};
        return api.fault(Json::parse(given.substr(space)), schema);
    });
}

TEST(OpenApi, HasTheRoutesWithTheirRoles) {
    const auto line = [](const std::string& method, const std::string& path,
                         const std::string& role, const std::string& type, bool hasToken,
                         bool hasKey, bool hasId) {
        return method + ' ' + path + ' ' + role + ' ' + type + (hasToken ? " token" : "") +
               (hasKey ? " key" : "") + (hasId ? " id" : "");
    };
    std::set<std::string> expected;
    for (const Route& route : allRoutes()) {
        const char* const roles[] = {"open", "monitor", "operator"};
        const std::string path = route.pattern;
        const bool isUnsafe = route.method != std::string("GET");
        expected.insert(line(lower(route.method), path, roles[static_cast<int>(route.access)],
                             route.contentType, isUnsafe && route.access != Access::Open,
                             operates(route), path.find("{id}") != std::string::npos));
    }
    std::set<std::string> described;
    std::set<std::string> ids;
    const Json& document = description().document();
    forEachOperation([&](const std::string& path, const std::string& method, const Json& op) {
        const Json security = op.value("security", document["security"]);
        const Json body = op.value("requestBody", Json{{"content", {{"application/json", {}}}}});
        described.insert(line(method, path, security.empty() ? "open" : op.value("x-role", ""),
                              body["content"].items().begin().key(),
                              !security.empty() && security[0].contains("csrf"),
                              hasParameter(op, "Idempotency-Key"),
                              hasParameter(document["paths"][path], "id")));
        EXPECT_TRUE(ids.insert(op["operationId"]).second) << op["operationId"];
    });
    EXPECT_EQ(described, expected);
    const std::string text = document.dump();
    const std::regex reference(R"re("\$ref":"#([^"]*)")re");
    for (std::sregex_iterator at(text.begin(), text.end(), reference), end; at != end; ++at) {
        EXPECT_TRUE(document.contains(Json::json_pointer((*at)[1]))) << (*at)[1];
    }
}

/// A record without a value for people is as a schema of the client's records: each member of the
/// one is a member of the other, of its type.
template <class Record>
void expectDescribed(const std::string& name, std::initializer_list<const char*> others = {},
                     paclient::JsonTexts texts = paclient::JsonTexts::Beside) {
    const Json record = paclient::toJson(Record(), texts);
    std::set<std::string> described;
    for (const auto& property : schemaNamed(name)["properties"].items()) {
        described.insert(property.key());
    }
    std::set<std::string> members(others.begin(), others.end());
    Json schema = schemaNamed(name);
    schema.erase("required");  // what the gateway adds is not there
    EXPECT_EQ(description().fault(record, schema, name), "");
    for (const auto& member : record.items()) {
        members.insert(member.key());
    }
    EXPECT_EQ(described, members) << name;
}

TEST(OpenApi, HasTheMembersOfTheRecords) {
    using namespace paclient;
    expectDescribed<PaZone>("Zone", {"group", "sinkIds", "announcement"});
    expectDescribed<PaSource>("Source", {"faultySince", "faultyBefore"});
    expectDescribed<PaSink>("Sink", {"faultySince", "faultyBefore"});
    expectDescribed<TTSVocalizer>("Voice");
    expectDescribed<AnnouncementRequest>("AnnouncementStarted");
    expectDescribed<AnyTrigger>("Trigger");
    expectDescribed<PaTrigger>("HardwareTrigger");
    expectDescribed<PaSelector>("Selector");
    expectDescribed<TTSDictionary>("TtsItem");
    expectDescribed<ScheduleEntry>("Schedule");
    expectDescribed<TTSVocalizer>("SpokenText", {}, JsonTexts::None);
    expectDescribed<ScheduleDefinition>("ScheduleDefinition", {}, JsonTexts::None);
    expectDescribed<SourceLock>("Lock", {"heldBy", "user", "page"});
    expectDescribed<LinkReport>("LinkReport");
}

// ---------------------------------------------------------------------------------------- answers

/// The whole way of a request but for the network. Each answer is compared with the description.
struct OpenApiTest : ApiTest {
    OpenApiTest() {
        events.start(all);
        const ApiReply begun =
            ask("POST", "/session", R"({"user": "ann", "password": "correct horse"})");
        session["x-csrf-token"] = begun.body["csrf"].get<std::string>();
        const std::string cookie = begun.headers.front().second;
        session["cookie"] = cookie.substr(0, cookie.find(';'));
    }
    ~OpenApiTest() override { events.stop(); }

    using Headers = std::map<std::string, std::string>;

    ApiReply ask(const std::string& method, const std::string& target, const std::string& body = "",
                 const Headers& others = {}) {
        HttpRequest request;
        request.head.method = method;
        request.head.target = "/api/v1" + target;
        Headers headers = others;
        headers.insert(session.begin(), session.end());
        headers.insert(
            {{"content-type", "application/json"}, {"idempotency-key", std::to_string(++asked)}});
        request.head.headers.insert(headers.begin(), headers.end());
        request.head.contentLength = body.size();
        request.readBody = [&body](std::size_t /*maxBytes*/) { return body; };
        ApiReply reply = router(request);
        compare(method, target, body, reply);
        return reply;
    }

    /// The request of a line of a table, "METHOD TARGET BODY".
    ApiReply askLine(const std::string& line) {
        std::istringstream words(line);
        std::string method;
        std::string target;
        std::string body;
        words >> method >> target >> std::ws;
        std::getline(words, body, '\0');
        return ask(method, target, body);
    }

    void compare(const std::string& method, const std::string& target, const std::string& body,
                 const ApiReply& reply) {
        const std::string name = method + ' ' + target + ' ' + body;
        const auto& route = *routes.find(method, parseTarget(target).parts).route;
        const Json& operation =
            description().document()["paths"].at(route.pattern).at(lower(method));
        const std::string status = std::to_string(reply.status);
        const bool isDescribed = operation["responses"].contains(status);
        ASSERT_TRUE(isDescribed || reply.status >= 400) << name << ": " << status;
        const Json& response =
            description().resolved(operation["responses"][isDescribed ? status : "default"]);
        seen.insert(lower(method) + ' ' + route.pattern + ' ' + status);
        if (!isDescribed) {
            const std::string code =
                '`' + reply.body.at("error").at("code").get<std::string>() + "` (";
            EXPECT_NE(codes.find(code + status + ')'), std::string::npos) << reply.body;
        }
        const std::string type = reply.contentType.empty()
                                     ? "application/json"
                                     : reply.contentType.substr(0, reply.contentType.find(';'));
        if (!response.contains("content")) {
            EXPECT_TRUE(reply.body.is_null() && reply.bytes.empty()) << name;
            return;
        }
        ASSERT_TRUE(response["content"].contains(type)) << name << ": " << type;
        if (type == "application/json") {
            const Json value = reply.stream ? Json::parse(wholeStream(reply)) : reply.body;
            EXPECT_EQ(description().fault(value, response["content"][type]["schema"]), "") << name;
        }
        if (isDescribed && operation.contains("requestBody") &&
            route.contentType == std::string("application/json")) {
            const Json& schema = operation["requestBody"]["content"]["application/json"]["schema"];
            EXPECT_EQ(description().fault(Json::parse(body), schema), "") << name;
        }
    }

    static std::filesystem::path ownersOnly(const std::filesystem::path& file) {
        chmod(file.c_str(), 0600);
        return file;
    }

    static std::string wholeStream(const ApiReply& reply) {
        std::string text;
        reply.stream([&](const std::string& part) { return text += part, true; },
                     [] { return false; });
        return text;
    }

    const TestFolder folder;
    UserFile users{ownersOnly(folder.write("users",
                                           "ann:operator:$y$j75$VvvIR0ZnlSzPQHj1WddHe.$/"
                                           "v11QCVZvNuwk0aAQ.rNHHcpFfQOdAam1iPSGt7qrlB\n"))};
    Sessions sessionsOfUsers{&users};
    AudioStore store;
    Services all{connection, events, sessionsOfUsers, &users, audit,           answers,
                 locks,      store,  announcements,   faults, scheduleNumbers, stop};
    const RouteTable routes{allRoutes()};
    Router router{all, allRoutes(), {}};
    Headers session;
    int asked = 0;
    std::set<std::string> seen;  // answers, as "get /zones 200"
    const std::string codes =
        schemaNamed("Error")["properties"]["error"]["properties"]["code"]["description"];
};

TEST_F(OpenApiTest, DescribesEveryAnswer) {
    const auto askTable = [this](const std::string& text) {
        std::istringstream lines(text);
        for (std::string line; std::getline(lines, line);) {
            if (line.front() != '#') {
                askLine(line.substr(0, line.find(" |")));
            }
        }
    };
    askTable(readTable("panel/tables/api.txt", "AreAnsweredByWhatTheServerConfirms"));
    askTable(tableOfTest());
    const Json preview = ask("POST", "/previews", R"({"text": "x"})").body;
    const std::string where = "/previews/" + preview.at("id").get<std::string>();
    ask("GET", where, "", {{"range", "bytes=0-9"}});
    ask("GET", where, "", {{"range", "bytes=99999999-"}});
    ask("POST", "/uploads?name=x.wav", ask("GET", where).bytes, {{"content-type", "audio/wav"}});
    ask("POST", "/simulation/disconnect");
    ask("DELETE", "/session");
    ask("GET", "/zones");

    std::set<std::string> missing;
    forEachOperation([&](const std::string& path, const std::string& method, const Json& op) {
        for (const auto& response : op["responses"].items()) {
            const std::string answer = method + ' ' + path + ' ' + response.key();
            if (response.key() != "default" && seen.count(answer) == 0) {
                missing.insert(answer);
            }
        }
    });
    // Only a server of the real kind has it.
    EXPECT_EQ(missing, std::set<std::string>{"get /tts-items/{id} 200"});
}

TEST_F(OpenApiTest, DescribesWhatIsRefused) {
    const auto askAll = [this](const std::string& body, const Headers& headers) {
        for (const Route& route : routes.routes()) {
            const std::string target =
                std::regex_replace(route.pattern, std::regex("\\{id\\}"), "1");
            if (target != "/session") {
                EXPECT_NE(ask(route.method, target, body, headers).status, 500) << target;
            }
        }
    };
    askAll("{}", {{"cookie", ""}});
    askAll("{}", {{"x-csrf-token", ""}});
    askAll("{}", {{"idempotency-key", ""}});
    askAll("{}", {{"content-type", "text/plain"}});
    askAll("{", {});
    askAll("[[]]", {});
    EXPECT_EQ(ask("PUT", "/sinks/1/gain", R"({"level": -3, "level": -4})").status, 400);
    EXPECT_EQ(ask("POST", "/schedules/import", R"([{"Id": 1}, {"Id": 2}])").status, 200);
    connection.link().stop();
    askAll("", {});
    ask("POST", "/session", R"({"user": "ann"})");
    ask("POST", "/session", R"({"user": "ann", "password": "correct cow"})");
    for (const char* const status : {"400", "401", "403", "415", "503"}) {
        EXPECT_EQ(seen.count(std::string("put /sources/{id}/lock ") + status), 1U) << status;
    }
}

TEST_F(OpenApiTest, DescribesTheEvents) {
    const ApiReply stream = ask("GET", "/events");
    const std::set<std::string> wanted = {"announcements update", "locks update",
                                          "schedules update",     "sinks update",
                                          "triggers delete",      "zones update"};
    std::set<std::string> names;  // of events and changes
    const auto read = [&](const std::string& event) {
        const std::size_t named = event.find("event: ");
        const std::size_t filled = event.find("\ndata: ", named);
        if (named == std::string::npos || filled == std::string::npos) {
            return true;
        }
        const std::string name = event.substr(named + 7, filled - named - 7);
        const Json data = Json::parse(event.substr(filled + 7));
        names.insert(name);
        if (name == "snapshot") {
            EXPECT_EQ(description().fault(data, schemaNamed("Snapshot")), "");
            for (const char* const line :
                 {"PUT /sinks/1/gain {\"level\": -3}", "PUT /sources/1/lock",
                  R"(POST /schedules {"paZones": ["Hall"], "announcementType": 2,
                     "dictionaryItems": [12], "startYear": 2030, "startMonth": 1, "startDay": 1,
                     "endYear": 2030, "endMonth": 1, "endDay": 9, "dayMask": 127})",
                  R"(POST /announcements {"zones": ["Hall"], "items": [12]})"}) {
                askLine(line);
            }
            const Json made = ask("POST", "/triggers", R"({"sourceId": 7, "priority": 1})").body;
            ask("DELETE", "/triggers/" + made.at("id").dump());
        } else if (name == "changes") {
            EXPECT_EQ(description().fault(data, schemaNamed("Changes")), "");
            for (const Json& change : data["changes"]) {
                const std::string kind = change["kind"];
                names.insert(kind + ' ' + change["op"].get<std::string>());
                const Json& schema = schemaNamed("Snapshot")["properties"][kind]["items"];
                EXPECT_EQ(change["op"] == "update"
                              ? description().fault(change["record"], schema)
                              : std::string(change.contains("id") ? "" : "no id"),
                          "")
                    << change;
            }
        }
        return !std::includes(names.begin(), names.end(), wanted.begin(), wanted.end());
    };
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    stream.stream(read, [&] { return std::chrono::steady_clock::now() > end; });
    EXPECT_TRUE(std::includes(names.begin(), names.end(), wanted.begin(), wanted.end()))
        << testing::PrintToString(names);
}

}  // namespace
