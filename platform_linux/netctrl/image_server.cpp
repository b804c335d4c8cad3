#include "netctrl/image_server.h"

#include <poll.h>
#include <sys/sendfile.h>
#include <sys/socket.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <list>
#include <string_view>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;

constexpr size_t kMostClients = 64;  // further ones wait
constexpr size_t kMostRequest = 8192;
constexpr size_t kMostAtOnce = size_t{256} * 1024;  // then the other clients get their turn
constexpr std::chrono::seconds kPatience{20};       // for the request, and for each part it takes
constexpr int kPollTime = 1000;                     // ms

enum class Stage { kRequest, kAnswer, kEnd };

struct Client {
    Fd socket;
    Clock::time_point until = Clock::now() + kPatience;
    Stage stage = Stage::kRequest;
    std::string request{};
    std::string header{};  // the rest of it
    int file = -1;
    off_t at = 0, end = 0;  // of the file
};

void prepareAnswer(Client& client, const OpenFiles& files) {
    std::string_view line = client.request;
    line = line.substr(0, line.find('\r'));
    const size_t space = std::min(line.find(' '), line.size());
    const std::string_view method = line.substr(0, space);
    line.remove_prefix(std::min(space + 1, line.size()));
    const std::string_view target = line.substr(0, line.find(' '));
    const bool isKnown = (method == "GET" || method == "HEAD") && target.starts_with('/');
    const auto file = isKnown ? files.find(target.substr(1)) : files.end();
    struct stat info {};
    const bool found = file != files.end() && fstat(file->second.get(), &info) == 0;
    client.header = found ? "HTTP/1.0 200 OK\r\nContent-Type: application/octet-stream\r\n"
                          : "HTTP/1.0 404 Not Found\r\n";
    client.header +=
        "Content-Length: " + std::to_string(info.st_size) + "\r\nConnection: close\r\n\r\n";
    if (found && method == "GET") {
        client.file = file->second.get();
        client.end = info.st_size;
    }
    client.stage = Stage::kAnswer;
}

// Continues with a client whose socket is ready. False at its end.
bool receiveSome(Client& client, const OpenFiles& files) {
    char bytes[2048];
    const ssize_t n = recv(client.socket.get(), bytes, sizeof bytes, 0);
    if (n <= 0) return n < 0 && errno == EAGAIN;
    if (client.stage == Stage::kEnd) return true;
    client.request.append(bytes, static_cast<size_t>(n));
    if (client.request.find("\r\n\r\n") != client.request.npos ||
        client.request.size() > kMostRequest) {
        prepareAnswer(client, files);
    }
    return true;
}

bool sendSome(Client& client) {
    const int socket = client.socket.get();
    ssize_t n = 0;
    if (!client.header.empty()) {
        n = send(socket, client.header.data(), client.header.size(), MSG_NOSIGNAL);
        client.header.erase(0, static_cast<size_t>(std::max<ssize_t>(n, 0)));
    } else {
        const auto rest = static_cast<size_t>(client.end - client.at);
        n = sendfile(socket, client.file, &client.at, std::min(rest, kMostAtOnce));
    }
    if (n <= 0) return n < 0 && errno == EAGAIN;
    client.until = Clock::now() + kPatience;
    if (client.header.empty() && client.at == client.end) {
        // Closing it at once could lose the end of the answer, if more has been received.
        shutdown(socket, SHUT_WR);
        client.stage = Stage::kEnd;
    }
    return true;
}

bool isAnswering(const Client& client) {
    return client.stage == Stage::kAnswer;
}

}  // namespace

void serveFiles(const Fd& listener, const OpenFiles& files) {
    std::list<Client> clients;
    for (;;) {
        const bool isFull = clients.size() >= kMostClients;
        std::vector<pollfd> waitFor{{listener.get(), static_cast<short>(isFull ? 0 : POLLIN), 0}};
        for (const Client& client : clients) {
            const short event = isAnswering(client) ? POLLOUT : POLLIN;
            waitFor.push_back({client.socket.get(), event, 0});
        }
        poll(waitFor.data(), waitFor.size(), kPollTime);
        auto state = waitFor.begin();
        std::erase_if(clients, [&](Client& client) {
            const bool isReady = (++state)->revents != 0;
            if (Clock::now() >= client.until) return true;
            return isReady &&
                   !(isAnswering(client) ? sendSome(client) : receiveSome(client, files));
        });
        if (waitFor[0].revents == 0) continue;
        Fd socket(accept4(listener.get(), nullptr, nullptr, SOCK_NONBLOCK | SOCK_CLOEXEC));
        if (socket) clients.push_back({std::move(socket)});
    }
}
