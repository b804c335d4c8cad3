#include "netctrl/firmware_download.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <ifaddrs.h>
#include <netdb.h>
#include <netinet/in.h>
#include <strings.h>
#include <sys/resource.h>
#include <sys/time.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <memory>
#include <utility>
#include <vector>

#include "base/fd.h"
#include "base/result.h"
#include "common/command.h"
#include "common/helper.h"
#include "common/log.h"
#include "common/text.h"

namespace {

constexpr timeval kPatience{10, 0};  // to connect, and for each part of the answer
constexpr size_t kMostHeader = size_t{16} * 1024;
constexpr std::array<std::pair<std::string_view, std::string_view>, 3> kPorts = {
    {{"http", "80"}, {"https", "443"}, {"ftp", "21"}}};

using Addresses = std::unique_ptr<addrinfo, decltype(&freeaddrinfo)>;

// Empty if the name is unknown.
Addresses resolve(const std::string& host, const char* port, int flags) {
    addrinfo hints{};
    hints.ai_flags = flags;
    hints.ai_socktype = SOCK_STREAM;
    addrinfo* found = nullptr;
    const int error = getaddrinfo(host.c_str(), port, &hints, &found);
    return {error == 0 ? found : nullptr, freeaddrinfo};
}

bool hasOwnAddress(const Addresses& addresses) {
    for (const addrinfo* each = addresses.get(); each != nullptr; each = each->ai_next) {
        if (isOwnAddress(*each->ai_addr)) return true;
    }
    return false;
}

std::optional<in_addr> ipv4Of(const sockaddr& address) {
    in_addr v4{};
    if (address.sa_family == AF_INET) {
        return reinterpret_cast<const sockaddr_in&>(address).sin_addr;
    }
    if (address.sa_family != AF_INET6) return std::nullopt;
    const in6_addr& v6 = reinterpret_cast<const sockaddr_in6&>(address).sin6_addr;
    if (!IN6_IS_ADDR_V4MAPPED(&v6) && !IN6_IS_ADDR_V4COMPAT(&v6)) return std::nullopt;
    memcpy(&v4, &v6.s6_addr[12], sizeof v4);
    return v4;
}

bool isSame(const sockaddr& a, const sockaddr& b) {
    const auto x = ipv4Of(a), y = ipv4Of(b);
    if (x || y) return x && y && x->s_addr == y->s_addr;
    return a.sa_family == AF_INET6 && b.sa_family == AF_INET6 &&
           IN6_ARE_ADDR_EQUAL(&reinterpret_cast<const sockaddr_in6&>(a).sin6_addr,
                              &reinterpret_cast<const sockaddr_in6&>(b).sin6_addr);
}

bool needsCurl(const Url& url) {
    return url.scheme != "http" || url.hasUser;
}

// The rest runs in the child process. A failure ends with its reason on standard output, where the
// parent reads it.

int refuse(const char* why) {
    dprintf(STDOUT_FILENO, "%s", why);
    return kFailure;
}

struct Connection {
    Fd socket;
    std::string address;  // that it is connected to, with brackets for IPv6
};

Connection connectTo(const Addresses& addresses) {
    for (const addrinfo* each = addresses.get(); each != nullptr; each = each->ai_next) {
        Fd fd(socket(each->ai_family, SOCK_STREAM | SOCK_CLOEXEC, 0));
        setsockopt(fd.get(), SOL_SOCKET, SO_SNDTIMEO, &kPatience, sizeof kPatience);
        setsockopt(fd.get(), SOL_SOCKET, SO_RCVTIMEO, &kPatience, sizeof kPatience);
        char text[NI_MAXHOST] = {};
        if (connect(fd.get(), each->ai_addr, each->ai_addrlen) != 0 ||
            getnameinfo(each->ai_addr, each->ai_addrlen, text, sizeof text, nullptr, 0,
                        NI_NUMERICHOST) != 0) {
            continue;
        }
        std::string address(text);
        if (each->ai_family == AF_INET6) address = std::string("[").append(text).append("]");
        return {std::move(fd), std::move(address)};
    }
    return {};
}

int runCurl(const std::string& curl, const Url& url, const std::string& address,
            const std::string& limit) {
    const std::string to = std::string("::").append(address).append(":");
    const char* const argv[] = {curl.c_str(),
                                "-q",
                                "--silent",
                                "--show-error",
                                "--fail",
                                "--globoff",
                                "--proto",
                                "=http,https,ftp",
                                "--max-redirs",
                                "0",
                                "--noproxy",
                                "*",
                                "--connect-to",
                                to.c_str(),
                                "--ftp-skip-pasv-ip",
                                "--max-time",
                                limit.c_str(),
                                "--",
                                url.text.c_str(),
                                nullptr};
    const Fd parent(fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, kWorkFile + 1));
    dup2(kWorkFile, STDOUT_FILENO);
    execv(argv[0], const_cast<char* const*>(argv));
    dup2(parent.get(), STDOUT_FILENO);
    return refuse("can't run curl");
}

bool sendAll(int fd, std::string_view text) {
    while (!text.empty()) {
        const ssize_t n = send(fd, text.data(), text.size(), MSG_NOSIGNAL);
        if (n <= 0) return false;
        text.remove_prefix(static_cast<size_t>(n));
    }
    return true;
}

bool writeAll(int fd, std::string_view bytes) {
    while (!bytes.empty()) {
        const ssize_t n = write(fd, bytes.data(), bytes.size());
        if (n <= 0) return false;
        bytes.remove_prefix(static_cast<size_t>(n));
    }
    return true;
}

// Whether the header of an answer announces the file itself, as it is.
bool isGoodHeader(std::string_view header) {
    const std::string_view status = takeLine(header);
    if (!status.starts_with("HTTP/1.") ||
        status.substr(std::min<size_t>(8, status.size()), 4) != " 200") {
        return false;
    }
    while (!header.empty()) {
        constexpr std::string_view kEncoding = "transfer-encoding:";
        const std::string_view line = takeLine(header);
        if (line.size() >= kEncoding.size() &&
            strncasecmp(line.data(), kEncoding.data(), kEncoding.size()) == 0) {
            return false;
        }
    }
    return true;
}

// HTTP 1.0: the file ends with the connection. Its manifest or size shows whether it is complete.
int fetchHttp(int socket, const Url& url, int file) {
    if (!sendAll(socket, "GET " + url.target + " HTTP/1.0\r\nHost: " + url.hostPort +
                             "\r\nConnection: close\r\n\r\n")) {
        return refuse("the server does not take the request");
    }
    std::vector<char> block(size_t{64} * 1024);
    std::string header;
    bool inHeader = true;
    for (;;) {
        const ssize_t n = recv(socket, block.data(), block.size(), 0);
        if (n < 0) return refuse("the server does not send all of it");
        if (n == 0) return inHeader ? refuse("the server does not answer") : kOk;
        std::string_view bytes(block.data(), static_cast<size_t>(n));
        if (inHeader) {
            header += bytes;
            const size_t end = header.find("\r\n\r\n");
            if (end == header.npos && header.size() < kMostHeader) continue;
            if (end == header.npos || !isGoodHeader({header.data(), end})) {
                return refuse("the server does not have it, or answers in an unknown way");
            }
            inHeader = false;
            bytes = std::string_view(header).substr(end + 4);
        }
        if (!writeAll(file, bytes)) return refuse("it can't be written");
    }
}

}  // namespace

std::optional<Url> parseUrl(std::string_view text) {
    Url url;
    url.text = text;
    const size_t colon = text.find("://");
    const auto* const port = std::find_if(kPorts.begin(), kPorts.end(), [&](const auto& known) {
        return known.first == text.substr(0, colon);
    });
    // Only the characters are checked in the path: it is sent as it is.
    const bool isPlain = std::all_of(text.begin(), text.end(),
                                     [](char c) { return c > ' ' && c <= '~' && c != '\\'; });
    if (port == kPorts.end() || !isPlain) return std::nullopt;
    url.scheme = port->first;
    std::string_view rest = text.substr(colon + 3);
    const size_t end = std::min(rest.find_first_of("/?#"), rest.size());
    const std::string_view target = rest.substr(end, rest.find('#') - end);
    url.target = (target.starts_with('/') ? "" : "/") + std::string(target);
    rest = rest.substr(0, end);
    if (const size_t at = rest.rfind('@'); at != rest.npos) {
        url.hasUser = true;
        rest.remove_prefix(at + 1);
    }
    url.hostPort = rest;
    const bool bracket = rest.starts_with('[');
    const size_t hostEnd = bracket ? rest.find(']') : std::min(rest.find(':'), rest.size());
    if (hostEnd == rest.npos) return std::nullopt;
    url.host = rest.substr(bracket ? 1 : 0, hostEnd - (bracket ? 1 : 0));
    rest.remove_prefix(hostEnd + (bracket ? 1 : 0));
    if (!rest.empty() && rest[0] != ':') return std::nullopt;
    url.port = rest.size() > 1 ? rest.substr(1) : port->second;
    const auto number = parseNumber(url.port);
    const bool isName = std::all_of(url.host.begin(), url.host.end(), [bracket](char c) {
        return isNameChar(c) || (bracket && c == ':');
    });
    if (url.host.empty() || !isName || !number || *number > 65535) return std::nullopt;
    return url;
}

bool isOwnHost(const std::string& host) {
    std::string name = host;
    if (name.ends_with('.')) name.pop_back();
    const std::string dotted = "." + name;
    constexpr std::string_view kLocal = ".localhost";
    if (dotted.size() >= kLocal.size() &&
        strcasecmp(dotted.c_str() + (dotted.size() - kLocal.size()), kLocal.data()) == 0) {
        return true;
    }
    return hasOwnAddress(resolve(name, nullptr, AI_NUMERICHOST));
}

bool isOwnAddress(const sockaddr& address) {
    if (const auto v4 = ipv4Of(address)) {
        const uint32_t net = ntohl(v4->s_addr) >> 24;
        if (net == 127 || net == 0) return true;
    } else if (address.sa_family == AF_INET6) {
        const in6_addr& v6 = reinterpret_cast<const sockaddr_in6&>(address).sin6_addr;
        if (IN6_IS_ADDR_LOOPBACK(&v6) || IN6_IS_ADDR_UNSPECIFIED(&v6)) return true;
    }
    ifaddrs* list = nullptr;
    if (getifaddrs(&list) != 0) return true;
    const std::unique_ptr<ifaddrs, decltype(&freeifaddrs)> own(list, freeifaddrs);
    for (const ifaddrs* each = list; each != nullptr; each = each->ifa_next) {
        if (each->ifa_addr != nullptr && isSame(*each->ifa_addr, address)) return true;
    }
    return false;
}

JobId startDownload(const Url& url, const std::string& file, uint64_t mostBytes,
                    std::chrono::seconds limit, JobDone done) {
    if (needsCurl(url) && findProgram("curl").empty()) return 0;
    const Fd made(open(file.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC | O_NOFOLLOW, 0600));
    if (!made) {
        LOG_LINE(1, "firmware: can't make %s: %m", file.c_str());
        return 0;
    }
    return startJob("firmware download",
                    {url.text, std::to_string(mostBytes), std::to_string(limit.count())},
                    {.limit = limit, .file = made.get()}, std::move(done));
}

int runDownload(const Arguments& args) {
    const auto url = parseUrl(args[0]);
    const auto mostBytes = parseNumber(args[1]), limit = parseNumber(args[2]);
    if (!url || !mostBytes || !limit || (isConfined() && !dropRights())) return kFailure;
    const rlimit most{*mostBytes, *mostBytes};
    if (setrlimit(RLIMIT_FSIZE, &most) != 0) return kFailure;
    // In case the daemon is gone and cannot end it.
    alarm(*limit);
    const Addresses addresses = resolve(url->host, url->port.c_str(), 0);
    if (!addresses) return refuse("its host is unknown");
    if (hasOwnAddress(addresses)) return refuse("its host is an address of this device itself");
    Connection connection = connectTo(addresses);
    if (!connection.socket) return refuse("no connection to its host");
    if (!needsCurl(*url)) return fetchHttp(connection.socket.get(), *url, kWorkFile);
    connection.socket = {};
    return runCurl(findProgram("curl"), *url, connection.address, args[2]);
}
