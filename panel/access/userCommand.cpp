// SPDX-License-Identifier: Apache-2.0
#include "panel/access/userCommand.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <fcntl.h>
#include <filesystem>
#include <functional>
#include <istream>
#include <ostream>
#include <sys/file.h>
#include <sys/stat.h>
#include <termios.h>
#include <unistd.h>

#include "panel/access/UserFile.h"
#include "panel/access/passwords.h"
#include "util/AtomicFile.h"
#include "util/Descriptor.h"
#include "util/FileError.h"

namespace papanel {

namespace fs = std::filesystem;

namespace {

enum ExitCode : int { done = 0, wrongUsage = 1, notFound = 3, refused = 4, interrupted = 130 };

struct Failure : std::runtime_error {
    Failure(ExitCode exitCode, const std::string& text)
        : std::runtime_error(text), code(exitCode) {}
    const ExitCode code;
};

struct Streams {
    std::istream& in;
    std::ostream& out;
    std::ostream& errors;
    int terminal;
};

/// What the command line asks for.
struct Words {
    std::string file;
    std::string name;
    std::string role;
};

// -------------------------------------------------------------------------------------- password

/// A terminal that does not echo. An interrupt ends the line: the process would leave the terminal
/// without echo otherwise.
class NoEcho {
public:
    explicit NoEcho(int terminal) : terminal_(terminal) {
        tcgetattr(terminal_, &before_);
        termios hidden = before_;
        hidden.c_lflag &= ~static_cast<tcflag_t>(ECHO | ISIG);
        hidden.c_lflag |= static_cast<tcflag_t>(ECHONL);
        hidden.c_cc[VEOL] = interruptKey();
        tcsetattr(terminal_, TCSANOW, &hidden);
    }
    NoEcho(const NoEcho&) = delete;
    NoEcho& operator=(const NoEcho&) = delete;
    ~NoEcho() { tcsetattr(terminal_, TCSANOW, &before_); }

    /// @throws Failure at an interrupt, and at the end of the input
    std::string line() const {
        std::string text;
        char byte = '\0';
        while (read(terminal_, &byte, 1) == 1) {
            if (byte == '\n') {
                return text;
            }
            if (static_cast<cc_t>(byte) == interruptKey()) {
                break;
            }
            text += byte;
        }
        throw Failure(interrupted, "interrupted");
    }

private:
    cc_t interruptKey() const { return before_.c_cc[VINTR]; }

    const int terminal_;
    termios before_{};
};

std::string askTwice(const Streams& streams) {
    const NoEcho terminal(streams.terminal);
    const auto ask = [&](const char* prompt) {
        streams.errors << prompt << std::flush;
        return terminal.line();
    };
    std::string password = ask("Password: ");
    if (const std::string fault = passwordFault(password); !fault.empty()) {
        throw Failure(wrongUsage, fault);
    }
    if (ask("Again: ") != password) {
        throw Failure(wrongUsage, "the two passwords differ");
    }
    return password;
}

std::string newHash(const Streams& streams) {
    std::string password;
    if (streams.terminal >= 0) {
        password = askTwice(streams);
    } else if (!std::getline(streams.in, password)) {
        throw Failure(wrongUsage, "the password is expected in the standard input, as one line");
    }
    if (const std::string fault = passwordFault(password); !fault.empty()) {
        throw Failure(wrongUsage, fault);
    }
    return hashPassword(password);
}

// ------------------------------------------------------------------------------------------ file

UserLines usersIn(const fs::path& file) {
    return fs::exists(fs::symlink_status(file)) ? readUsers(file) : UserLines();
}

/// Writes the file for its owner only. Root gives it to the owner that it had, and a new one to the
/// owner of its folder, so that the service can read it.
void write(const UserLines& users, const fs::path& file) {
    pautil::AtomicFile atomic(file);
    struct stat model {};
    const bool isKnown = stat(file.c_str(), &model) == 0 ||
                         stat(fs::absolute(file).parent_path().c_str(), &model) == 0;
    const char* const draft = atomic.draft().c_str();
    if (chmod(draft, S_IRUSR | S_IWUSR) != 0 ||
        (isKnown && geteuid() == 0 && chown(draft, model.st_uid, model.st_gid) != 0)) {
        throw pautil::FileError(file.string() + ": " + pautil::lastError().message());
    }
    atomic.fillWith(users.text());
    atomic.complete();
}

/// Changes the file; other commands wait meanwhile.
void change(const fs::path& file, const std::function<void(UserLines&)>& act) {
    const fs::path folder = fs::absolute(file).parent_path();
    const pautil::Descriptor lock(open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!lock.isOpen() || flock(lock.number(), LOCK_EX) != 0) {
        throw pautil::FileError(folder.string() + ": " + pautil::lastError().message());
    }
    UserLines users = usersIn(file);
    act(users);
    write(users, file);
}

User known(const UserLines& users, const std::string& name) {
    if (const User* const user = users.find(name)) {
        return *user;
    }
    throw Failure(notFound, "there is no user with this name");
}

void requireFree(const UserLines& users, const std::string& name) {
    if (!isUserName(name)) {
        throw Failure(wrongUsage,
                      "a user name has 1 to 64 letters of ASCII, digits and the characters ._@-, "
                      "and begins with a letter or a digit");
    }
    if (users.find(name) != nullptr) {
        throw Failure(refused, "the user " + name + " is there already");
    }
}

// -------------------------------------------------------------------------------------- commands

void add(const Words& words, const Streams& streams) {
    requireFree(usersIn(words.file), words.name);
    const User user{words.name, roleWithName(words.role).value(), newHash(streams)};
    change(words.file, [&user](UserLines& users) {
        requireFree(users, user.name);
        users.put(user);
    });
}

void remove(const Words& words, const Streams& /*streams*/) {
    change(words.file, [&words](UserLines& users) { users.remove(known(users, words.name).name); });
}

void setPassword(const Words& words, const Streams& streams) {
    static_cast<void>(known(usersIn(words.file), words.name));
    const std::string hash = newHash(streams);
    change(words.file, [&](UserLines& users) {
        User user = known(users, words.name);
        user.hash = hash;
        users.put(user);
    });
}

void setRole(const Words& words, const Streams& /*streams*/) {
    change(words.file, [&words](UserLines& users) {
        User user = known(users, words.name);
        user.role = roleWithName(words.role).value();
        users.put(user);
    });
}

void list(const Words& words, const Streams& streams) {
    for (const User& user : readUsers(words.file).users()) {
        streams.out << user.name << ' ' << roleName(user.role) << '\n';
    }
}

struct Command {
    const char* name;
    const char* help;
    bool hasName;
    bool hasRole;
    void (*run)(const Words& words, const Streams& streams);
};
constexpr Command commands[] = {
    {"add", "Add a user; asks for the password, or reads it from the standard input", true, true,
     add},
    {"remove", "Remove a user, which ends the sessions of the user", true, false, remove},
    {"password", "Give a user another password, which ends the sessions of the user", true, false,
     setPassword},
    {"role", "Give a user another role, which ends the sessions of the user", true, true, setRole},
    {"list", "Print the users and their roles", false, false, list},
};

void run(const std::vector<std::string>& given, const Streams& streams) {
    Words words;
    CLI::App app("Users who may log in", "papanel user");
    app.require_subcommand(1);
    for (const Command& command : commands) {
        CLI::App* const below = app.add_subcommand(command.name, command.help);
        below->add_option("--users", words.file, "File of users")->required()->type_name("FILE");
        if (command.hasName) {
            below->add_option("name", words.name, "Name of the user")->required();
        }
        if (command.hasRole) {
            below->add_option("--role", words.role, "operator or monitor")
                ->required()
                ->check(CLI::IsMember({"operator", "monitor"}));
        }
        below->callback([&command, &words, &streams] { command.run(words, streams); });
    }
    try {
        app.parse(std::vector<std::string>(given.rbegin(), given.rend()));
    } catch (const CLI::CallForHelp&) {
        streams.out << app.help();
    } catch (const CLI::ParseError& error) {
        throw Failure(wrongUsage, error.what());
    }
}

}  // namespace

int runUserCommand(const std::vector<std::string>& words, std::istream& in, std::ostream& out,
                   std::ostream& errors, int terminal) {
    try {
        run(words, {in, out, errors, terminal});
        return done;
    } catch (const Failure& failure) {
        errors << "papanel: " << failure.what() << '\n';
        return failure.code;
    } catch (const std::exception& error) {
        errors << "papanel: " << error.what() << '\n';
        return wrongUsage;
    }
}

}  // namespace papanel
