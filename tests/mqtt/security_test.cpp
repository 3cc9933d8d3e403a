// SPDX-License-Identifier: Apache-2.0
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <gtest/gtest.h>
#include <memory>
#include <regex>
#include <sstream>

#include "link/mqtt/MqttClient.h"
#include "tests/mqtt/BrokerProcess.h"
#include "tests/mqtt/NotingListener.h"
#include "tests/support/tables.h"
#include "tests/support/thrownBy.h"

/// The files of deploy/mosquitto themselves, with other paths and a free port.

namespace {

const std::filesystem::path deployment = PA_DEPLOY_DIR;

void run(const std::string& command) {
    if (std::system((command + " >/dev/null 2>&1").c_str()) != 0) {
        throw std::runtime_error("this fails: " + command);
    }
}

struct SecurityTest : testing::Test {
    /// An authority with its certificates.
    std::filesystem::path authority(const std::string& name, const std::string& hosts = "") const {
        const std::filesystem::path place = folder.path() / name;
        run((deployment / "make-test-ca").string() + " " + place.string() + " " + hosts);
        return place;
    }

    /// The configuration of a broker with these certificates. Each role's password is its name.
    std::string configuration(const std::filesystem::path& certificates,
                              const std::string& more = "") const {
        run("cd " + certificates.string() + "; cp " + deployment.string() +
            "/acl . && touch passwords" + " && for role in server operator monitor;" +
            " do mosquitto_passwd -b passwords $role $role; done");
        std::ostringstream text;
        text << std::ifstream(deployment / "mosquitto.conf").rdbuf() << more;
        return std::regex_replace(std::regex_replace(text.str(), std::regex("listener 8883"),
                                                     "listener {PORT} 127.0.0.1"),
                                  std::regex("/etc/mosquitto/pa"), certificates.string());
    }

    static palink::BrokerOptions options(const BrokerProcess& broker,
                                         const std::filesystem::path& certificates,
                                         const std::string& user) {
        palink::BrokerOptions options =
            palink::parseBrokerUrl("mqtts://localhost:" + std::to_string(broker.port()));
        options.caFile = certificates / "ca.crt";
        options.user = user;
        options.password = user;
        return options;
    }

    /// How the first attempt to connect ends.
    static std::string outcome(const palink::BrokerOptions& options) {
        NotingListener listener;
        palink::MqttClient client(options, "pa-1", listener);
        client.start();
        const std::string text = listener.steps.waitFor("\n");
        return text.substr(0, text.find('\n'));
    }

    const TestFolder folder;
};

TEST_F(SecurityTest, WhoMayConnect) {
    const auto good = authority("good");
    const auto other = authority("other");
    const BrokerProcess broker(configuration(good));
    const auto right = options(broker, good, "operator");
    EXPECT_EQ(outcome(right), "connected");

    const BrokerProcess plain;
    BrokerProcess gone;
    gone.kill();
    const char* const unknown = "refused: the broker's certificate is of an unknown authority";
    const std::pair<std::function<void(palink::BrokerOptions&)>, const char*> rows[] = {
        {[](auto& used) { used.password = "wrong"; },
         "refused: wrong user name or password, or the user \"operator\" may not connect"},
        {[](auto& used) { used.user.clear(); },
         "refused: the broker asks for a user name and a password"},
        {[&](auto& used) { used.caFile = other / "ca.crt"; }, unknown},
        {[](auto& used) { used.caFile.clear(); }, unknown},  // not one of the system's
        {[](auto& used) { used.tls = false, used.caFile.clear(); },
         "disconnected: what answers there has closed the connection: it may not be a broker, or "
         "expect TLS"},
        {[&](auto& used) { used.port = plain.port(); },
         "disconnected: what answers there does not speak TLS"},
        {[&](auto& used) { used.port = gone.port(); },
         "disconnected: cannot connect: Connection refused"},
    };
    for (const auto& [change, expected] : rows) {
        palink::BrokerOptions changed = right;
        change(changed);
        EXPECT_EQ(outcome(changed), expected);
    }
}

TEST_F(SecurityTest, AForkedChildLeavesTheConnectionToItsParent) {
    const auto good = authority("good");
    const BrokerProcess broker(configuration(good));
    NotingListener listener;
    auto client =
        std::make_unique<palink::MqttClient>(options(broker, good, "server"), "pa-1", listener);
    client->start();
    ASSERT_TRUE(listener.reports("connected\n"));
    const pid_t child = fork();
    if (child == 0) {
        client.reset();
        _exit(0);
    }
    int status = -1;
    waitpid(child, &status, 0);
    EXPECT_EQ(status, 0);
    client->publish({"pa/1/status", ""});
    EXPECT_EQ(listener.steps.waitFor("published"), "connected\npublished 16\n");
}

TEST_F(SecurityTest, TheBrokersCertificateMustBeValidAndForTheHost) {
    const auto elsewhere = authority("elsewhere", "pa.example.org 127.0.0.1");
    const BrokerProcess foreign(configuration(elsewhere));
    auto used = options(foreign, elsewhere, "monitor");
    EXPECT_EQ(outcome(used), "refused: the broker's certificate is not for the host localhost");
    used.host = "127.0.0.1";
    EXPECT_EQ(outcome(used), "connected");

    const auto old = authority("old");
    run("cd " + old.string() + " && openssl x509 -x509toreq -in broker.crt -signkey broker.key " +
        "-copy_extensions copyall | openssl x509 -req -CA ca.crt -CAkey ca.key -days -1 " +
        "-copy_extensions copyall -out expired.crt && mv expired.crt broker.crt");
    const BrokerProcess expired(configuration(old));
    EXPECT_EQ(outcome(options(expired, old, "monitor")),
              "refused: the broker's certificate has expired");
}

TEST_F(SecurityTest, ABrokerMayAskForCertificatesOfClients) {
    const auto good = authority("good");
    const auto other = authority("other");
    const BrokerProcess broker(configuration(good, "require_certificate true\n"));
    auto used = options(broker, good, "operator");
    EXPECT_EQ(outcome(used), "refused: the broker asks for a client certificate");
    used.certificateFile = good / "operator.crt";
    used.keyFile = good / "operator.key";
    EXPECT_EQ(outcome(used), "connected");
    used.certificateFile = other / "operator.crt";
    used.keyFile = other / "operator.key";
    EXPECT_EQ(outcome(used), "refused: the broker does not accept the client certificate");
}

TEST_F(SecurityTest, EachRoleHasItsRights) {
    const auto certificates = authority("good");
    const BrokerProcess broker(configuration(certificates));
    struct RoleClient {
        explicit RoleClient(const palink::BrokerOptions& options)
            : role(options.user), client(options, "pa-" + role, listener) {
            listener.whenConnected = [this] { client.subscribe({"pa/#"}, 1); };
            client.start();
        }
        std::string role;
        NotingListener listener;
        palink::MqttClient client;
    };
    RoleClient server(options(broker, certificates, "server"));
    RoleClient operating(options(broker, certificates, "operator"));
    RoleClient monitor(options(broker, certificates, "monitor"));
    RoleClient* const clients[] = {&server, &operating, &monitor};
    ASSERT_TRUE(server.listener.reports("connected\n"));
    server.client.publish({"pa/1/status", "begin", 0, true});
    for (RoleClient* const client : clients) {
        ASSERT_TRUE(client->listener.reports("status = begin\n"));
    }
    const struct {
        const char* topic;
        const char* publishers;
        const char* receivers;
    } rows[] = {
        {"pa/1/status", "server", "server operator monitor"},
        {"pa/1/records/2/-7", "server", "server operator monitor"},
        {"pa/1/levels/4", "server", "server operator monitor"},
        {"pa/1/roundTrips", "server operator monitor", "server"},
        {"pa/1/levelRequests/4", "server operator monitor", "server"},
        {"pa/1/operations/92/17", "server operator", "server"},
        {"pa/1/uploads/begin", "server operator", "server"},
        {"pa/1/uploads/data", "server operator", "server"},
        {"pa/1/control/restart", "server", "server"},
        {"pa/clients/pa-operator/answers", "server", "operator"},
        {"pa/clients/pa-monitor/answers", "server", "monitor"},
        {"pa/1/other", "", ""},
        {"$SYS/broker/x", "", ""},
    };
    const auto contains = [](const std::string& list, const std::string& role) {
        return (" " + list + " ").find(" " + role + " ") != std::string::npos;
    };
    for (const auto& row : rows) {
        for (RoleClient* const publisher : clients) {
            for (RoleClient* const client : clients) {
                client->listener.steps.take();
            }
            const bool isAllowed = contains(row.publishers, publisher->role);
            publisher->client.publish({row.topic, "x"});
            const std::string code = publisher->listener.steps.waitFor("published");
            EXPECT_EQ(code.find("published 135") == std::string::npos, isAllowed)
                << publisher->role << " " << row.topic;
            // What the others have received is there before this.
            server.client.publish({"pa/1/status", "end", 0});
            for (RoleClient* const client : clients) {
                const std::string text = client->listener.steps.waitFor("status = end\n");
                EXPECT_EQ(text.find(std::string(row.topic) + " = x\n") != std::string::npos,
                          isAllowed && contains(row.receivers, client->role))
                    << publisher->role << " to " << client->role << " " << row.topic;
            }
        }
    }
}

TEST_F(SecurityTest, AddressesOfBrokers) {
    expectTable([](const std::string& url) {
        const auto options = palink::parseBrokerUrl(url);
        return options.host + " " + std::to_string(options.port) + (options.tls ? " tls " : " ") +
               options.url();
    });
}

TEST_F(SecurityTest, SecretsComeFromFilesThatNobodyElseReads) {
    palink::BrokerOptions options = palink::parseBrokerUrl("mqtts://localhost");
    const auto read = [&](const std::string& content, const char* mode) {
        const std::string file = folder.write("credentials", content);
        run("chmod " + std::string(mode) + " " + file);
        palink::readCredentials(options, file);
    };
    read("# of the station\nuser = operator\n\npassword =  a = b \r\n", "600");
    EXPECT_EQ(options.user, "operator");
    EXPECT_EQ(options.password, "a = b");
    const auto refused = [](auto call) { return thrownBy<palink::BrokerOptionsError>(call); };
    const std::string place = (folder.path() / "credentials").string();
    EXPECT_EQ(refused([&] { read("user = a\n", "640"); }),
              "others may read the password in " + place + ": chmod 600 it");
    EXPECT_EQ(refused([&] { read("secret\n", "600"); }),
              place + " may have the lines \"user = NAME\" and \"password = TEXT\" only");
    EXPECT_EQ(refused([&] { palink::readCredentials(options, "/none"); }),
              "cannot read /none: No such file or directory");

    const auto made = [&] {
        NotingListener listener;
        const palink::MqttClient client(options, "pa-1", listener);
    };
    options.caFile = "/none";
    EXPECT_NE(refused(made).find("cannot use the certificates of authorities in /none"),
              std::string::npos);
    const auto certificates = authority("good");
    options.caFile = certificates / "ca.crt";
    options.certificateFile = certificates / "operator.crt";
    EXPECT_EQ(refused(made),
              "a client certificate and its private key belong together: one of the "
              "two files is missing");
    options.keyFile = certificates / "monitor.key";
    EXPECT_NE(refused(made).find("cannot use the private key " + options.keyFile.string()),
              std::string::npos);
    options.keyFile = folder.path() / "protected.key";
    run("openssl ec -aes256 -passout pass:secret -in " + certificates.string() +
        "/operator.key -out " + options.keyFile.string());
    EXPECT_NE(refused(made).find("cannot use the private key " + options.keyFile.string()),
              std::string::npos)
        << "without a question on the terminal";
    options.tls = false;
    EXPECT_EQ(refused(made), options.url() + ": authorities and certificates need mqtts://");
}

}  // namespace
