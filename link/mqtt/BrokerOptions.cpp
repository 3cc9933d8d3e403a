// SPDX-License-Identifier: Apache-2.0
#include "link/mqtt/BrokerOptions.h"

#include <cerrno>
#include <charconv>
#include <fstream>
#include <string_view>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>

namespace palink {

namespace {

constexpr int defaultPort = 1883;
constexpr int defaultTlsPort = 8883;
constexpr int maxPort = 65535;
constexpr std::string_view blanks = " \t\r";

[[noreturn]] void refuseUrl(const std::string& why) {
    throw BrokerOptionsError("the broker's address is mqtt://HOST[:PORT] or mqtts://HOST[:PORT], " +
                             why);
}

int readPort(std::string_view text) {
    int port = 0;
    const char* const end = text.data() + text.size();
    const auto read = std::from_chars(text.data(), end, port);
    if (read.ec != std::errc() || read.ptr != end || port < 1 || port > maxPort) {
        refuseUrl("with a port from 1 to 65535");
    }
    return port;
}

/// Takes HOST or [HOST] from the beginning of a text.
std::string takeHost(std::string_view& text) {
    const bool isBracketed = !text.empty() && text.front() == '[';
    const std::size_t begin = isBracketed ? 1 : 0;
    const std::size_t end = text.find(isBracketed ? ']' : ':');
    if (isBracketed && end == std::string_view::npos) {
        refuseUrl("with an IPv6 address in brackets");
    }
    std::string host(text.substr(begin, end - begin));
    text.remove_prefix(end == std::string_view::npos ? text.size() : end + begin);
    if (host.empty() || host.find_first_of(" \t\r\n") != std::string::npos) {
        refuseUrl("with a name or an address of a host");
    }
    return host;
}

std::string_view trimmed(std::string_view text) {
    const std::size_t begin = text.find_first_not_of(blanks);
    if (begin == std::string_view::npos) {
        return {};
    }
    return text.substr(begin, text.find_last_not_of(blanks) - begin + 1);
}

void takeCredential(BrokerOptions& options, std::string_view line, const std::string& file) {
    const std::size_t equals = line.find('=');
    const std::string_view name = trimmed(line.substr(0, equals));
    if (equals != std::string_view::npos && (name == "user" || name == "password")) {
        (name == "user" ? options.user : options.password) = trimmed(line.substr(equals + 1));
    } else if (!trimmed(line).empty() && trimmed(line).front() != '#') {
        throw BrokerOptionsError(file + " may have the lines \"user = NAME\" and " +
                                 "\"password = TEXT\" only");
    }
}

}  // namespace

std::string BrokerOptions::url() const {
    const bool isIpv6 = host.find(':') != std::string::npos;
    const int usualPort = tls ? defaultTlsPort : defaultPort;
    return std::string(tls ? "mqtts://" : "mqtt://") + (isIpv6 ? "[" + host + "]" : host) +
           (port == usualPort ? "" : ":" + std::to_string(port));
}

BrokerOptions parseBrokerUrl(const std::string& url) {
    BrokerOptions options;
    std::string_view rest = url;
    const auto take = [&rest](std::string_view start) {
        const bool isThere = rest.substr(0, start.size()) == start;
        rest.remove_prefix(isThere ? start.size() : 0);
        return isThere;
    };
    options.tls = take("mqtts://");
    options.port = options.tls ? defaultTlsPort : defaultPort;
    if (!options.tls && !take("mqtt://")) {
        refuseUrl("in this form");
    }
    if (rest.find('@') != std::string_view::npos) {
        refuseUrl("without user and password, which belong into a file of credentials");
    }
    if (rest.find_first_of("/?#") != std::string_view::npos) {
        refuseUrl("without a path");
    }
    options.host = takeHost(rest);
    if (!rest.empty()) {
        if (!take(":")) {
            refuseUrl("in this form");
        }
        options.port = readPort(rest);
    }
    return options;
}

void readCredentials(BrokerOptions& options, const std::filesystem::path& file) {
    struct stat status {};
    std::ifstream in;
    if (::stat(file.c_str(), &status) == 0) {
        // A service manager keeps the file and lets one user read it: the bits of the group then
        // name that right.
        const mode_t others = status.st_uid == geteuid() ? S_IRWXG | S_IRWXO : S_IRWXO;
        if ((status.st_mode & others) != 0) {
            throw BrokerOptionsError("others may read the password in " + file.string() +
                                     ": chmod 600 it");
        }
        in.open(file);
    }
    if (!in.is_open() || S_ISDIR(status.st_mode)) {
        const int reason = errno == 0 ? EISDIR : errno;
        throw BrokerOptionsError("cannot read " + file.string() + ": " +
                                 std::generic_category().message(reason));
    }
    std::string line;
    while (std::getline(in, line)) {
        takeCredential(options, line, file.string());
    }
}

}  // namespace palink
