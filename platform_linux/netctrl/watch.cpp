#include "netctrl/watch.h"

#include <linux/neighbour.h>
#include <linux/rtnetlink.h>

#include <algorithm>
#include <chrono>
#include <iterator>
#include <map>

#include "base/result.h"
#include "common/conf.h"
#include "common/log.h"
#include "common/text.h"
#include "netctrl/links.h"
#include "netctrl/netlink.h"
#include "netctrl/records.h"

namespace {

using Clock = std::chrono::steady_clock;

// Consecutive failures to listen before giving up. At one call per 5 seconds, a minute.
constexpr int kMaxFailures = 12;
// The kernel does not announce channel changes, so radios are polled.
constexpr std::chrono::seconds kRadioPeriod{60};

struct {
    std::optional<NetlinkSocket> events;
    int failures = 0;
    bool linksChanged = false;
    bool neighborsChanged = false;
    bool addressesChanged = true;
    Clock::time_point pictureTaken{};
    bool reporting = false;

    Picture reported;
    std::optional<MacAddr> alMac;
} watch;

void noteNotification(nlmsghdr* message) {
    switch (message->nlmsg_type) {
        case RTM_NEWLINK:
        case RTM_DELLINK:
            watch.linksChanged = true;
            break;
        case RTM_NEWNEIGH:
        case RTM_DELNEIGH:
            watch.neighborsChanged = true;
            break;
        case RTM_NEWADDR:
        case RTM_DELADDR:
            watch.addressesChanged = true;
            break;
        case RTM_NEWROUTE:
        case RTM_DELROUTE:
            watch.linksChanged |= isAboutDefaultRoute(message);
            break;
        default:
            break;
    }
}

// Listens again after a failure. A fresh picture will show what happened meanwhile.
bool listen() {
    if (watch.events && !watch.events->drain(noteNotification)) {
        LOG_LINE(4, "kernel notifications were lost; taking a fresh picture");
        watch.events.reset();
    }
    if (watch.events) return true;
    watch.linksChanged = watch.addressesChanged = true;
    watch.events = NetlinkSocket::openEvents(excludesDefaultRoute());
    return watch.events.has_value();
}

bool bears(const Picture& picture, const MacAddr& mac) {
    const auto& macs = picture.ownMacs;
    return std::find(macs.begin(), macs.end(), mac) != macs.end();
}

std::optional<MacAddr> chooseAlMac(const Picture& picture) {
    if (const auto given = macFromText(conf().value("AL_MAC"))) return given;
    if (watch.alMac && bears(picture, *watch.alMac)) return watch.alMac;
    return alMacOf(picture);
}

// The MACs of the participating interfaces of each bridge.
std::map<int, std::vector<MacAddr>> tuplesOf(const Picture& picture) {
    std::map<int, std::vector<MacAddr>> tuples;
    for (const Intf& intf : picture.intfs) {
        if (intf.bridge != 0) tuples[intf.bridge].push_back(intf.mac);
    }
    return tuples;
}

std::vector<MacAddr> difference(const std::vector<MacAddr>& a, const std::vector<MacAddr>& b) {
    std::vector<MacAddr> only;
    std::set_difference(a.begin(), a.end(), b.begin(), b.end(), std::back_inserter(only));
    return only;
}

// The same interface, perhaps changed; nullptr if it is gone. An interface created anew under an
// old name is a different one.
const Intf* sameIn(const Picture& picture, const Intf& intf) {
    const Intf* other = picture.byIndex(intf.index);
    return other != nullptr && other->name == intf.name ? other : nullptr;
}

// Reports events in an order that the daemon can follow: removals, additions, then changes. Each is
// entered in `watch.reported` first, because the daemon asks back from inside the callback.
class Reporter {
  public:
    Reporter(NetStatusEventCallback callback, const Picture& now)
        : callback_(callback), now_(now) {}

    void reportAll() {
        const auto oldTuples = tuplesOf(watch.reported);
        reportRemoved();
        reportAdded();
        watch.reported.bridges = now_.bridges;
        watch.reported.ownMacs = now_.ownMacs;
        watch.reported.uplinks = now_.uplinks;
        for (const Intf& intf : now_.intfs) {
            reportMac(intf);
            reportMedia(intf);
            reportedOf(intf).bridge = intf.bridge;
            reportedOf(intf).frequency = intf.frequency;
            reportedOf(intf).hasStations = intf.hasStations;
            reportedOf(intf).meshPoint = intf.meshPoint;
        }
        if (tuplesOf(now_) != oldTuples) report(NET_STATUS_BRDG_CAP, now_);
        for (const Intf& intf : now_.intfs) {
            reportState(NET_STATUS_INTF_PWR_STATE, &Intf::pwrState, intf);
            reportState(NET_STATUS_INTF_OPER_STATUS, &Intf::operStatus, intf);
            reportNeighbors(intf);
        }
        reportAlMac();
    }

  private:
    template <typename Record>
    void report(uint32_t eventId, const Record& record) {
        uint32_t result = 0;
        callback_(eventId, &record, &result);
        if (result != 0) LOG_LINE(2, "network status event %u was refused: %u", eventId, result);
    }

    static Intf& reportedOf(const Intf& intf) {
        return *std::find_if(watch.reported.intfs.begin(), watch.reported.intfs.end(),
                             [&intf](const Intf& i) { return i.index == intf.index; });
    }

    void reportList(uint32_t eventId, const std::vector<Intf>& intfs) {
        if (intfs.empty()) return;
        std::vector<IntfDesc> descs;
        descs.reserve(intfs.size());
        for (const Intf& intf : intfs) descs.push_back(describe(intf));
        for (size_t i = 1; i < descs.size(); i++) descs[i - 1].next = &descs[i];
        report(eventId, IntfListEvent{static_cast<uint8_t>(descs.size()), descs.data()});
    }

    void reportRemoved() {
        std::vector<Intf> gone;
        std::erase_if(watch.reported.intfs, [&](const Intf& intf) {
            if (sameIn(now_, intf) != nullptr) return false;
            gone.push_back(intf);
            return true;
        });
        reportList(NET_STATUS_INTF_REMOVED, gone);
    }

    void reportAdded() {
        std::vector<Intf> added;
        for (const Intf& intf : now_.intfs) {
            if (sameIn(watch.reported, intf) == nullptr) added.push_back(intf);
        }
        auto& intfs = watch.reported.intfs;
        intfs.insert(intfs.end(), added.begin(), added.end());
        std::sort(intfs.begin(), intfs.end(),
                  [](const Intf& a, const Intf& b) { return a.index < b.index; });
        reportList(NET_STATUS_INTF_ADDED, added);
    }

    void reportMac(const Intf& intf) {
        Intf& old = reportedOf(intf);
        if (old.mac == intf.mac) return;
        IntfMacEvent event{};
        copyText(event.name, old.name);
        old.mac.copyTo(event.mac);
        event.mediaType = old.mediaType;
        intf.mac.copyTo(event.newMac);
        old.mac = intf.mac;
        report(NET_STATUS_INTF_MAC, event);
    }

    void reportMedia(const Intf& intf) {
        Intf& old = reportedOf(intf);
        if (old.mediaType == intf.mediaType && old.mediaInfo == intf.mediaInfo) return;
        IntfMediaTypeEvent event{};
        intf.mac.copyTo(event.mac);
        event.oldMediaType = old.mediaType;
        event.newMediaType = intf.mediaType;
        event.mediaInfoLen = static_cast<uint8_t>(intf.mediaInfo.size());
        event.mediaInfo = intf.mediaInfo.empty() ? nullptr : intf.mediaInfo.data();
        old.mediaType = intf.mediaType;
        old.mediaInfo = intf.mediaInfo;
        report(NET_STATUS_INTF_MEDIA_TYPE, event);
    }

    void reportState(uint32_t eventId, uint32_t Intf::*state, const Intf& intf) {
        Intf& old = reportedOf(intf);
        if (old.*state == intf.*state) return;
        IntfStateEvent event{};
        copyText(event.name, intf.name);
        intf.mac.copyTo(event.mac);
        event.mediaType = intf.mediaType;
        event.newState = old.*state = intf.*state;
        report(eventId, event);
    }

    void reportNeighborList(uint32_t eventId, const Intf& intf, const std::vector<MacAddr>& macs) {
        if (macs.empty()) return;
        IntfNbrEvent event{};
        copyText(event.name, intf.name);
        intf.mac.copyTo(event.mac);
        event.mediaType = intf.mediaType;
        event.macNum = static_cast<uint16_t>(macs.size());
        event.macs = packed(macs);
        report(eventId, event);
    }

    void reportNeighbors(const Intf& intf) {
        const std::vector<MacAddr> before =
            std::exchange(reportedOf(intf).neighbors, intf.neighbors);
        reportNeighborList(NET_STATUS_INTF_NBR_REMOVED, intf, difference(before, intf.neighbors));
        // One at a time, because the daemon checks only the first of a list for repeats.
        for (const MacAddr& mac : difference(intf.neighbors, before)) {
            reportNeighborList(NET_STATUS_INTF_NBR_ADDED, intf, {mac});
        }
    }

    void reportAlMac() {
        const std::optional<MacAddr> alMac = chooseAlMac(now_);
        if (!alMac || alMac == watch.alMac) return;
        AlMacEvent event{};
        watch.alMac.value_or(MacAddr{}).copyTo(event.oldMac);
        alMac->copyTo(event.newMac);
        watch.alMac = alMac;
        report(NET_STATUS_AL_MAC, event);
    }

    NetStatusEventCallback callback_;
    const Picture& now_;
};

bool radiosAreDue() {
    const auto isRadio = [](const Intf& intf) { return !intf.mediaInfo.empty(); };
    return std::any_of(watch.reported.intfs.begin(), watch.reported.intfs.end(), isRadio) &&
           Clock::now() - watch.pictureTaken >= kRadioPeriod;
}

// A picture of the present. Links are read again only if they have changed.
std::optional<Picture> takePresent() {
    if (watch.linksChanged || radiosAreDue()) {
        auto now = takePicture(watch.reported);
        if (now) watch.pictureTaken = Clock::now();
        return now;
    }
    std::optional<Picture> now = watch.reported;
    if (!takeNeighbors(*now)) now.reset();
    return now;
}

}  // namespace

bool openWatch() {
    closeWatch();
    watch.events = NetlinkSocket::openEvents(excludesDefaultRoute());
    return watch.events && resetReported();
}

void closeWatch() {
    watch = {};
}

bool resetReported() {
    // During a report only the events so far count.
    if (watch.reporting) return true;
    auto now = takePicture(watch.reported);
    if (!now) return false;
    watch.pictureTaken = Clock::now();
    watch.alMac = chooseAlMac(*now);
    watch.reported = std::move(*now);
    return true;
}

const Picture& reported() {
    return watch.reported;
}

std::optional<MacAddr> reportedAlMac() {
    return watch.alMac;
}

bool addressesMayHaveChanged() {
    if (!watch.events || !listen()) return true;
    return std::exchange(watch.addressesChanged, false);
}

int runWatch(NetStatusEventCallback callback) {
    if (!listen()) {
        LOG_LINE(1, "can't listen to the kernel (%d)", ++watch.failures);
        return watch.failures < kMaxFailures ? kOk : kFailure;
    }
    watch.failures = 0;
    if (callback == nullptr) return kOk;
    if (!watch.linksChanged && !watch.neighborsChanged && !radiosAreDue()) return kOk;

    const auto now = takePresent();
    // The next call tries again: the kernel's tables may be changing just now.
    if (!now) return kOk;
    watch.linksChanged = watch.neighborsChanged = false;
    watch.reporting = true;
    Reporter(callback, *now).reportAll();
    watch.reporting = false;
    return kOk;
}
