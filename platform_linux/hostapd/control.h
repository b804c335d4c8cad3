// The control socket of one BSS of hostapd: HOSTAPD_FOLDER/IFNAME.
#pragma once

#include <chrono>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

struct wpa_ctrl;

// The folder of the control sockets: HOSTAPD_FOLDER of platform.conf, else /var/run/hostapd.
std::string hostapdFolder();

// Takes a line for the log and its level.
using HostapdLog = std::function<void(int level, const std::string& line)>;
// In a program: one that adds "LEVEL LINE" to a text, which the program prints for the daemon.
HostapdLog logInto(std::string& text);
// In the daemon: logs such lines.
void logHostapdLines(std::string_view text);

// Blocks while it waits for answers, so it belongs into a work (hostapd/work.h). Each failure is
// logged at level 1. The line names the interface, the command (of a SET without its value, which
// may be a key) and the answer.
class HostapdControl {
  public:
    static constexpr std::chrono::milliseconds kLimit{1000};
    // Drivers take long to start or stop a radio.
    static constexpr std::chrono::milliseconds kRestartLimit{5000};

    // Connects. The own end is in the daemon's own folder and disappears with the object.
    HostapdControl(std::string ifname, HostapdLog log);
    ~HostapdControl();
    HostapdControl(const HostapdControl&) = delete;
    HostapdControl& operator=(const HostapdControl&) = delete;

    // False if nobody listens at the socket.
    bool isOpen() const { return ctrl_ != nullptr; }
    // Whatever hostapd answers; none, logged, if it does not in time.
    std::optional<std::string> reply(std::string_view command,
                                     std::chrono::milliseconds limit = kLimit);
    // A question; none if hostapd refuses the command or does not answer in time.
    std::optional<std::string> ask(std::string_view command,
                                   std::chrono::milliseconds limit = kLimit);
    // A command that is answered with "OK".
    bool order(std::string_view command, std::chrono::milliseconds limit = kLimit);
    bool set(std::string_view name, std::string_view value);
    // After the order ATTACH: the next event, empty if there is none yet; none if hostapd has
    // ended.
    std::optional<std::string> event();
    // Readable when there is an event.
    int fd() const;
    // Logs that the command has failed.
    void fail(std::string_view command, std::string_view why);

  private:
    const std::string ifname_;
    const HostapdLog log_;
    wpa_ctrl* ctrl_ = nullptr;
};

// Removes what killed processes have left of their ends.
void removeOldEnds();
