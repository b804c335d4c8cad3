#include "hostapd/work.h"

#include <algorithm>

#include "base/own_folder.h"
#include "base/result.h"
#include "common/hook.h"
#include "common/job.h"
#include "common/log.h"
#include "common/secret.h"
#include "common/text.h"
#include "crypto/crypto.h"
#include "hostapd/applied.h"
#include "hostapd/bss.h"
#include "hostapd/radios.h"
#include "netctrl/autoconfig_enrollee.h"
#include "wsc/wifi_conf.h"

namespace {

constexpr const char* kProgram = "hostapd";
constexpr const char* kHook = "autoconf-networks";
constexpr unsigned kCheckPeriod = 12;  // looks, of five seconds each, until hostapd is asked again

struct {
    bool changed = false;    // networks have arrived
    std::string seen;        // what the folder of the sockets showed to the program
    unsigned looks = 0;      // since hostapd was asked
    unsigned failures = 0;   // in a row
    std::string lastOutput;  // the lines of the last run that did something
} watch;

std::string digestOf(const WifiNetwork* network) {
    if (network == nullptr) return std::string(kNoNetwork);
    std::string text = writeWifiConf({{"n", {0}, *network}});
    std::array<uint8_t, kSha256Size> digest;
    const auto sha256 = crypto().sha256();
    const bool done = sha256 && sha256->add(wscBytes(text)) && sha256->finish(digest);
    eraseSecret(text);
    return done ? hexText(digest) : "unknown";
}

enum class Result { kFailed, kAsBefore, kSet };

// isNew: the BSS may not have got this yet.
Result apply(const BssPlan& plan, bool isNew, bool isOff, const HostapdLog& log) {
    const std::string& ifname = plan.bss->ifname;
    if (plan.network == nullptr && !isNew) return Result::kAsBefore;
    HostapdControl control(ifname, log);
    if (!control.isOpen()) return Result::kFailed;
    if (plan.network == nullptr) {
        if (!disableBss(control)) return Result::kFailed;
        log(3, "hostapd: " + ifname + " has no network");
        return Result::kSet;
    }
    if (!isNew) {
        const auto runs = runsNetwork(control, *plan.network);
        if (runs != false) return runs ? Result::kAsBefore : Result::kFailed;
    }
    if (!setBss(control, *plan.network, isOff)) return Result::kFailed;
    log(3, "hostapd: " + ifname + " runs " + ssidText(plan.network->ssid.view()) + " on channel " +
               channelOf(control));
    return Result::kSet;
}

bool applyAll(const HostapdLog& log) {
    BandNetworks bands;
    bool good = updateSettings(bands);
    if (!good) log(1, "hostapd: " + settingsFile() + " has errors or cannot be written");
    if (bands.empty()) return good;

    const auto before = readAppliedNetworks();
    const auto appliedTo = [&before](const std::string& ifname) {
        const auto found = std::ranges::find(before, ifname, &AppliedNetwork::ifname);
        return found != before.end() ? *found : AppliedNetwork{};
    };
    const auto orders = readAppliedOrders();
    const auto isOff = [&orders](const HostapdBss& bss) {
        return std::ranges::any_of(orders, [&bss](const AppliedOrders& each) {
            return each.ifname == bss.ifname && each.stamp == bss.stamp && each.isOff;
        });
    };
    removeOldEnds();
    std::vector<HostapdBss> all = listBss();
    for (HostapdBss& bss : all) {
        if (bss.band.empty()) bss.rfBand = radioBandOf(bss.ifname);
        // A radio that is off has no channel.
        if (bss.rfBand == 0) bss.rfBand = static_cast<uint8_t>(appliedTo(bss.ifname).rfBand);
    }
    std::vector<AppliedNetwork> after;
    bool isAnySet = false;
    for (const BssPlan& plan : planBss(all, bands, log)) {
        const AppliedNetwork old = appliedTo(plan.bss->ifname);
        AppliedNetwork now{plan.bss->ifname, plan.bss->stamp, digestOf(plan.network),
                           plan.bss->rfBand};
        // A BSS without a network comes last. A restart of its radio has switched it on again.
        const bool isNew = old.stamp != now.stamp || old.digest != now.digest ||
                           (plan.network == nullptr && isAnySet);
        const Result result = apply(plan, isNew, isOff(*plan.bss), log);
        if (result == Result::kFailed) {
            good = false;
            now.digest = "failed";
        }
        isAnySet = isAnySet || result == Result::kSet;
        after.push_back(now);
    }
    if (!all.empty() && !writeAppliedNetworks(after)) {
        log(1, "hostapd: " + ownFolder() + "/hostapd cannot be written");
    }
    return good;
}

void start(const std::string& seen);

void finish(int status, const std::string& output) {
    if (status != 0 || !output.empty()) watch.failures = status != 0 ? watch.failures + 1 : 0;
    std::string_view text = output;
    watch.seen = text.empty() ? watch.seen : takeLine(text);
    // What fails again and again is logged once.
    const bool isNews = watch.lastOutput != text;
    if (!output.empty()) watch.lastOutput = text;
    if (isNews) logHostapdLines(text);
    if (watch.changed) start("");
}

void start(const std::string& seen) {
    if (isJobRunning(kProgram)) return;
    watch.changed = false;
    if (seen.empty()) watch.looks = 0;
    // If it cannot be started, the next look tries again.
    if (startJob(kProgram, {seen}, {}, finish) == 0) watch.changed = true;
}

}  // namespace

void giveToHostapd() {
    watch.changed = true;
    start("");
}

void checkHostapd() {
    if (asksItself() && !hasHook(kHook)) giveToHostapd();
}

void watchHostapd() {
    const auto stamp = hostapdStamp();  // none: only the program may look
    const unsigned retry = 1U << std::min(watch.failures, 5U) >> 1;
    const bool isDue =
        ++watch.looks >= (watch.failures > 0 ? std::min(retry, kCheckPeriod) : kCheckPeriod);
    const bool isNeeded = watch.changed || (stamp && *stamp != watch.seen) || isDue;
    if ((stamp && stamp->empty() && !watch.changed) || (stamp && !isNeeded)) return;
    if (asksItself() && !hasHook(kHook)) start(isNeeded ? "" : watch.seen);
}

void dropHostapd() {
    watch = {};
}

int runHostapd(const Arguments& args) {
    const std::string stamp = hostapdStamp().value_or("");
    if (!args[0].empty() && args[0] == stamp) return kOk;
    const Fd lock = lockHostapd();
    std::string lines;
    const bool good = applyAll(logInto(lines));
    const std::string output = stamp + "\n" + lines;
    const ssize_t size = write(STDOUT_FILENO, output.data(), output.size());
    return good && size == static_cast<ssize_t>(output.size()) ? kOk : kFailure;
}
