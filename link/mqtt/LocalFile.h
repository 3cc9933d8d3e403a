// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <fstream>
#include <string>

namespace palink {

/// A file of this device that is read in parts.
class LocalFile {
public:
    /// @throws std::runtime_error when it cannot be read
    explicit LocalFile(const std::string& path);

    [[nodiscard]] std::int64_t size() const { return size_; }

    /// In hexadecimal digits of lower case.
    [[nodiscard]] const std::string& sha256() const { return sha256_; }

    /// @return the bytes from an offset on
    /// @throws std::runtime_error when it cannot be read, or has become shorter
    std::string read(std::int64_t offset, std::size_t bytes);

private:
    const std::string path_;
    std::ifstream file_;
    std::int64_t size_ = 0;
    std::string sha256_;
};

}  // namespace palink
