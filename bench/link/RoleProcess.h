// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "util/Descriptor.h"

namespace bench {

/// A process of this program in a role of roles.h, ended with the object, or with this process.
class RoleProcess {
public:
    /// Starts it, and waits until it is prepared.
    /// @throws std::runtime_error
    explicit RoleProcess(std::vector<std::string> words);
    RoleProcess(const RoleProcess&) = delete;
    RoleProcess& operator=(const RoleProcess&) = delete;
    ~RoleProcess();

    /// Has it do its work.
    void begin();

    /// Waits for the next line.
    /// @param what the word that it begins with
    /// @return the numbers in it
    /// @throws std::runtime_error for another line, and when it has ended
    std::vector<std::int64_t> read(const std::string& what);

    /// Waits for its end.
    /// @throws std::runtime_error unless it has done its work
    void end();

private:
    struct Pipe {
        Pipe();
        int ends[2];
    };

    RoleProcess(std::vector<std::string> words, Pipe input, Pipe output);
    std::string readLine();

    const std::string role_;
    int id_ = 0;
    int input_ = -1;
    const pautil::Descriptor output_;
    std::string rest_;  // read, but not used yet
};

}  // namespace bench
