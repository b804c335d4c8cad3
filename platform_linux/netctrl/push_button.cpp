#include "netctrl/push_button.h"

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>
#include <wpa_ctrl.h>

#include <chrono>
#include <cstdio>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

#include "api.h"
#include "base/fd.h"
#include "base/result.h"
#include "common/job.h"
#include "common/log.h"
#include "common/text.h"
#include "hostapd/control.h"
#include "hostapd/radios.h"
#include "netctrl/notices.h"
#include "netctrl/watch.h"

namespace {

using Clock = std::chrono::steady_clock;

constexpr const char* kProgram = "push button";
constexpr std::chrono::seconds kWalkTime{120};
constexpr std::chrono::milliseconds kEndWait{100};

struct {
    JobId job = 0;
    Fd stop;  // closing it ends the program
    PushButtonEvent event;
    std::optional<PushButtonEvent> next;
} button;

// ---- In the program

struct AccessPoint {
    std::string ifname;
    std::unique_ptr<HostapdControl> control;  // reports the stations that join
};

void logLineAt(int level, const std::string& line) {
    LOG_LINE(level, "push button: %s", line.c_str());
}

std::vector<AccessPoint> startPushButtons() {
    std::vector<AccessPoint> started;
    for (const HostapdBss& bss : listBss()) {
        auto control = std::make_unique<HostapdControl>(bss.ifname, logLineAt);
        if (control->order("ATTACH") && control->order("WPS_PBC")) {
            started.push_back({bss.ifname, std::move(control)});
        }
    }
    return started;
}

// The station that has joined according to the next event. Stops waiting if hostapd has ended.
std::optional<MacAddr> joinedAt(const AccessPoint& accessPoint, pollfd& waiting) {
    constexpr std::string_view kJoined = WPS_EVENT_REG_SUCCESS;
    const auto event = accessPoint.control->event();
    if (!event) waiting.fd = -1;
    const size_t at = event ? event->find(kJoined) : std::string::npos;
    if (at == std::string::npos) return {};
    return macFromText(std::string_view(*event).substr(at + kJoined.size(), 17));
}

// ---- In the daemon

void tellWhoJoined(const std::string& output) {
    const size_t blank = output.find(' ');
    const std::string ifname = output.substr(0, blank);
    const auto station = macFromText(
        trim(std::string_view(output).substr(blank != output.npos ? blank : output.size())));
    const Intf* const intf = reported().byName(ifname);
    if (!station || intf == nullptr) {
        LOG_LINE(2, "push button: a station has joined at %s, which takes no part in the mesh",
                 ifname.c_str());
        return;
    }
    LOG_LINE(3, "push button: %s has joined at %s", macText(*station).c_str(), ifname.c_str());
    PbJoinReq request{};
    button.event.alMac.copyTo(request.alMac);
    request.msgId = button.event.msgId;
    intf->mac.copyTo(request.txIntfMac);
    station->copyTo(request.newDevIntfMac);
    (void)requestService(SERV_REQ_PB_JOIN, &request);
}

void noteEnd(int status, const std::string& output) {
    button.stop = Fd();
    if (!output.empty()) {
        tellWhoJoined(output);
    } else if (status != kOk) {
        LOG_LINE(2, "push button: no access point of hostapd has started it");
    }
    if (const auto next = std::exchange(button.next, {})) (void)pressPushButtons(*next);
}

}  // namespace

int pressPushButtons(const PushButtonEvent& event) {
    if (isJobRunning(button.job)) {
        button.next = event;
        button.stop = Fd();
        return kOk;
    }
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0) return kFailure;
    const Fd in(ends[0]);
    button.stop = Fd(ends[1]);
    button.event = event;
    button.job = startJob(kProgram, {}, {.in = in.get()}, noteEnd);
    return button.job != 0 ? kOk : kFailure;
}

void dropPushButtons() {
    // A program that is killed leaves its ends of the control sockets behind.
    button.next.reset();
    button.stop = Fd();
    (void)waitJob(button.job, kEndWait);
    button = {};
}

int runPushButtons(const Arguments& /*args*/) {
    // Log lines go to standard error: what is printed is the answer.
    const int answer = dup(STDOUT_FILENO);
    (void)dup2(STDERR_FILENO, STDOUT_FILENO);
    const auto until = Clock::now() + kWalkTime;
    const std::vector<AccessPoint> accessPoints = startPushButtons();
    if (accessPoints.empty()) return kFailure;
    std::vector<pollfd> waitFor{{STDIN_FILENO, POLLIN, 0}};
    for (const AccessPoint& each : accessPoints) {
        waitFor.push_back({each.control->fd(), POLLIN, 0});
    }
    for (;;) {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(until - Clock::now());
        if (left.count() <= 0) return kOk;
        (void)poll(waitFor.data(), waitFor.size(), static_cast<int>(left.count()));
        if (waitFor[0].revents != 0) return kOk;
        for (size_t i = 1; i < waitFor.size(); i++) {
            if (waitFor[i].revents == 0) continue;
            const AccessPoint& accessPoint = accessPoints[i - 1];
            if (const auto station = joinedAt(accessPoint, waitFor[i])) {
                (void)dprintf(answer, "%s %s\n", accessPoint.ifname.c_str(),
                              macText(*station).c_str());
                return kOk;
            }
        }
    }
}
