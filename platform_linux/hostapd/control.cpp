#include "hostapd/control.h"

#include <poll.h>
#include <signal.h>
#include <sys/socket.h>
#include <unistd.h>
#include <wpa_ctrl.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>

#include "base/own_folder.h"
#include "common/conf.h"
#include "common/log.h"
#include "common/secret.h"
#include "common/text.h"

namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

// The answers are shorter. One that is longer is cut.
constexpr size_t kMostAnswer = 8192;

// hostapd sends them unasked, after a level in angle brackets.
bool isEvent(std::string_view message) {
    return message.starts_with('<');
}

// The end of a process that still runs.
bool isInUse(const std::string& name) {
    int pid = 0;
    return sscanf(name.c_str(), "wpa_ctrl_%d-", &pid) == 1 && pid > 0 &&
           (kill(pid, 0) == 0 || errno != ESRCH);
}

// What follows the name of a SET may be a key.
std::string_view nameOf(std::string_view command) {
    return command.starts_with("SET ") ? command.substr(0, command.find(' ', 4)) : command;
}

}  // namespace

std::string hostapdFolder() {
    const std::string_view given = conf().value("HOSTAPD_FOLDER");
    return given.empty() ? "/var/run/hostapd" : std::string(given);
}

HostapdLog logInto(std::string& text) {
    return [&text](int level, const std::string& line) {
        text += std::to_string(level) + " " + line + "\n";
    };
}

void logHostapdLines(std::string_view text) {
    while (!text.empty()) {
        const std::string line(takeLine(text));
        if (line.size() > 2) LOG_LINE(line[0] - '0', "%s", line.c_str() + 2);
    }
}

HostapdControl::HostapdControl(std::string ifname, HostapdLog log)
    : ifname_(std::move(ifname)), log_(std::move(log)) {
    ctrl_ = wpa_ctrl_open2((hostapdFolder() + "/" + ifname_).c_str(), ownFolder().c_str());
    if (ctrl_ == nullptr) fail("connection", strerror(errno));
}

HostapdControl::~HostapdControl() {
    if (ctrl_ != nullptr) wpa_ctrl_close(ctrl_);
}

void HostapdControl::fail(std::string_view command, std::string_view why) {
    log_(1, "hostapd: " + ifname_ + ": " + std::string(nameOf(command)) +
                " failed: " + plainText(why, 60));
}

// wpa_ctrl_request() would wait for ten seconds.
std::optional<std::string> HostapdControl::reply(std::string_view command, milliseconds limit) {
    if (ctrl_ == nullptr) return {};
    const int fd = wpa_ctrl_get_fd(ctrl_);
    if (send(fd, command.data(), command.size(), MSG_NOSIGNAL) < 0) {
        fail(command, strerror(errno));
        return {};
    }
    const auto until = Clock::now() + limit;
    for (;;) {
        const auto left = std::chrono::ceil<milliseconds>(until - Clock::now());
        pollfd waitFor{fd, POLLIN, 0};
        if (left <= milliseconds{0} || poll(&waitFor, 1, static_cast<int>(left.count())) <= 0) {
            fail(command, "no answer within " + std::to_string(limit.count()) + " ms");
            return {};
        }
        std::string answer(kMostAnswer, '\0');
        const ssize_t size = recv(fd, answer.data(), answer.size(), 0);
        if (size < 0) {
            fail(command, strerror(errno));
            return {};
        }
        answer.resize(static_cast<size_t>(size));
        if (!isEvent(answer)) return answer;
    }
}

std::optional<std::string> HostapdControl::event() {
    std::string message(kMostAnswer, '\0');
    const ssize_t size = recv(fd(), message.data(), message.size(), MSG_DONTWAIT);
    if (size < 0 && errno != EINTR && errno != EAGAIN && errno != ENOBUFS) return {};
    message.resize(static_cast<size_t>(std::max<ssize_t>(size, 0)));
    return message;
}

int HostapdControl::fd() const {
    return wpa_ctrl_get_fd(ctrl_);
}

std::optional<std::string> HostapdControl::ask(std::string_view command, milliseconds limit) {
    auto answer = reply(command, limit);
    if (answer && (answer->starts_with("FAIL") || answer->starts_with("UNKNOWN COMMAND"))) {
        fail(command, *answer);
        return {};
    }
    return answer;
}

bool HostapdControl::order(std::string_view command, milliseconds limit) {
    const auto answer = reply(command, limit);
    if (answer && !answer->starts_with("OK")) fail(command, *answer);
    return answer && answer->starts_with("OK");
}

bool HostapdControl::set(std::string_view name, std::string_view value) {
    std::string command;
    command.reserve(name.size() + value.size() + 5);  // growing would leave copies of a key behind
    command.append("SET ").append(name).append(" ").append(value);
    const bool done = order(command);
    eraseSecret(command);
    return done;
}

void removeOldEnds() {
    std::error_code error;
    for (std::filesystem::directory_iterator entry(ownFolder(), error), end; !error && entry != end;
         entry.increment(error)) {
        const std::string name = entry->path().filename();
        if (name.starts_with("wpa_ctrl_") && !isInUse(name)) (void)unlink(entry->path().c_str());
    }
}
