// SPDX-License-Identifier: Apache-2.0
// The load of many open pages: processor time and memory of the gateway with its simulated server,
// and the time from a change at the server to each page.
#include <CLI/CLI.hpp>
#include <arpa/inet.h>
#include <array>
#include <atomic>
#include <csignal>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <list>
#include <nlohmann/json.hpp>
#include <poll.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include "bench/processStatus.h"
#include "bench/resultTable.h"
#include "panel/Panel.h"
#include "simserver/EmbeddedEndpoint.h"
#include "simserver/SimControl.h"
#include "simserver/station/StationFile.h"
#include "util/AtEnd.h"
#include "util/Descriptor.h"
#include "util/TemporaryFolder.h"

namespace {

using Clock = std::chrono::steady_clock;
using nlohmann::json;

constexpr int selectors = 1000;  // each changes once in a while, so that its time is known

struct Load {
    int pages = 200;
    int changes = 200;  // in a second
    int seconds = 20;
    int zones = 1000;
    int sinks = 2000;
};

/// What the gateway's process and that of the pages share.
struct Shared {
    std::atomic<int> port{0};
    std::atomic<bool> isLoaded{false};
    std::atomic<int> changes{0};
    std::array<std::atomic<std::int64_t>, selectors + 1> changedNS{};  // by selector
};

std::int64_t nowNS() {
    return std::chrono::nanoseconds(Clock::now().time_since_epoch()).count();
}

std::string stationText(const Load& load) {
    json station = {{"name", "Large"}, {"dstNo", 1}};
    for (const char* const list : {"voices", "dictionary", "recordings", "triggers"}) {
        station[list] = json::array();
    }
    for (int zone = 1; zone <= load.zones; ++zone) {
        station["zones"].push_back({{"id", "Platform " + std::to_string(zone)}});
    }
    for (int sink = 1; sink <= load.sinks; ++sink) {
        station["sinks"].push_back(
            {{"id", sink},
             {"location", "Platform, north end"},
             {"label", "Speakers " + std::to_string(sink)},
             {"ipAddress", "10.0.0.1"},
             {"type", 1},
             {"zones", {"Platform " + std::to_string(sink % load.zones + 1)}}});
    }
    station["sources"].push_back(
        {{"id", 1}, {"location", ""}, {"label", "Mic"}, {"ipAddress", ""}, {"type", 1}});
    for (int selector = 1; selector <= selectors; ++selector) {
        station["selectors"].push_back({{"id", selector},
                                        {"source", 1},
                                        {"label", "Selector " + std::to_string(selector)},
                                        {"type", 3},
                                        {"number", "1"},
                                        {"zones", {"Platform 1"}}});
    }
    return station.dump();
}

/// The gateway's process: changes one selector after the other, at an even pace.
void runGateway(const Load& load, Shared& shared) {
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    const pautil::TemporaryFolder folder("pages-bench");
    const auto scenario = folder.path() / "station.json";
    std::ofstream(scenario) << stationText(load);
    auto endpoint = std::make_unique<simserver::EmbeddedEndpoint>(simserver::loadStation(scenario),
                                                                  simserver::Options());
    std::filesystem::remove(scenario);
    simserver::SimControl& control = *endpoint->simControl();
    papanel::Panel panel({}, std::move(endpoint));
    shared.port = panel.port();
    auto next = Clock::now();
    for (int change = 0;;) {
        next += std::chrono::nanoseconds(1'000'000'000 / load.changes);
        std::this_thread::sleep_until(next);
        if (shared.isLoaded) {
            const int selector = change % selectors + 1;
            shared.changedNS[static_cast<std::size_t>(selector)] = nowNS();
            control.setSelector(selector, 2 - change / selectors % 2);
            shared.changes = ++change;
        }
    }
}

int connected(int port) {
    const int socket = ::socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<std::uint16_t>(port));
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    if (connect(socket, reinterpret_cast<sockaddr*>(&address), sizeof(address)) != 0) {
        throw std::runtime_error("the gateway does not answer");
    }
    return socket;
}

std::string cookieOf(int port) {
    const pautil::Descriptor socket(connected(port));
    const std::string request = "GET /api/v1/session HTTP/1.0\r\nHost: localhost\r\n\r\n";
    send(socket.number(), request.data(), request.size(), 0);
    std::array<char, 4096> bytes{};
    const ssize_t count = recv(socket.number(), bytes.data(), bytes.size(), MSG_WAITALL);
    const std::string answer(bytes.data(), static_cast<std::size_t>(std::max<ssize_t>(count, 0)));
    const std::size_t begin = answer.find("papanel-");
    return answer.substr(begin, answer.find(';', begin) - begin);
}

/// A page: reads the numbers of the selectors in the changes, and when they have changed.
struct Page {
    explicit Page(int connection) : socket(connection) {}

    void take(const Shared& shared, std::vector<double>& latenciesMS) {
        const std::int64_t now = nowNS();
        const std::string begin = R"("kind":"selectors","op":"update","record":{"id":)";
        std::size_t at = 0;
        while ((at = received.find(begin)) != std::string::npos) {
            const std::size_t number = at + begin.size();
            const std::size_t end = received.find(',', number);
            if (end == std::string::npos) {
                received.erase(0, at);
                return;
            }
            const auto selector = std::stoul(received.substr(number, end - number));
            latenciesMS.push_back(static_cast<double>(now - shared.changedNS.at(selector)) / 1e6);
            received.erase(0, end);
        }
        received.erase(0, received.size() - std::min(received.size(), begin.size()));
    }

    pautil::Descriptor socket;
    std::string received;
    std::size_t bytes = 0;
};

/// Reads what the pages receive until the time is over.
void readPages(std::list<Page>& pages, const Shared& shared, Clock::time_point until,
               std::vector<double>& latenciesMS) {
    std::vector<pollfd> polled;
    for (const Page& page : pages) {
        polled.push_back({page.socket.number(), POLLIN, 0});
    }
    static std::array<char, 1 << 18> bytes;
    while (Clock::now() < until) {
        poll(polled.data(), polled.size(), 10);
        auto page = pages.begin();
        for (const pollfd& each : polled) {
            if (each.revents != 0) {
                const ssize_t count = recv(each.fd, bytes.data(), bytes.size(), 0);
                if (count <= 0) {
                    throw std::runtime_error("the gateway has ended the stream of a page");
                }
                page->received.append(bytes.data(), static_cast<std::size_t>(count));
                page->bytes += static_cast<std::size_t>(count);
                page->take(shared, latenciesMS);
            }
            ++page;
        }
    }
}

void measure(const Load& load, Shared& shared, pid_t gateway) {
    constexpr auto settling = std::chrono::seconds(3);
    while (shared.port == 0) {
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    std::this_thread::sleep_for(settling);
    const std::string id = std::to_string(gateway);
    const long emptyKB = bench::statusNumber(id, "VmRSS");
    const std::string request =
        "GET /api/v1/events HTTP/1.1\r\nHost: localhost\r\nCookie: " + cookieOf(shared.port) +
        "\r\n\r\n";
    std::list<Page> pages;
    for (int count = 0; count < load.pages; ++count) {
        const pautil::Descriptor& socket = pages.emplace_back(connected(shared.port)).socket;
        send(socket.number(), request.data(), request.size(), 0);
    }
    std::vector<double> latencies;
    const auto opened = Clock::now();
    readPages(pages, shared, opened + settling, latencies);  // their snapshots
    shared.isLoaded = true;
    readPages(pages, shared, Clock::now() + settling, latencies);
    latencies.clear();
    const int changesBefore = shared.changes;
    const std::int64_t beforeNS = bench::processorNS(gateway);
    const auto start = Clock::now();
    readPages(pages, shared, start + std::chrono::seconds(load.seconds), latencies);
    const std::chrono::duration<double> passed = Clock::now() - start;
    const double processor =
        static_cast<double>(bench::processorNS(gateway) - beforeNS) / 1e9 / passed.count();
    if (latencies.empty()) {
        throw std::runtime_error("the pages have received nothing");
    }
    std::printf("pages %d, changes %d/s, %d zones, %d sinks, %d s\n", load.pages, load.changes,
                load.zones, load.sinks, load.seconds);
    std::printf("processor %.1f %% of one\n", 100 * processor);
    std::printf("memory %ld KB, without pages %ld KB, at most %ld KB, threads %ld\n",
                bench::statusNumber(id, "VmRSS"), emptyKB, bench::statusNumber(id, "VmHWM"),
                bench::statusNumber(id, "Threads"));
    std::printf("changes made %d, received by a page %zu\n", shared.changes - changesBefore,
                latencies.size() / pages.size());
    std::printf("ms from a change to a page: median %.1f, 95 %% %.1f, 99 %% %.1f, at most %.1f\n",
                bench::quantile(latencies, 0.5), bench::quantile(latencies, 0.95),
                bench::quantile(latencies, 0.99), bench::quantile(latencies, 1));
}

}  // namespace

int main(int argc, char** argv) {
    Load load;
    CLI::App app("Measures the gateway with many open pages");
    app.add_option("--pages", load.pages, "Open pages (default 200)");
    app.add_option("--changes", load.changes, "Changes in a second (default 200)");
    app.add_option("--seconds", load.seconds, "Length of the measurement (default 20)");
    app.add_option("--zones", load.zones, "Of the station (default 1000)");
    app.add_option("--sinks", load.sinks, "Of the station (default 2000)");
    CLI11_PARSE(app, argc, argv);
    auto& shared = *new (mmap(nullptr, sizeof(Shared), PROT_READ | PROT_WRITE,
                              MAP_SHARED | MAP_ANONYMOUS, -1, 0)) Shared;
    const pid_t gateway = fork();
    try {
        if (gateway == 0) {
            runGateway(load, shared);
        }
        const pautil::AtEnd end([gateway] {
            kill(gateway, SIGKILL);
            waitpid(gateway, nullptr, 0);
        });
        measure(load, shared, gateway);
        return 0;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "pages_bench: %s\n", error.what());
        return 1;
    }
}
