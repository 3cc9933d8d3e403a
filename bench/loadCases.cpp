#include "bench/loadCases.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

#include "bench/processStatus.h"

namespace {

constexpr const char* inThisProcess = "--in-this-process";  // the name of a case follows

void printRow(const std::string& what, const std::string& measured, const std::string& wanted,
              const std::string& threads, const std::string& peak) {
    std::printf("%-58s | %-22s | %-20s | %7s | %8s\n", what.c_str(), measured.c_str(),
                wanted.c_str(), threads.c_str(), peak.c_str());
    std::fflush(stdout);
}

/// Never returns: threads of the library, and calls that wait, may not come to an end.
[[noreturn]] void runHere(const LoadCase& chosen) {
    std::atomic<long> mostThreads{0};
    std::thread([&mostThreads] {
        while (true) {
            const long others = bench::statusNumber("self", "Threads") - 1;
            mostThreads = std::max(mostThreads.load(), others);
            std::this_thread::sleep_for(std::chrono::milliseconds(20));
        }
    }).detach();
    const std::vector<Measurement> measurements = chosen.run();
    std::string threads;
    std::string peak;
    for (const Measurement& measurement : measurements) {
        if (threads.empty()) {
            threads = std::to_string(
                std::max(mostThreads.load(), bench::statusNumber("self", "Threads") - 1));
            peak = std::to_string(bench::statusNumber("self", "VmHWM") / 1024) + " MiB";
        } else {
            threads = peak = "\"";
        }
        printRow(measurement.what, measurement.measured, measurement.wanted, threads, peak);
    }
    std::_Exit(0);
}

/// @return whether it has come to its end
bool runInChild(const LoadCase& chosen) {
    const pid_t child = fork();
    if (child == 0) {
        execl("/proc/self/exe", "load case", inThisProcess, chosen.name, nullptr);
        std::_Exit(127);
    }
    int status = -1;
    const bool ended = waitpid(child, &status, 0) == child && status == 0;
    if (!ended) {
        printRow(chosen.name, "has failed", "", "", "");
    }
    return ended;
}

}  // namespace

int runLoadCases(int argc, char** argv, const std::vector<LoadCase>& cases) {
    std::vector<std::string> names(argv + 1, argv + argc);
    const bool here = !names.empty() && names.front() == inThisProcess;
    const auto isNamed = [&names](const LoadCase& candidate) {
        return std::find(names.begin(), names.end(), candidate.name) != names.end();
    };
    if (!names.empty() && std::none_of(cases.begin(), cases.end(), isNamed)) {
        std::fprintf(stderr, "no such case; there are:");
        for (const LoadCase& known : cases) {
            std::fprintf(stderr, " %s", known.name);
        }
        std::fprintf(stderr, "\n");
        return 1;
    }
    if (!here) {
        printRow("case", "measured", "wanted", "threads", "peak");
    }
    bool allEnded = true;
    for (const LoadCase& candidate : cases) {
        if (!names.empty() && !isNamed(candidate)) {
            continue;
        }
        if (here) {
            runHere(candidate);
        }
        allEnded = runInChild(candidate) && allEnded;
    }
    return allEnded ? 0 : 1;
}
