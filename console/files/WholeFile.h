#pragma once

#include <filesystem>
#include <string>

namespace console {

/// A file that appears whole or not at all: it is filled beside its place, under a name of its own,
/// and then put there. What stood there before stays until then.
class WholeFile {
public:
    /// Begins the file, which shows that its folder can be written.
    /// @throws Failure when it cannot be begun, or its place is taken by something else than a file
    explicit WholeFile(const std::filesystem::path& place);
    WholeFile(const WholeFile&) = delete;
    WholeFile& operator=(const WholeFile&) = delete;
    /// Removes what has not been put in its place.
    ~WholeFile();

    /// Fills it with a text.
    /// @throws Failure when that cannot be written
    void fillWith(const std::string& text);

    /// Fills it with a copy of another file.
    /// @throws Failure when that cannot be read, or this not be written
    void fillFrom(const std::filesystem::path& original);

    /// Where it is being filled.
    const std::filesystem::path& draft() const { return draft_; }

    /// Puts it in its place.
    /// @throws Failure when that is impossible
    void complete();

private:
    std::filesystem::path place_;
    std::filesystem::path draft_;
};

}  // namespace console
