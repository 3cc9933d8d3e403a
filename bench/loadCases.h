#pragma once

#include <string>
#include <vector>

/// @file
/// Runs load cases, each in a process of its own, and prints one table of what they measure.

/// What a case measures, beside what is wanted.
struct Measurement {
    std::string what;
    std::string measured;
    std::string wanted;
};

struct LoadCase {
    const char* name;
    std::vector<Measurement> (*run)();
};

/// Runs the cases that the command line names, or all. Behind the first measurement of each stand
/// the most threads that its process has had and its peak memory.
/// @return the exit code of the process: 0 when every case has come to its end
int runLoadCases(int argc, char** argv, const std::vector<LoadCase>& cases);
