#pragma once

#include <string>
#include <vector>

/// @file
/// Runs load cases, each in a process of its own, and prints one table of what they measure.

/// A measurement of a case, and its target.
struct Measurement {
    std::string what;
    std::string measured;
    std::string wanted;
};

struct LoadCase {
    const char* name;
    std::vector<Measurement> (*run)();
};

/// Runs the cases that the command line names, or all. The first measurement of each is followed by
/// the largest number of threads of its process and its peak memory.
/// @return the exit code of the process: 0 when every case has come to its end
int runLoadCases(int argc, char** argv, const std::vector<LoadCase>& cases);
