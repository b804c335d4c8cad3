// The programs of hostapd/orders.h.
#include <unistd.h>

#include <algorithm>

#include "base/own_folder.h"
#include "base/result.h"
#include "common/conf.h"
#include "common/text.h"
#include "hostapd/applied.h"
#include "hostapd/bss.h"
#include "hostapd/orders.h"
#include "hostapd/radio.h"
#include "hostapd/wanted.h"

namespace {

// Bit 19 of the extended capabilities of a station.
constexpr size_t kTransitionByte = 2;
constexpr uint8_t kTransitionBit = 0x08;

int answer(const std::string& text, bool good) {
    const ssize_t size = write(STDOUT_FILENO, text.data(), text.size());
    return good && size == static_cast<ssize_t>(text.size()) ? kOk : kFailure;
}

// What hostapd shows of a station; none if the BSS does not know it.
std::optional<std::string> stationAt(HostapdControl& control, const std::string& station) {
    auto reply = control.reply("STA " + station);
    if (!reply || reply->starts_with("FAIL")) return {};
    return reply;
}

// Barred stations are refused before hostapd looks at macaddr_acl, unless they are in the accept
// list of the owner.
bool bar(HostapdControl& control, const std::string& station) {
    return control.order("DENY_ACL ADD_MAC " + station) &&
           (!stationAt(control, station) || control.order("DEAUTHENTICATE " + station));
}

struct Orders {
    std::string order, station;
    WantedSettings wanted;
    std::vector<AppliedOrders> before;

    // Without a stamp if the BSS is new.
    AppliedOrders appliedTo(const HostapdBss& bss) const {
        const auto found = std::ranges::find(before, bss.ifname, &AppliedOrders::ifname);
        const bool isKnown = found != before.end() && found->stamp == bss.stamp;
        return isKnown ? *found : AppliedOrders{};
    }
    bool isNew(const HostapdBss& bss) const { return appliedTo(bss).stamp.empty(); }
};

bool hasNoNetwork(const HostapdRadio& radio) {
    return std::ranges::any_of(readAppliedNetworks(), [&radio](const AppliedNetwork& each) {
        const HostapdBss& first = radio.bss.front();
        return each.ifname == first.ifname && each.stamp == first.stamp &&
               each.digest == kNoNetwork;
    });
}

bool applyCountry(HostapdRadio& radio, const std::string& code, AppliedOrders& applied) {
    if (code.empty() || applied.country == code) return true;
    const std::string former(applied.country != "-" ? std::string_view(applied.country)
                                                    : conf().value("WIFI_COUNTRY_CODE"));
    if (!setRadioCountry(radio, code, former)) return false;
    applied.country = code;
    return true;
}

// Switches a radio off first and on last, so that the other settings need no restart of it.
bool applyToRadio(HostapdRadio& radio, const Orders& orders, AppliedOrders& applied) {
    const bool isNew = std::ranges::any_of(
        radio.bss, [&orders](const HostapdBss& bss) { return orders.isNew(bss); });
    const auto isDue = [&](std::string_view order) { return isNew || orders.order == order; };
    const std::string_view state =
        isDue("state") ? radioValue(orders.wanted.state, radio.band, radio.place) : "";
    bool good = true;
    if (state == "off") good = applied.isOff = setRadioState(radio, false);
    if (isDue("country")) good = applyCountry(radio, orders.wanted.country, applied) && good;
    const auto channel =
        parseNumber(radioValue(orders.wanted.channels, radio.band, radio.place)).value_or(0);
    if (channel != 0 && isDue("channels")) good = setRadioChannel(radio, channel) && good;
    if (state == "on") applied.isOff = false;
    if (state == "on" && !hasNoNetwork(radio)) good = setRadioState(radio, true) && good;
    applied.stamp = good || !isNew ? "done" : "";
    return good;
}

bool applyBars(const HostapdBss& bss, const Orders& orders, const HostapdLog& log) {
    std::vector<std::string> due;
    if (orders.isNew(bss)) {
        for (const MacAddr& station : orders.wanted.barred) due.push_back(macText(station));
    } else if (orders.order == "bar") {
        due.push_back(orders.station);
    }
    const bool admits = orders.order == "admit";
    if (due.empty() && !admits) return true;
    HostapdControl control(bss.ifname, log);
    const auto barEach = [&control](const std::string& each) { return bar(control, each); };
    return control.isOpen() && std::ranges::all_of(due, barEach) &&
           (!admits || control.order("DENY_ACL DEL_MAC " + orders.station));
}

// The kind of radio that the operating class is for: HT, VHT or HE.
int phyTypeOf(uint32_t operatingClass) {
    if (operatingClass >= 131 && operatingClass <= 137) return 14;
    return operatingClass >= 115 && operatingClass <= 130 ? 9 : 7;
}

bool knowsTransitions(const HostapdValues& station) {
    const auto bytes = parseHex(station.value("ext_capab"));
    return bytes && bytes->size() > kTransitionByte &&
           ((*bytes)[kTransitionByte] & kTransitionBit) != 0;
}

}  // namespace

int runHostapdOrders(const Arguments& args) {
    const Fd lock = lockHostapd();
    const size_t blank = std::min(args[0].find(' '), args[0].size());
    const Orders orders{args[0].substr(0, blank), std::string(trim(args[0].substr(blank))),
                        readWanted(args[1]), readAppliedOrders()};
    std::string lines;
    const HostapdLog log = logInto(lines);
    std::vector<AppliedOrders> after;
    const std::vector<HostapdBss> all = listBss();
    bool good = true;
    if (all.empty() && !orders.order.empty()) {
        log(1, "hostapd: there is no control socket in " + hostapdFolder());
        good = false;
    }
    for (HostapdRadio& radio : listRadios(log, good)) {
        AppliedOrders applied = orders.appliedTo(radio.bss.front());
        good = applyToRadio(radio, orders, applied) && good;
        for (const HostapdBss& bss : radio.bss) {
            applied.ifname = bss.ifname;
            if (!applied.stamp.empty()) applied.stamp = bss.stamp;
            after.push_back(applied);
        }
    }
    for (const HostapdBss& bss : all) {
        if (bss.band == "none") after.push_back({bss.ifname, bss.stamp});
        const bool done = applyBars(bss, orders, log);
        good = good && done;
        if (done || !orders.isNew(bss)) continue;
        std::erase_if(after, [&](const AppliedOrders& each) { return each.ifname == bss.ifname; });
    }
    std::erase_if(after, [](const AppliedOrders& each) { return each.stamp.empty(); });
    if (!all.empty() && !writeAppliedOrders(after)) {
        log(1, "hostapd: " + ownFolder() + "/hostapd-orders cannot be written");
    }
    return answer(lines, good);
}

int runHostapdTransition(const Arguments& args) {
    const std::string& station = args[0];
    std::string lines;
    const HostapdLog log = logInto(lines);
    for (const HostapdBss& bss : listBss()) {
        HostapdControl control(bss.ifname, log);
        const auto shown = control.isOpen() ? stationAt(control, station) : std::nullopt;
        if (!shown) continue;
        const HostapdValues values(*shown);
        if (values.value("flags").find("[ASSOC]") == std::string_view::npos) continue;
        std::string command = "BSS_TM_REQ " + station;
        if (!knowsTransitions(values)) {
            control.fail(command, "the station does not know BSS transitions");
            return answer(lines, false);
        }
        command += " pref=1 abridged=1";
        if (args[4] != "0") command += " disassoc_imminent=1 disassoc_timer=" + args[5];
        command += " neighbor=" + args[1] + ",0x0000," + args[2] + "," + args[3] + "," +
                   std::to_string(phyTypeOf(parseNumber(args[2]).value_or(0)));
        return answer(lines, control.order(command));
    }
    log(1, "hostapd: BSS_TM_REQ " + station + " failed: the station is at no access point");
    return answer(lines, false);
}

int runHostapdRadios(const Arguments& /*args*/) {
    std::string lines, report;
    bool good = true;
    for (const HostapdRadio& radio : listRadios(logInto(lines), good)) {
        if (radio.band.empty()) continue;
        report += radio.bss.front().ifname + " " + radio.band + " " + (radio.isOn ? "1 " : "0 ") +
                  std::to_string(radio.channel) + " " + std::to_string(radio.frequency) + " " +
                  (radio.country.empty() ? "-" : radio.country) + "\n";
    }
    return answer(good ? report : lines, good);
}
