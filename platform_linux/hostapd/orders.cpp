#include "hostapd/orders.h"

#include <chrono>
#include <deque>
#include <optional>
#include <sstream>

#include "base/result.h"
#include "common/hook.h"
#include "common/job.h"
#include "common/log.h"
#include "common/text.h"
#include "hostapd/radios.h"
#include "hostapd/wanted.h"
#include "hostapd/work.h"
#include "platform/exports.h"

namespace {

using Clock = std::chrono::steady_clock;

constexpr const char* kProgram = "hostapd orders";
constexpr const char* kStored = "wifi_orders";
constexpr size_t kMostWaiting = 8;
constexpr unsigned kRetryPeriod = 12;  // looks, of five seconds each
constexpr std::chrono::minutes kRefusal{50};

struct Order {
    std::string what;  // as the program takes it
    std::function<void(WantedSettings&)> change = [](WantedSettings&) {};
    std::function<void(bool)> done = [](bool) {};
};

struct {
    std::optional<WantedSettings> wanted;  // none until it has been loaded
    std::deque<Order> waiting;
    std::string seen;  // the stamp at the last attempt
    bool failed = false;
    unsigned looks = 0;
    std::string lastOutput;
    std::string refused;  // text of channels
    Clock::time_point refusedUntil;
    std::string radioFailure;
} orders;

WantedSettings& wanted() {
    if (!orders.wanted) {
        char text[PLATFORM_SYNC_DATA_LEN * 8] = {};
        (void)loadState(kStored, text, sizeof text);
        orders.wanted = readWanted(text);
    }
    return *orders.wanted;
}

// Without the settings for which the product has hooks.
WantedSettings withoutHooks(WantedSettings all) {
    if (hasHook("wifi-country-code")) all.country.clear();
    if (hasHook("wifi-state-set")) all.state.clear();
    if (hasHook("wifi-channel-set")) all.channels.clear();
    if (hasHook("blacklist-add")) all.barred.clear();
    return all;
}

int start(const Order& order);

void finish(const Order& order, const WantedSettings& next, int status, const std::string& output) {
    if (!order.what.empty() || output != orders.lastOutput) logHostapdLines(output);
    orders.lastOutput = output;
    orders.failed = status != 0;
    if (status == 0 && next != wanted()) {
        wanted() = next;
        if (saveState(kStored, writeWanted(next).c_str()) != 0) {
            LOG_LINE(1, "hostapd: the orders for Wi-Fi cannot be stored");
        }
    }
    order.done(status == 0);
    checkHostapd();
    if (orders.waiting.empty()) return;
    const Order following = orders.waiting.front();
    orders.waiting.pop_front();
    (void)start(following);
}

int start(const Order& order) {
    if (isJobRunning(kProgram)) {
        if (orders.waiting.size() >= kMostWaiting) return kFailure;
        orders.waiting.push_back(order);
        return kOk;
    }
    WantedSettings next = wanted();
    order.change(next);
    orders.seen = hostapdStamp().value_or("");
    const int result = runHook(kProgram, {order.what, writeWanted(withoutHooks(next))},
                               [order, next](int status, const std::string& output) {
                                   finish(order, next, status, output);
                               });
    if (result != kOk) orders.failed = true;
    return result;
}

}  // namespace

bool doesHostapd(const std::string& hook) {
    return !hasHook(hook) && hostapdStamp() != "";
}

int orderCountry(const std::string& code, std::function<void()> done) {
    if (!isCountryCode(code)) {
        LOG_LINE(1, "hostapd: %s is no country code", plainText(code, 60).c_str());
        return kFailure;
    }
    return start({"country", [code](WantedSettings& all) { all.country = code; },
                  [done = std::move(done)](bool good) {
                      if (good) done();
                  }});
}

int orderRadioState(const std::string& text) {
    return start({"state", [text](WantedSettings& all) { all.state = text; }});
}

int orderChannels(const std::string& text) {
    if (text == orders.refused && Clock::now() < orders.refusedUntil) return kFailure;
    return start({"channels", [text](WantedSettings& all) { all.channels = text; },
                  [text](bool good) {
                      orders.refused = good ? "" : text;
                      orders.refusedUntil = Clock::now() + kRefusal;
                  }});
}

int orderBar(const MacAddr& station, bool bar) {
    if (bar && wanted().barred.size() >= kMostBarred && !wanted().barred.contains(station)) {
        LOG_LINE(1, "hostapd: %s is not barred: %zu stations are already", macText(station).c_str(),
                 kMostBarred);
        return kFailure;
    }
    return start(
        {(bar ? "bar " : "admit ") + macText(station), [station, bar](WantedSettings& all) {
             if (bar) {
                 all.barred.insert(station);
             } else {
                 all.barred.erase(station);
             }
         }});
}

int orderTransition(const BtmReq& req) {
    return runHook("hostapd btm",
                   {macText(req.staMac), macText(req.bssid), std::to_string(req.operatingClass),
                    std::to_string(req.channel), std::to_string(req.disassocImminent),
                    std::to_string(req.disassocTimer)},
                   [](int, const std::string& output) { logHostapdLines(output); });
}

std::vector<RadioReport> hostapdRadios() {
    std::vector<RadioReport> radios;
    std::string output;
    const int status = askHook("hostapd radios", {}, output);
    if (status != 0 && output != orders.radioFailure) logHostapdLines(output);
    orders.radioFailure = status != 0 ? output : "";
    if (status != 0) return radios;
    std::istringstream text(output);
    for (RadioReport each; text >> each.ifname >> each.band >> each.isOn >> each.channel >>
                           each.frequency >> each.country;) {
        if (each.country == "-") each.country.clear();
        radios.push_back(each);
    }
    return radios;
}

std::string orderedCountry() {
    return hasHook("wifi-country-code") ? "" : wanted().country;
}

void watchHostapdOrders() {
    if (wanted().empty() || isJobRunning(kProgram)) return;
    const auto stamp = hostapdStamp();  // none: only the program may look
    if (stamp == "") return;
    const bool isRetry = orders.failed && ++orders.looks % kRetryPeriod == 0;
    if (!stamp || *stamp != orders.seen || isRetry) (void)start({""});
}

void dropHostapdOrders() {
    orders = {};
}
