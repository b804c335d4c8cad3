#include "hostapd/work.h"

#include <algorithm>
#include <map>

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
constexpr char kFailedBand = '!';      // begins a line "!BAND REASON" of the program
constexpr unsigned kCheckPeriod = 12;  // looks, of five seconds each, until hostapd is asked again

struct {
    bool changed = false;    // networks have arrived
    std::string seen;        // what the folder of the sockets showed to the program
    unsigned looks = 0;      // since hostapd was asked
    unsigned failures = 0;   // in a row
    std::string lastOutput;  // the lines of the last run that did something
    std::map<uint8_t, NetworksTried> waiting;  // bands that have not been set yet
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

// Which bands a BSS has failed for, and why.
using Failures = std::map<uint8_t, std::string>;

void addFailure(Failures& failures, const BssPlan& plan, const std::string& why) {
    for (const WifiBand& band : kWifiBandTable) {
        if (plan.band != nullptr ? plan.band == &band : plan.bss->serves(band))
            failures[band.number] = why;
    }
}

// False after a failure of all bands.
bool applyAll(const HostapdLog& log, Failures& failures) {
    BandNetworks bands;
    const bool good = updateSettings(bands);
    if (!good) log(1, "hostapd: " + settingsFile() + " has errors or cannot be written");
    if (bands.empty()) return good;
    if (!hostapdStamp()) {
        log(1, "hostapd: " + hostapdFolder() +
                   " cannot be read: set ctrl_interface_group=vm1905 in hostapd.conf");
        return false;
    }

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
    if (all.empty()) {
        log(1, "the networks are set on no radio: hostapd has no control socket in " +
                   hostapdFolder() + ", and there is no hook " + kHook);
    }
    std::string last;
    const HostapdLog logAndKeep = [&](int level, const std::string& line) {
        last = line;
        log(level, line);
    };
    for (const BssPlan& plan : planBss(all, bands, log)) {
        const AppliedNetwork old = appliedTo(plan.bss->ifname);
        AppliedNetwork now{plan.bss->ifname, plan.bss->stamp, digestOf(plan.network),
                           plan.bss->rfBand};
        // A BSS without a network comes last. A restart of its radio has switched it on again.
        const bool isNew = old.stamp != now.stamp || old.digest != now.digest ||
                           (plan.network == nullptr && isAnySet);
        last = "hostapd: " + plan.bss->ifname + " failed";
        const Result result = apply(plan, isNew, isOff(*plan.bss), logAndKeep);
        if (result == Result::kFailed) {
            addFailure(failures, plan, last);
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

// Passes on how the last run ended. Lines of bands, before those for the log, name the failed ones.
void report(int status, std::string_view& text) {
    Failures failures;
    while (text.starts_with(kFailedBand)) {
        const std::string_view line = takeLine(text).substr(1);
        const size_t space = line.find(' ');
        const auto band = static_cast<uint8_t>(parseNumber(line.substr(0, space)).value_or(0));
        failures[band] = line.substr(space + 1);
    }
    std::string trouble;
    if (status != 0 && failures.empty()) trouble = "hostapd: " + std::to_string(status);
    for (std::string_view rest = text; !rest.empty();) {
        const std::string_view line = takeLine(rest);
        if (!trouble.empty() && line.starts_with("1 ")) trouble = line.substr(2);
    }
    for (const auto& [band, tried] : std::map(watch.waiting)) {
        const auto found = failures.find(band);
        const std::string& why = found != failures.end() ? found->second : trouble;
        if (why.empty()) watch.waiting.erase(band);
        if (tried) tried(why);
    }
}

void finish(int status, const std::string& output) {
    if (status != 0 || !output.empty()) watch.failures = status != 0 ? watch.failures + 1 : 0;
    std::string_view text = output;
    watch.seen = text.empty() ? watch.seen : takeLine(text);
    // What fails again and again is logged once.
    const bool isNews = watch.lastOutput != text;
    if (!output.empty()) watch.lastOutput = text;
    // Other networks may have arrived after the start. A run that had nothing to do prints nothing.
    if (watch.changed) {
        while (text.starts_with(kFailedBand)) takeLine(text);
    } else if (status != 0 || !output.empty()) {
        report(status, text);
    }
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

void giveToHostapd(uint8_t band, const NetworksTried& tried) {
    watch.waiting[band] = tried;
    watch.changed = true;
    start("");
}

void checkHostapd() {
    if (!asksItself() || hasHook(kHook)) return;
    watch.changed = true;
    start("");
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
    Failures failures;
    const bool good = applyAll(logInto(lines), failures) && failures.empty();
    std::string output = stamp + "\n";
    for (const auto& [band, why] : failures) {
        output.append(1, kFailedBand).append(std::to_string(band) + " " + why + "\n");
    }
    output += lines;
    const ssize_t size = write(STDOUT_FILENO, output.data(), output.size());
    return good && size == static_cast<ssize_t>(output.size()) ? kOk : kFailure;
}
