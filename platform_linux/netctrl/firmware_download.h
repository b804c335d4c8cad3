// Downloads of firmware. The host's name is resolved once: the address that is checked is the one
// that is connected to.
#pragma once

#include <sys/socket.h>

#include <chrono>
#include <optional>
#include <string>
#include <string_view>

#include "common/job.h"

struct Url {
    std::string text;      // all of it
    std::string scheme;    // http, https or ftp
    std::string host;      // without brackets
    std::string port;      // that of the scheme if none is given
    std::string hostPort;  // as given
    std::string target;    // path and query
    bool hasUser = false;
};

// None for other schemes, and for a host that another program might read differently.
std::optional<Url> parseUrl(std::string_view text);

// Whether the host is this device, as far as can be said without a resolver: localhost, or one of
// its addresses in any notation.
bool isOwnHost(const std::string& host);

// Whether a connection to the address stays on this device.
bool isOwnAddress(const sockaddr& address);

// Starts to download a URL into a file of at most so many bytes, without following redirections or
// using a proxy. http needs no program, the others and user names need curl. done gets the status,
// 0 if the file is complete, and the reason if it is known. Returns 0 if it cannot be started.
[[nodiscard]] JobId startDownload(const Url& url, const std::string& file, uint64_t mostBytes,
                                  std::chrono::seconds limit, JobDone done);

// The longest limit of a download.
inline constexpr std::chrono::seconds kDownloadLimit{180};
// The work of the program "firmware download": URL, bytes, seconds.
int runDownload(const Arguments& args);
